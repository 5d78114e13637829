#include "shell/AppDelegate.h"

#include <utility>

#include <malloc.h>

#include "Foundation/Log.h"
#include "Foundation/PreferenceKeys.h"
#include "input/SystemPasteboard.h"

namespace dresk {

AppDelegate::AppDelegate(Desktop& desktop, PreferenceStore& preferences, RunLoop& mainRunLoop,
                         UserInterface& userInterface, Environment environment)
    : desktop_(desktop), preferences_(preferences), mainRunLoop_(mainRunLoop),
      userInterface_(userInterface), environment_(std::move(environment)),
      zpPreferences_(preferences), dataManager_(preferences, mainRunLoop, environment_.places,
                                                environment_.formats, *environment_.clock),
      backups_(dataManager_, preferences, *environment_.clock),
      snippetParser_(snippetEnvironmentWithPasteboard(desktop.pasteboard())),
      statusMenu_(dataManager_.snippetGroups(), snippetFormatter_,
                  [this](const auto& snippet) { itemAction(snippet); }),
      accessTest_(desktop, mainRunLoop) {
    initPreferences();
}

AppDelegate::~AppDelegate() {
    if (macInputService_ != nullptr)
        macInputService_->disableEvents();
    endObservingPreferences();
    quickSearchEventHotKey_.reset();
    // No more calls are posted: the other threads have gone.
    mainRunLoop_.cancelAll(this);
    // The engine calls the lists, and the lists stand on the rest.
    autoText_.reset();
    macInputService_.reset();
    userInterface_.tearDown();
}

void AppDelegate::initPreferences() {
    std::error_code ignored;
    std::filesystem::create_directories(environment_.backupDirectory, ignored);
    preferences_.registerDefaults(
        registeredDefaults(fromUTF8(environment_.backupDirectory.string())));
}

void AppDelegate::applicationDidFinishLaunching() {
    accessTest_.run([this](bool granted) {
        if (!granted)
            return showAccessPrompt();
        mainRunLoop_.callAfter(LaunchDelay, {this, "loadDataAndConnect"},
                               [this] { loadDataAndConnect(); });
    });
}

void AppDelegate::showAccessPrompt() {
    AccessPrompt prompt;
    prompt.title = u"Dresk cannot see what you type.";
    prompt.text =
        u"To expand abbreviations, Dresk has to see the keys before other applications do. The "
        u"desktop does not allow that at present.\n"
        u"The reason is most often another program that keeps all keys to itself: a second text "
        u"expander, a key remapper, or a remote desktop in full screen. Quit it, then try again.";
    prompt.tryAgain = [this] { tryAgain(); };
    prompt.ignore = [this] { ignoreMissingAccess(); };
    prompt.restart = [this] { restart(); };
    prompt.closed = [this] { onAssistiveDeviceSupportPromptClosed(); };
    accessPromptIsOpen_ = true;
    userInterface_.showAccessPrompt(prompt);
}

void AppDelegate::tryAgain() {
    if (!accessPromptIsOpen_)
        return;
    accessTest_.run([this](bool granted) {
        // The user may have closed the prompt meanwhile, and the launch gone on.
        if (!accessPromptIsOpen_)
            return;
        if (granted)
            userInterface_.closeAccessPrompt();
        else
            userInterface_.refuseAccessPrompt();
    });
}

void AppDelegate::ignoreMissingAccess() {
    const Alert alert{u"Dresk will not operate.",
                      u"Are you sure you want to continue ?",
                      {u"Continue", u"Cancel"}};
    userInterface_.showAlert(alert, [this](std::size_t button) {
        if (button == 0)
            userInterface_.closeAccessPrompt();
    });
}

void AppDelegate::onAssistiveDeviceSupportPromptClosed() {
    if (!accessPromptIsOpen_)
        return;
    accessPromptIsOpen_ = false;
    accessTest_.cancel();
    loadDataAndConnect();
}

void AppDelegate::loadDataAndConnect() {
    emptyDataAtLaunch_ = dataManager_.loadData();
    initAutoTextAndUI();
}

void AppDelegate::initAutoTextAndUI() {
    makeEngine();
    macInputService_->hotKeysPressed().addObserver(this,
                                                   &AppDelegate::onMacInputServiceHotKeysPressed);
    macInputService_->secureInputChangedEvent().addObserver(
        this, &AppDelegate::onMacInputServiceSecureInputChanged);
    registerHotKeys();
    loadEventHotKey(PreferenceKey::QuickSearchHotKeyAtLaunch);
    activateStatusMenu();
    loadPreferences();
    if (emptyDataAtLaunch_)
        showMacrosWindowWithExpandAll(true);
    refreshDockBadgeLabel();
    UILoaded_ = true;
    tellOfDamage();
    for (const auto& file : std::exchange(filesOpenedOnApplicationLaunching_, {}))
        openFile(file);
    checkConflicts();
    macInputService_->enableEvents();
    autoBackup();
    // Reading the data takes several times what it holds in the end.
    malloc_trim(0);
}

void AppDelegate::makeEngine() {
    bundleIdentifierResolver_ = std::make_unique<BundleIdentifierResolver>(desktop_.processes());
    macInputService_ =
        std::make_unique<MacInputService>(desktop_, *bundleIdentifierResolver_, mainRunLoop_);
    autoText_ =
        std::make_unique<AutoText>(*macInputService_, *bundleIdentifierResolver_, mainRunLoop_);
    macInputService_->setSnippetGroupList(&dataManager_.snippetGroups());
    autoText_->setSnippetGroups(&dataManager_.snippetGroups());
    autoText_->setSnippetParser(&snippetParser_);
    autoText_->setSnippetAdaptToAbbreviationCaseOption(static_cast<std::uint64_t>(
        preferences_.integerForKey(PreferenceKey::SnippetAdaptToAbbreviationCaseOption)));
    autoText_->setSounds(desktop_.sounds());
    macInputService_->setVMHelperWindow(userInterface_.vmHelperWindow());
    if (auto* presenter = userInterface_.fieldsEditorPresenter())
        autoText_->setFieldsEditorPresenter(*presenter);
    if (auto* controller = userInterface_.snippetSuggestionController())
        autoText_->setSnippetSuggestionController(*controller);
    if (auto* controller = userInterface_.snippetQuickSearchController())
        autoText_->setSnippetQuickSearchController(*controller);
}

void AppDelegate::tellOfDamage() {
    const PreferenceLoadReport preferences = preferences_.loadReport();
    const DataLoadReport& data = dataManager_.loadReport();
    if (dataManager_.snippetGroups().groups.empty() && emptyDataAtLaunch_)
        logLine("There are no snippets to begin with: the default data cannot be read.");
    if (!preferences.isDamaged && !data.isDamaged)
        return;
    String message;
    const auto tell = [&message](const auto& report) {
        for (const auto& path : report.keptAside)
            message += u"It is kept as " + fromUTF8(path.string()) + u".\n";
        if (!report.loadedFrom.empty())
            message += u"Read instead: " + fromUTF8(report.loadedFrom.string()) + u".\n";
    };
    tell(preferences);
    tell(data);
    userInterface_.showAlert({u"Some of the stored data could not be read.", message, {u"OK"}}, {});
}

void AppDelegate::autoBackup() {
    mainRunLoop_.callAfter(AutoBackupCheckInterval, {this, "autoBackup"}, [this] {
        backups_.autoBackup();
        autoBackup();
    });
}

void AppDelegate::applicationOpenFile(const std::filesystem::path& path) {
    if (UILoaded_)
        openFile(path);
    else
        filesOpenedOnApplicationLaunching_.push_back(path);
}

void AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows) {
    if (UILoaded_ && !hasVisibleWindows)
        showMacrosWindow();
}

void AppDelegate::workspaceWillSleep() {
    if (UILoaded_)
        macInputService_->disableEvents();
}

void AppDelegate::workspaceDidWake() {
    if (UILoaded_)
        macInputService_->enableEvents();
}

void AppDelegate::applicationWillTerminate() {
    dataManager_.saveData();
    preferences_.synchronize();
}

void AppDelegate::restart() {
    environment_.relaunch();
}

void AppDelegate::quit() {
    environment_.terminate();
}

void AppDelegate::postToMain(std::string_view operation, void (AppDelegate::*call)()) {
    mainRunLoop_.post({this, operation}, [this, call] { (this->*call)(); });
}

} // namespace dresk
