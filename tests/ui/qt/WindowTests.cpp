#include <cstdlib>

#include <gtest/gtest.h>

#include "Foundation/RunLoop.h"
#include "input/scripted/ScriptedDesktop.h"
#include "shell/AppDelegate.h"
#include "support/TemporaryFolder.h"
#include "ui/qt/MenuView.h"
#include "ui/qt/QtText.h"
#include "ui/qt/QtUserInterface.h"
#include "ui/qt/StatusImage.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>

namespace dresk {
namespace {

/// Qt without a display, for the whole program.
class QtEnvironment final : public testing::Environment {
  public:
    void SetUp() override {
        setenv("QT_QPA_PLATFORM", "offscreen", 1); // NOLINT(concurrency-mt-unsafe)
        application_ = std::make_unique<QApplication>(count_, arguments_);
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void TearDown() override { application_.reset(); }

  private:
    int count_ = 1;
    char name_[8] = "windows";
    char* arguments_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
};
const testing::Environment* const qtEnvironment =
    testing::AddGlobalTestEnvironment(new QtEnvironment);

bool pumpUntil(const std::function<bool()>& condition) {
    const double end = steadySeconds() + 10;
    while (!condition()) {
        if (steadySeconds() > end)
            return false;
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    return true;
}

template <class T>
T* topLevel() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* found = qobject_cast<T*>(widget); found != nullptr && found->isVisible())
            return found;
    return nullptr;
}

QAbstractButton* buttonNamed(QWidget& window, const QString& text) {
    for (QAbstractButton* button : window.findChildren<QAbstractButton*>())
        if (button->text() == text && button->isVisible())
            return button;
    return nullptr;
}

QStringList texts(const QMenu& menu) {
    QStringList found;
    for (const QAction* action : menu.actions())
        if (action->isVisible())
            found += action->isSeparator() ? QStringLiteral("-") : action->text();
    return found;
}

TEST(MenuView, FillsSubmenusWhenTheyOpenAndActsBehindTheClosing) {
    auto submenu = std::make_shared<Menu>();
    int filled = 0;
    int sent = 0;
    submenu->needsUpdate = [&] {
        ++filled;
        MenuItem item;
        item.title = u"Kind & regards";
        item.row = SnippetRow{{350, 18}, u";", u"kr"};
        item.action = [&] { ++sent; };
        submenu->items = {item};
    };
    auto menu = std::make_shared<Menu>();
    MenuItem enabled;
    enabled.title = u"Enabled";
    enabled.isSwitch = enabled.isChecked = true;
    MenuItem hidden;
    hidden.title = u"Secure Input";
    hidden.isHidden = true;
    MenuItem group;
    group.title = u"Mail";
    group.submenu = submenu;
    menu->items = {enabled, hidden, Menu::separator(), group};
    MenuView view(menu);

    view.widget().popup({});
    EXPECT_EQ(texts(view.widget()), (QStringList{"Enabled", "-", "Mail"}));
    EXPECT_TRUE(view.widget().actions().front()->isChecked());
    EXPECT_EQ(filled, 0);
    QMenu* opened = view.widget().actions().back()->menu();
    ASSERT_NE(opened, nullptr);
    opened->popup({});
    EXPECT_EQ(filled, 1);
    EXPECT_EQ(texts(*opened), QStringList{"Kind && regards\t;kr"});
    opened->actions().back()->trigger();
    EXPECT_EQ(sent, 0);
    EXPECT_TRUE(pumpUntil([&] { return sent == 1; }));
    opened->close();

    // Every opening shows what is there then, once.
    menu->items.erase(menu->items.begin());
    view.widget().close();
    view.widget().popup({});
    EXPECT_EQ(texts(view.widget()), (QStringList{"-", "Mail"}));
}

TEST(MenuView, KeepsLongAndStrangeTextsInTheirColumns) {
    auto menu = std::make_shared<Menu>();
    MenuItem item;
    item.title = String(5000, u'x') + u"\t\u202e";
    item.row = SnippetRow{{350, 18}, {}, String(3000, u'a')};
    menu->items = {item};
    MenuView view(menu);
    view.refresh();
    const QString text = view.widget().actions().front()->text();
    EXPECT_EQ(text.count(u'\t'), 1);
    const QFontMetricsF metrics(view.widget().font());
    for (const QString& column : text.split(u'\t'))
        EXPECT_LE(metrics.horizontalAdvance(column), 350);
}

// They stand on what the AppDelegate has, and give the keyboard back by way of it.
TEST(Windows, GoBeforeWhatTheyStandOn) {
    const test::TemporaryFolder folder;
    VirtualTime time;
    VirtualRunLoop loop(time);
    PreferenceStore preferences;
    auto desktop = std::make_unique<ScriptedDesktop>(time);
    QtUserInterface windows(u"1");
    AppDelegate::Environment environment;
    environment.backupDirectory = folder / "Backups";
    environment.clock = &time;
    auto app =
        std::make_unique<AppDelegate>(*desktop, preferences, loop, windows, std::move(environment));
    windows.makeControllers(*app, {});
    app->applicationDidFinishLaunching();
    time.advance(AppDelegate::LaunchDelay);
    ASSERT_TRUE(app->UILoaded());
    windows.snippetQuickSearchController()->showWindowAtTopRightCorner();
    windows.showAlert({u"Title", u"", {u"OK"}},
                      [](std::size_t) { ADD_FAILURE() << "An alert answered at the end."; });
    ASSERT_TRUE(windows.snippetQuickSearchController()->isVisible());

    app.reset();
    desktop.reset();
    EXPECT_EQ(topLevel<QWidget>(), nullptr);
    EXPECT_EQ(windows.snippetQuickSearchController(), nullptr);
}

TEST(Windows, AlertTellsTheButtonAndClosingIsTheLast) {
    QtUserInterface windows(u"1");
    const Alert alert{u"Dresk will not operate.", u"Are you sure?", {u"Continue", u"Cancel"}};
    std::vector<std::size_t> answers;
    const auto note = [&](std::size_t button) { answers.push_back(button); };
    for (const char* choice : {"Continue", "Cancel", ""}) {
        windows.showAlert(alert, note);
        QMessageBox* box = topLevel<QMessageBox>();
        ASSERT_NE(box, nullptr);
        EXPECT_TRUE(windows.hasVisibleWindows());
        if (*choice != '\0')
            buttonNamed(*box, choice)->click();
        else
            box->close();
    }
    EXPECT_EQ(answers, (std::vector<std::size_t>{0, 1, 1}));
    EXPECT_TRUE(pumpUntil([] { return topLevel<QMessageBox>() == nullptr; }));
    EXPECT_FALSE(windows.hasVisibleWindows());
}

TEST(Windows, AccessPromptOffersToIgnoreBehindTheFirstRefusal) {
    QtUserInterface windows(u"1");
    int closed = 0;
    AccessPrompt prompt;
    prompt.title = u"No access";
    prompt.tryAgain = [&] { windows.refuseAccessPrompt(); };
    prompt.ignore = [&] { windows.closeAccessPrompt(); };
    prompt.closed = [&] { ++closed; };
    windows.showAccessPrompt(prompt);
    QWidget* window = nullptr;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->isVisible() && widget->windowTitle() == "No access")
            window = widget;
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(buttonNamed(*window, "Ignore"), nullptr);
    buttonNamed(*window, "Try Again")->click();
    ASSERT_NE(buttonNamed(*window, "Ignore"), nullptr);
    buttonNamed(*window, "Ignore")->click();
    EXPECT_EQ(closed, 1);
    windows.closeAccessPrompt();
    EXPECT_EQ(closed, 1);
}

TEST(Windows, SavePanelFollowsTheChosenType) {
    QtUserInterface windows(u"1");
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    int answers = 0;
    std::optional<std::filesystem::path> path;
    windows.showSavePanel({u"Save", {u"dresk", u"csv"}, u"Mine"},
                          [&](const std::optional<std::filesystem::path>& chosen) {
                              ++answers;
                              path = chosen;
                          });
    QFileDialog* panel = topLevel<QFileDialog>();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->defaultSuffix(), "dresk");
    panel->selectNameFilter("(*.csv)");
    emit panel->filterSelected("(*.csv)");
    static_cast<QDialog*>(panel)->accept();
    EXPECT_EQ(answers, 1);
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(path->filename(), "Mine.csv");

    windows.showOpenPanel({u"Open", {u"dresk"}},
                          [&](const std::optional<std::filesystem::path>& chosen) {
                              ++answers;
                              path = chosen;
                          });
    topLevel<QFileDialog>()->close();
    EXPECT_EQ(answers, 2);
    EXPECT_FALSE(path.has_value());
}

// Pixels that are neither the ground nor faint.
int inkOf(const QIcon& icon, int size) {
    const QImage image = icon.pixmap(size).toImage();
    int ink = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ink += qAlpha(image.pixel(x, y)) > 128 ? 1 : 0;
    return ink;
}

TEST(StatusImage, ImagesDifferAndFillEverySize) {
    for (const int size : {16, 22, 44, 128}) {
        const QImage plain = statusImage(u"AutoText", true).pixmap(size).toImage();
        const QImage caution = statusImage(u"AutoTextCaution", true).pixmap(size).toImage();
        const QImage disabled = statusImage(u"AutoText-Disabled", false).pixmap(size).toImage();
        EXPECT_EQ(plain.size(), QSize(size, size));
        EXPECT_NE(plain, caution);
        EXPECT_NE(plain, disabled);
        EXPECT_GT(inkOf(statusImage(u"AutoText", true), size), size * size / 10);
    }
}

} // namespace
} // namespace dresk
