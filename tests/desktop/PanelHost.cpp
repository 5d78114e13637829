// The floating lists on the real desktop, without stored data: panel_host [dark|engine]. SIGUSR1
// opens the suggestion list, SIGUSR2 the quick search, SIGTERM ends it. With "engine" a choice in
// the quick search is sent; otherwise it is only told. It prints lines:
//   ready                     waits for signals
//   shown X Y WIDTH HEIGHT    the list can be seen, or the quick search has the keyboard; its frame
//   menu                      the search menu is open
//   chosen ABBREVIATION       the user has chosen a row
//   closed                    behind `chosen` and after Escape

#include <csignal>
#include <iostream>

#include <sys/signalfd.h>
#include <unistd.h>

#include "Foundation/PreferenceKeys.h"
#include "engine/AutoText.h"
#include "input/MacInputService.h"
#include "input/x11/X11Desktop.h"
#include "ui/QuickSearchPanelController.h"
#include "ui/SuggestionListController.h"
#include "ui/qt/ListPanelWindow.h"
#include "ui/qt/QtRunLoop.h"
#include "ui/qt/QuickSearchPanelWindow.h"

#include <QApplication>
#include <QMenu>
#include <QWindow>

namespace dresk {
namespace {

std::shared_ptr<SnippetGroup> makeGroup() {
    const std::pair<StringView, StringView> snippets[] = {
        {u"sig", u"Kind regards,\nErika Mustermann"},
        {u"addr", u"12 Regent Street, London W1B 2EL"},
        {u"tel", u"+44 20 7946 0000"},
        {u"greet",
         u"Good morning 【field:name】, I hope that this finds you well and in good spirits"},
        {u"ελ", u"Ελληνικά και עברית 😀"},
    };
    auto group = std::make_shared<SnippetGroup>();
    for (const auto& [abbreviation, content] : snippets)
        group->addItem(Snippet::initWithAbbreviation(String(abbreviation), String(content)));
    group->items()[2]->setLabel(u"Registered phone number");
    group->setAbbreviationPrefix(u";");
    for (int i = 0; i < 8; ++i)
        group->addItem(Snippet::initWithAbbreviation(String(u"n") + static_cast<char16_t>(u'a' + i),
                                                     String(u"Number and register")));
    return group;
}

QPalette darkPalette() {
    QPalette palette(QColor(0x35, 0x35, 0x35), QColor(0x2B, 0x2B, 0x2B));
    palette.setColor(QPalette::Base, QColor(0x1E, 0x1E, 0x1E));
    palette.setColor(QPalette::Highlight, QColor(0x2A, 0x6F, 0xD6));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

int takeSignals() {
    sigset_t signalSet;
    sigemptyset(&signalSet);
    for (const int number : {SIGUSR1, SIGUSR2, SIGTERM})
        sigaddset(&signalSet, number);
    pthread_sigmask(SIG_BLOCK, &signalSet, nullptr);
    return signalfd(-1, &signalSet, SFD_CLOEXEC);
}

void tell(const std::string& line) {
    std::cout << line << std::endl;
}

std::string nameOf(const std::shared_ptr<Snippet>& snippet) {
    return toUTF8(snippet->abbreviation().value_or(u""));
}

class PanelHost : public QObject {
  public:
    PanelHost(Desktop& desktop, QtRunLoop& loop, int signalDescriptor)
        : loop_(loop), signalDescriptor_(signalDescriptor),
          list_(desktop, loop, preferences_, groups_, makeQtListPanelView),
          search_(desktop, loop, preferences_, makeQtQuickSearchPanelView) {
        preferences_.registerDefaults(registeredDefaults({}));
        groups_.groups = {makeGroup()};
        list_.setSuggestions(
            rows_, [this] { chosen(rows_.rows()[list_.selectedSuggestionIndex()].first()); });
        search_.setSnippetGroups(groups_, [this] { chosen(search_.selectedSnippet()); });
        qApp->installEventFilter(this);
        loop.addDescriptor(signalDescriptor, [this] { onSignal(); });
    }
    ~PanelHost() override { loop_.removeDescriptor(signalDescriptor_); }

    const SnippetGroupList& groups() const { return groups_; }
    SnippetQuickSearchController& search() { return search_; }

  protected:
    // What is posted runs behind the painting and the taking of the keyboard.
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Expose && static_cast<QWindow*>(watched)->isExposed() &&
            !std::exchange(isShown_, true))
            loop_.post({this, "shown"}, [this] { tellShown(); });
        if (event->type() == QEvent::Show && qobject_cast<QMenu*>(watched) != nullptr)
            loop_.post({this, "menu"}, [] { tell("menu"); });
        if (event->type() == QEvent::Hide && isShown_ && !list_.isVisible() &&
            !search_.isVisible()) {
            isShown_ = false;
            loop_.post({this, "closed"}, [] { tell("closed"); });
        }
        return false;
    }

  private:
    void tellShown() {
        const Rect frame = list_.isVisible() ? list_.windowFrame() : search_.windowFrame();
        std::cout << "shown " << frame.x << ' ' << frame.y << ' ' << frame.width << ' '
                  << frame.height << std::endl;
    }

    void onSignal() {
        signalfd_siginfo info{};
        if (read(signalDescriptor_, &info, sizeof info) != sizeof info)
            return;
        if (info.ssi_signo == SIGTERM)
            loop_.stop();
        else if (info.ssi_signo == SIGUSR1)
            showList();
        else
            search_.showWindowAtCaret();
    }

    void showList() {
        SnippetMatches rows;
        for (const auto& snippet : groups_.groups.front()->items())
            rows.push_back({snippet, snippet->abbreviation()->substr(0, 1)});
        rows_.assign(std::move(rows), false);
        list_.showWindowAtCaret();
    }

    void chosen(const std::shared_ptr<Snippet>& snippet) { tell("chosen " + nameOf(snippet)); }

    QtRunLoop& loop_;
    int signalDescriptor_;
    bool isShown_ = false;
    PreferenceStore preferences_;
    SnippetGroupList groups_;
    SuggestionRows rows_;
    SuggestionListController list_;
    QuickSearchPanelController search_;
};

/// The engine behind the quick search, which it may close on the tap thread.
struct Engine {
    Engine(Desktop& desktop, QtRunLoop& loop, PanelHost& host)
        : loop(loop), resolver(desktop.processes()), service(desktop, resolver, loop),
          autoText(service, resolver, loop) {
        service.setSnippetGroupList(&host.groups());
        autoText.setSnippetGroups(&host.groups());
        autoText.setSnippetParser(&parser);
        autoText.setSnippetQuickSearchController(host.search());
        autoText.setEnabled(true);
        service.enableEvents();
    }
    ~Engine() {
        service.disableEvents();
        loop.cancelAll(this);
    }

    void awaitTap() {
        if (service.evenTapCreated())
            tell("ready");
        else
            loop.callAfter(0.005, {this, "awaitTap"}, [this] { awaitTap(); });
    }

    QtRunLoop& loop;
    SnippetParser parser;
    BundleIdentifierResolver resolver;
    MacInputService service;
    AutoText autoText;
};

int runHost(std::string_view option, int signalDescriptor) {
    QApplication::setQuitOnLastWindowClosed(false);
    if (option == "dark")
        QApplication::setPalette(darkPalette());
    std::string error;
    const auto desktop = makeX11Desktop(nullptr, error);
    if (desktop == nullptr) {
        std::cerr << error << '\n';
        return 1;
    }
    QtRunLoop loop;
    PanelHost host(*desktop, loop, signalDescriptor);
    std::unique_ptr<Engine> engine;
    if (option == "engine") {
        engine = std::make_unique<Engine>(*desktop, loop, host);
        engine->awaitTap();
    } else {
        loop.post({&host, "ready"}, [] { tell("ready"); });
    }
    loop.run();
    engine.reset();
    loop.cancelAll(&host);
    return 0;
}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    // Before Qt makes threads, which take over what is blocked.
    const int signalDescriptor = dresk::takeSignals();
    QApplication application(argc, argv);
    return dresk::runHost(argc == 2 ? argv[1] : "", signalDescriptor);
}
