#include "ui/qt/QtUserInterface.h"

#include <algorithm>

#include "input/AXUtils.h"
#include "shell/AppDelegate.h"
#include "ui/qt/ListPanelWindow.h"
#include "ui/qt/QtText.h"
#include "ui/qt/QuickSearchPanelWindow.h"
#include "ui/qt/StatusImage.h"

#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QScreen>

namespace dresk {

namespace {

QString nameFilter(const std::vector<String>& fileTypes) {
    QStringList patterns;
    for (const String& type : fileTypes)
        patterns += QStringLiteral("*.") + toQString(type);
    return QStringLiteral("(%1)").arg(patterns.join(u' '));
}

void raiseWindow(QWidget& window) {
    window.show();
    window.raise();
    window.activateWindow();
}

// The panels are not modal: the engine goes on behind them.
void showPanel(QFileDialog* panel, UserInterface::PathChosen chosen) {
    panel->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(panel, &QDialog::finished, panel,
                     [panel, chosen = std::move(chosen)](int result) {
                         const QStringList files = panel->selectedFiles();
                         if (result != QDialog::Accepted || files.isEmpty())
                             chosen(std::nullopt);
                         else
                             chosen(std::filesystem::path(files.first().toStdU16String()));
                     });
    raiseWindow(*panel);
}

} // namespace

QtUserInterface::~QtUserInterface() = default;

// Lists and forms give the keyboard back by way of the desktop that the AppDelegate was given.
void QtUserInterface::tearDown() {
    fieldsEditors_.reset();
    quickSearch_.reset();
    suggestions_.reset();
    qDeleteAll(panels_.findChildren<QDialog*>(QString(), Qt::FindDirectChildrenOnly));
    accessPrompt_.reset();
    diagnosticWindow_.reset();
    aboutWindow_.reset();
    statusItem_.reset();
}

void QtUserInterface::makeControllers(AppDelegate& delegate, const Places& places) {
    Desktop& desktop = delegate.desktop();
    RunLoop& loop = delegate.mainRunLoop();
    suggestions_ = std::make_unique<SuggestionListController>(
        desktop, loop, delegate.preferences(), delegate.dataManager().snippetGroups(),
        &makeQtListPanelView);
    quickSearch_ = std::make_unique<QuickSearchPanelController>(
        desktop, loop, delegate.preferences(), &makeQtQuickSearchPanelView);
    fieldsEditors_ = std::make_unique<SnippetContentFieldsEditorPresenter>(
        SnippetContentFieldsEditorPresenter::Environment{
            loop, delegate.preferences(), desktop.processes(), desktop.screens(),
            [&desktop] { return AXUtils(desktop).getSelectedTextBound(); }, places.resources},
        FormWindowModule(places.formModule));
}

void QtUserInterface::setStatusItem(const StatusItem& item, std::shared_ptr<Menu> menu) {
    if (statusItem_ == nullptr) {
        statusItem_ = std::make_unique<StatusItemView>(std::move(menu));
        statusItem_->setFontSizeDelta(fontSizeDelta_);
    }
    statusItem_->setItem(item);
}

void QtUserInterface::statusMenuChanged() {
    if (statusItem_ != nullptr)
        statusItem_->menuChanged();
}

void QtUserInterface::showAlert(const Alert& alert,
                                std::function<void(std::size_t button)> closed) {
    auto* box = new QMessageBox(&panels_);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::NonModal);
    box->setWindowTitle(QStringLiteral("Dresk"));
    box->setIconPixmap(applicationImage().pixmap(QSize(48, 48), box->devicePixelRatioF()));
    box->setTextFormat(Qt::PlainText);
    box->setText(toQString(alert.title));
    box->setInformativeText(toQString(alert.message));
    std::vector<QAbstractButton*> buttons;
    for (const String& title : alert.buttons)
        buttons.push_back(box->addButton(
            toQString(title), buttons.empty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole));
    if (!buttons.empty()) {
        box->setDefaultButton(static_cast<QPushButton*>(buttons.front()));
        box->setEscapeButton(buttons.back());
    }
    QObject::connect(box, &QDialog::finished, box, [box, buttons, closed = std::move(closed)](int) {
        if (!closed)
            return;
        const auto found = std::find(buttons.begin(), buttons.end(), box->clickedButton());
        closed(found != buttons.end() ? static_cast<std::size_t>(found - buttons.begin())
                                      : std::max<std::size_t>(buttons.size(), 1) - 1);
    });
    // Its parent is never seen and has no place to stand at.
    box->adjustSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        box->move(screen->availableGeometry().center() - box->rect().center());
    raiseWindow(*box);
}

void QtUserInterface::showNotice(const String& text, double seconds) {
    if (statusItem_ != nullptr)
        statusItem_->showNotice(text, seconds);
}

void QtUserInterface::showAccessPrompt(const AccessPrompt& prompt) {
    accessPrompt_ = std::make_unique<AccessPromptWindow>(prompt);
    raiseWindow(*accessPrompt_);
}

void QtUserInterface::refuseAccessPrompt() {
    if (accessPrompt_ != nullptr)
        accessPrompt_->refuse();
}

void QtUserInterface::closeAccessPrompt() {
    // Called from one of its own buttons, so it stays until the next prompt or the end.
    if (accessPrompt_ != nullptr)
        accessPrompt_->close();
}

void QtUserInterface::showDiagnosticWindow(const String& text) {
    if (diagnosticWindow_ == nullptr)
        diagnosticWindow_ = std::make_unique<DiagnosticWindow>();
    diagnosticWindow_->showText(text);
}

void QtUserInterface::showOpenPanel(const OpenPanel& panel, PathChosen chosen) {
    auto* dialog = new QFileDialog(&panels_, toQString(panel.title));
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilter(nameFilter(panel.fileTypes));
    showPanel(dialog, std::move(chosen));
}

void QtUserInterface::showSavePanel(const SavePanel& panel, PathChosen chosen) {
    auto* dialog = new QFileDialog(&panels_, toQString(panel.message));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    QStringList filters;
    for (const String& type : panel.fileTypes)
        filters += nameFilter({type});
    dialog->setNameFilters(filters);
    // The suffix follows the filter that the user has chosen.
    const auto followFilter = [dialog, filters, types = panel.fileTypes](const QString& filter) {
        const auto index = filters.indexOf(filter);
        if (index >= 0)
            dialog->setDefaultSuffix(toQString(types[static_cast<std::size_t>(index)]));
    };
    QObject::connect(dialog, &QFileDialog::filterSelected, dialog, followFilter);
    if (!filters.isEmpty())
        followFilter(filters.first());
    dialog->selectFile(toQString(panel.name));
    showPanel(dialog, std::move(chosen));
}

bool QtUserInterface::hasWindow(Window window) const {
    switch (window) {
    case Window::Macros:
    case Window::Preferences:
        return false;
    case Window::QuickSearch:
        return quickSearch_ != nullptr;
    case Window::About:
    case Window::Diagnostic:
    case Window::FilePanels:
        return true;
    }
    return false;
}

void QtUserInterface::showAboutWindow() {
    if (aboutWindow_ == nullptr)
        aboutWindow_ = std::make_unique<AboutWindow>(version_);
    raiseWindow(*aboutWindow_);
}

bool QtUserInterface::hasVisibleWindows() const {
    const auto isVisible = [](const auto& window) {
        return window != nullptr && window->isVisible();
    };
    const auto panels = panels_.findChildren<QDialog*>();
    return isVisible(accessPrompt_) || isVisible(diagnosticWindow_) || isVisible(aboutWindow_) ||
           std::any_of(panels.begin(), panels.end(), isVisible);
}

void QtUserInterface::setFontSizeDelta(std::int64_t delta) {
    constexpr std::int64_t Largest = 100;
    fontSizeDelta_ = static_cast<int>(std::clamp(delta, -Largest, Largest));
    if (statusItem_ != nullptr)
        statusItem_->setFontSizeDelta(fontSizeDelta_);
}

} // namespace dresk
