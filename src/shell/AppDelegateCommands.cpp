// What menus and hot keys ask for.

#include "Foundation/Log.h"
#include "shell/AppDelegate.h"
#include "shell/Diagnostic.h"

namespace dresk {

namespace {

constexpr double SelectionCopyDelay = 0.5;

/// Counts the changes of the data while it lives.
class ChangeCounter {
  public:
    explicit ChangeCounter(ZPEvent& event) : event_(event) {
        event_.addObserver(this, &ChangeCounter::count);
    }
    ChangeCounter(const ChangeCounter&) = delete;
    ChangeCounter& operator=(const ChangeCounter&) = delete;
    ~ChangeCounter() { event_.removeObserver(this, &ChangeCounter::count); }
    bool any() const { return any_; }

  private:
    void count(ZPObject* /*args*/) { any_ = true; }

    ZPEvent& event_;
    bool any_ = false;
};

} // namespace

MacrosWindow* AppDelegate::showMacrosWindowWithExpandAll(bool expandAll) {
    MacrosWindow* window = userInterface_.showMacrosWindow(expandAll);
    if (window == nullptr && UILoaded_)
        logLine("This Dresk has no main window to show.");
    return window;
}

void AppDelegate::newDocument() {
    if (MacrosWindow* window = showMacrosWindowWithExpandAll(false))
        window->add();
}

void AppDelegate::newGroup() {
    if (MacrosWindow* window = showMacrosWindowWithExpandAll(false))
        window->newGroup();
}

void AppDelegate::exportAllGroupsToRTF() {
    if (MacrosWindow* window = showMacrosWindowWithExpandAll(false))
        window->exportAllGroupsToRTF();
}

void AppDelegate::showLastUsedSnippet() {
    MacrosWindow* window = showMacrosWindowWithExpandAll(false);
    if (window != nullptr && autoText_ != nullptr)
        window->navigateToSnippet(autoText_->lastUsedSnippet());
}

void AppDelegate::makeSnippetFromClipboard() {
    if (MacrosWindow* window = showMacrosWindowWithExpandAll(false))
        window->makeSnippetFromClipboard();
}

void AppDelegate::makeSnippetFromSelection() {
    if (macInputService_ == nullptr)
        return;
    // The clipboard is left alone where nothing would come of it.
    if (!userInterface_.hasWindow(UserInterface::Window::Macros))
        return showMacrosWindow();
    macInputService_->refreshContextInputSetting();
    macInputService_->sendCopyCommandDelayed();
    mainRunLoop_.callAfter(SelectionCopyDelay, {this, "makeSnippetFromClipboard"},
                           [this] { makeSnippetFromClipboard(); });
}

void AppDelegate::suggestAbbreviations() {
    autoText_->suggestAbbreviations();
}

void AppDelegate::quickSearch() {
    autoText_->quickSearch();
}

void AppDelegate::searchSnippets() {
    if (autoText_ != nullptr)
        autoText_->quickSearchAtTopRightCorner();
}

void AppDelegate::itemAction(const std::shared_ptr<Snippet>& snippet) {
    mainRunLoop_.post({this, "sendSnippetDirectly"}, [this, snippet] {
        if (autoText_ != nullptr)
            autoText_->sendSnippetDirectly(snippet);
    });
}

void AppDelegate::showAboutWindow() {
    userInterface_.showAboutWindow();
}

void AppDelegate::showPreferencesWindow() {
    if (userInterface_.showPreferencesWindow([this] { endObservingPreferences(); }))
        beginObservingPreferences();
}

void AppDelegate::diagnostic() {
    DiagnosticFacts facts;
    facts.version = environment_.version;
    facts.systemVersion = environment_.systemVersion;
    facts.foregroundProgram =
        desktop_.processes().localizedName(desktop_.processes().frontProcess());
    if (autoText_ != nullptr)
        facts.enabled = autoText_->enabled();
    if (macInputService_ != nullptr) {
        facts.eventTapCreated = macInputService_->evenTapCreated();
        facts.secureInput = macInputService_->secureInput();
    }
    facts.secureInputStatus = secureInputStatus();
    facts.tappingProcesses = tappingProcesses();
    userInterface_.showDiagnosticWindow(diagnosticText(facts, preferences_));
}

void AppDelegate::openDocument() {
    const OpenPanel panel{
        u"Open", {u"dresk", u"textexpbackup", u"textexpander", u"typeit4me", u"autotyper", u"csv"}};
    userInterface_.showOpenPanel(panel, [this](const auto& path) {
        if (path.has_value())
            openFile(*path);
    });
}

void AppDelegate::saveDocumentTo() {
    SavePanel panel{u"Save data to file", {u"dresk"}, {}};
    if (environment_.formats != nullptr)
        panel.fileTypes.push_back(u"csv");
    userInterface_.showSavePanel(panel, [this](const auto& path) {
        if (path.has_value())
            dataManager_.saveDataToFile(*path);
    });
}

// Several files may come at once; each has its question, one behind the other.
void AppDelegate::openFile(const std::filesystem::path& path) {
    filesToOpen_.push_back(path);
    if (filesToOpen_.size() == 1)
        askHowToOpen();
}

void AppDelegate::askHowToOpen() {
    const String name = fromUTF8(filesToOpen_.front().filename().string());
    const Alert alert{u"Restore / Import data from " + name,
                      u"Restoring will replace all current snippets with snippets from the "
                      u"selected file.\r\n\r\nImporting will add file's snippets to current "
                      u"snippets.",
                      {u"Import", u"Restore", u"Cancel"}};
    userInterface_.showAlert(alert, [this](std::size_t button) {
        const std::filesystem::path path = filesToOpen_.front();
        filesToOpen_.erase(filesToOpen_.begin());
        openFileSheetDidEnd(button, path);
        if (!filesToOpen_.empty())
            askHowToOpen();
    });
}

void AppDelegate::openFileSheetDidEnd(std::size_t button, const std::filesystem::path& path) {
    enum : std::size_t { Import, Restore };
    if (button != Import && button != Restore)
        return;
    bool changed = false;
    {
        const ChangeCounter changes(dataManager_.dataChangedEvent());
        if (button == Import)
            dataManager_.importDataFromFile(path);
        else
            dataManager_.restoreFromFile(path);
        changed = changes.any();
    }
    if (!changed)
        userInterface_.showAlert({u"Dresk cannot read " + fromUTF8(path.filename().string()) + u".",
                                  u"The file is missing, damaged, or of another kind. Nothing was "
                                  u"changed.",
                                  {u"OK"}},
                                 {});
    showMacrosWindow();
}

} // namespace dresk
