#pragma once

#include <array>
#include <filesystem>

#include "engine/AutoText.h"
#include "input/MacInputService.h"
#include "language/SnippetFormatter.h"
#include "shell/AccessTest.h"
#include "shell/LoginItem.h"
#include "shell/StatusMenu.h"
#include "shell/TappingProcess.h"
#include "shell/UserInterface.h"
#include "shell/ZPPreferences.h"
#include "store/Backups.h"
#include "store/DataManager.h"

namespace dresk {

/// The user's hot keys, in the order in which they are registered.
enum class HotKey : std::size_t {
    Switch,
    MakeSnippetFromSelection,
    MakeSnippetFromClipboard,
    SuggestAbbreviations,
    QuickSearch,
    OpenMainWindow,
    OpenLastUsedSnippet,
    Undo,
    UndoAlt,
    Expand,
};
inline constexpr std::size_t HotKeyCount = 10;

/// The application object: makes store, parser, input service and engine, connects them in an order
/// in which no key is seen before everything is ready, and carries out what menus and hot keys ask
/// for. Main thread, save for the observers of the service. The sources stand by concern: life,
/// preferences, hot keys, commands.
class AppDelegate {
  public:
    /// What the application is told of its surroundings. What is borrowed outlives it.
    struct Environment {
        /// Build version, written into archives and shown.
        String version;
        /// The operating system by name and version; null when unknown.
        std::optional<String> systemVersion;
        DataManager::Places places;
        /// Where backups go unless the user says otherwise; made at every start.
        std::filesystem::path backupDirectory;
        LoginItem loginItem;
        /// File formats beyond the system's own; null for none.
        DataFileFormats* formats = nullptr;
        /// Ends the main loop, after which applicationWillTerminate is called.
        std::function<void()> terminate;
        /// The same, and starts the program again once it has gone.
        std::function<void()> relaunch;
        const Clock* clock = &systemClock();
    };

    /// Everything outlives the application. `mainRunLoop` is the loop of the calling thread.
    /// Nothing of the user's data is read yet.
    AppDelegate(Desktop& desktop, PreferenceStore& preferences, RunLoop& mainRunLoop,
                UserInterface& userInterface, Environment environment);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;
    /// While the main loop does not run.
    ~AppDelegate();

    // Life.
    /// The main loop is about to run: asks whether keys can be seen, and goes on from there.
    void applicationDidFinishLaunching();
    /// A file that came from outside: opened now, or at the end of the launch. An absolute path.
    void applicationOpenFile(const std::filesystem::path& path);
    /// The user has started the program again.
    void applicationShouldHandleReopen(bool hasVisibleWindows);
    void workspaceWillSleep();
    void workspaceDidWake();
    /// Saves; the input service is stopped with this object.
    void applicationWillTerminate();
    bool UILoaded() const { return UILoaded_; }

    // What windows are made on.
    Desktop& desktop() { return desktop_; }
    RunLoop& mainRunLoop() { return mainRunLoop_; }
    PreferenceStore& preferences() { return preferences_; }
    ZPPreferences& zpPreferences() { return zpPreferences_; }
    DataManager& dataManager() { return dataManager_; }
    SnippetParser& snippetParser() { return snippetParser_; }
    SnippetFormatter& snippetFormatter() { return snippetFormatter_; }
    Backups& backups() { return backups_; }
    StatusMenu& statusMenu() { return statusMenu_; }
    /// Null before the launch has come to the engine.
    AutoText* autoText() { return autoText_.get(); }
    MacInputService* macInputService() { return macInputService_.get(); }
    const LoginItem& loginItem() const { return environment_.loginItem; }
    const Environment& environment() const { return environment_; }
    const Clock& clock() const { return *environment_.clock; }

    // Preferences.
    /// Copies all preferences into the running objects.
    void loadPreferences();
    /// Copies one that is more than a value; false for a key that is none of these.
    bool loadPreference(StringView key);
    void loadSimplePreferences();
    /// From here to endObservingPreferences each change of the store reaches the running objects at
    /// once. showPreferencesWindow calls both.
    void beginObservingPreferences();
    void endObservingPreferences();
    /// Stores what came from elsewhere, one change for the running objects.
    void onPreferencesSynced(const std::map<String, PropertyList>& values);

    // Hot keys.
    /// Live: a change is seen at the next key. Whoever changes it calls hotKeyChanged.
    GeneralHotKey& hotKey(HotKey which) { return hotKeys_[static_cast<std::size_t>(which)]; }
    static StringView hotKeyName(HotKey which);
    void hotKeyChanged(const GeneralHotKey& hotKey);
    /// Programs that filter the keys as well, in the order of their taps; null when the desktop
    /// does not tell.
    std::optional<std::vector<TappingProcess>> tappingProcesses();

    // Commands.
    void newDocument();
    void newGroup();
    void openDocument();
    void saveDocumentTo();
    void searchSnippets();
    void exportAllGroupsToRTF();
    void showMacrosWindow() { (void)showMacrosWindowWithExpandAll(false); }
    void showLastUsedSnippet();
    void showAboutWindow();
    void showPreferencesWindow();
    void makeSnippetFromSelection();
    void makeSnippetFromClipboard();
    void diagnostic();
    void restart();
    void quit();
    /// Asks whether to import or to restore the file, and does so.
    void openFile(const std::filesystem::path& path);
    void onEnabledItemClick();
    /// Types the snippet into the application in front, once the menu has let go of the focus.
    void itemAction(const std::shared_ptr<Snippet>& snippet);
    /// Why keys may not be seen at present, for the user.
    String secureInputStatus() const;

    static constexpr double LaunchDelay = 1.0;
    static constexpr double AutoBackupCheckInterval = 60.0;

  private:
    // Life.
    void initPreferences();
    void showAccessPrompt();
    void tryAgain();
    void ignoreMissingAccess();
    void onAssistiveDeviceSupportPromptClosed();
    void loadDataAndConnect();
    void initAutoTextAndUI();
    void makeEngine();
    void registerHotKeys();
    void tellOfDamage();
    void autoBackup();

    // Status item.
    void activateStatusMenu();
    void addStatusItem();
    void removeStatusItem();
    void refreshStatusItemImage();
    void refreshOnAutoTextEnabledChanged();
    void refreshDockBadgeLabel();
    void refreshSecureInputItem();
    void showDisableDreskPrompt();
    /// Tap or main thread.
    void onMacInputServiceSecureInputChanged(ZPObject* service);

    // Preferences.
    void loadFontSizeDelta();
    void loadFeedbackSound();
    void loadEnginePreferences();
    void loadServicePreferences();
    void onPreferenceChanged(PreferenceChangedEventArgs* args);

    // Hot keys.
    /// Tap thread, inside the key's handler.
    void onMacInputServiceHotKeysPressed(ZPHotKeysPressedEventArgs* args);
    void onSwitchHotKey();
    void loadHotKey(GeneralHotKey& hotKey, StringView prefName) const;
    void loadEventHotKey(StringView prefName);
    void registerEventHotKey(std::int64_t value);
    void myHotKeyHandler();
    void checkConflicts();

    // Commands.
    MacrosWindow* showMacrosWindowWithExpandAll(bool expandAll);
    void suggestAbbreviations();
    void quickSearch();
    void askHowToOpen();
    void openFileSheetDidEnd(std::size_t button, const std::filesystem::path& path);
    void postToMain(std::string_view operation, void (AppDelegate::*call)());

    Desktop& desktop_;
    PreferenceStore& preferences_;
    RunLoop& mainRunLoop_;
    UserInterface& userInterface_;
    Environment environment_;
    ZPPreferences zpPreferences_;
    DataManager dataManager_;
    Backups backups_;
    std::array<GeneralHotKey, HotKeyCount> hotKeys_;
    /// Command alone: whatever it does, what was typed is forgotten.
    const GeneralHotKey clearHotKey_{KeyModifier::Command, NoKeyCode};
    SnippetParser snippetParser_;
    SnippetFormatter snippetFormatter_;
    StatusMenu statusMenu_;
    AccessTest accessTest_;

    std::unique_ptr<BundleIdentifierResolver> bundleIdentifierResolver_;
    std::unique_ptr<MacInputService> macInputService_;
    std::unique_ptr<AutoText> autoText_;
    /// The quick search key registered with the desktop as a whole.
    std::unique_ptr<EventHotKey> quickSearchEventHotKey_;

    bool accessPromptIsOpen_ = false;
    bool UILoaded_ = false;
    bool emptyDataAtLaunch_ = false;
    std::vector<std::filesystem::path> filesOpenedOnApplicationLaunching_;
    /// The first one is being asked about.
    std::vector<std::filesystem::path> filesToOpen_;
    bool hasStatusItem_ = false;
    std::int64_t fontSizeDelta_ = 0;
    bool observesPreferences_ = false;
    bool updatingPreferences_ = false;
};

} // namespace dresk
