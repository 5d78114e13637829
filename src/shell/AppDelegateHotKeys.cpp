// What each hot key does, and who else may be after the keys.

#include "Foundation/Log.h"
#include "Foundation/PreferenceKeys.h"
#include "shell/AppDelegate.h"
#include "shell/TappingProcess.h"

namespace dresk {

namespace {

/// In the order of HotKey.
constexpr std::array<StringView, HotKeyCount> HotKeyNames{
    PreferenceKey::switchHotKey,
    PreferenceKey::makeSnippetFromSelectionHotKey,
    PreferenceKey::makeSnippetFromClipboardHotKey,
    PreferenceKey::suggestAbbreviationsHotKey,
    PreferenceKey::quickSearchHotKey,
    PreferenceKey::openMainWindowHotKey,
    PreferenceKey::OpenLastUsedSnippetHotKey,
    PreferenceKey::UndoHotKey,
    PreferenceKey::UndoAltHotKey,
    PreferenceKey::ExpandHotKey,
};

/// The modifier set of the system is the event flags moved down by so many bits.
constexpr unsigned ModifierShift = 17;

} // namespace

StringView AppDelegate::hotKeyName(HotKey which) {
    return HotKeyNames[static_cast<std::size_t>(which)];
}

void AppDelegate::registerHotKeys() {
    for (std::size_t i = 0; i < HotKeyCount; ++i) {
        macInputService_->registerHotKey(&hotKeys_[i]);
        loadHotKey(hotKeys_[i], HotKeyNames[i]);
    }
    macInputService_->registerHotKey(&clearHotKey_);
}

void AppDelegate::loadHotKey(GeneralHotKey& hotKey, StringView prefName) const {
    if (const auto value = preferences_.objectForKey(prefName).integer())
        hotKey.setValue(*value);
}

// The order is that of the effects; two hot keys on the same keys both act.
void AppDelegate::onMacInputServiceHotKeysPressed(ZPHotKeysPressedEventArgs* args) {
    const auto pressed = [args](const GeneralHotKey& hotKey) {
        const auto& hotKeys = args->hotKeys();
        return std::find(hotKeys.begin(), hotKeys.end(), &hotKey) != hotKeys.end();
    };
    const auto postIfPressed = [&](HotKey which, std::string_view operation,
                                   void (AppDelegate::*call)()) {
        if (!pressed(hotKey(which)))
            return;
        args->cancel = true;
        postToMain(operation, call);
    };
    if (pressed(hotKey(HotKey::Switch)))
        autoText_->setEnabled(!autoText_->enabled());
    postIfPressed(HotKey::Switch, "onSwitchHotKey", &AppDelegate::onSwitchHotKey);
    postIfPressed(HotKey::MakeSnippetFromClipboard, "makeSnippetFromClipboard",
                  &AppDelegate::makeSnippetFromClipboard);
    postIfPressed(HotKey::MakeSnippetFromSelection, "makeSnippetFromSelection",
                  &AppDelegate::makeSnippetFromSelection);
    postIfPressed(HotKey::SuggestAbbreviations, "suggestAbbreviations",
                  &AppDelegate::suggestAbbreviations);
    postIfPressed(HotKey::QuickSearch, "quickSearch", &AppDelegate::quickSearch);
    postIfPressed(HotKey::OpenMainWindow, "showMacrosWindow", &AppDelegate::showMacrosWindow);
    postIfPressed(HotKey::OpenLastUsedSnippet, "showLastUsedSnippet",
                  &AppDelegate::showLastUsedSnippet);
    if (pressed(clearHotKey_))
        autoText_->clear();
    if (pressed(hotKey(HotKey::Undo)))
        args->cancel = autoText_->undo(true);
    if (pressed(hotKey(HotKey::UndoAlt)))
        args->cancel = autoText_->undo(false);
    if (pressed(hotKey(HotKey::Expand))) {
        args->cancel = true;
        autoText_->expandAtHotkey();
    }
}

void AppDelegate::onSwitchHotKey() {
    refreshOnAutoTextEnabledChanged();
    if (const auto sound = desktop_.sounds().soundNamed(u"Pop"))
        sound->play();
    else
        desktop_.sounds().beep();
    if (!autoText_->enabled())
        showDisableDreskPrompt();
}

// Of the user's hot keys this one is also registered with the desktop, so that it works where the
// tap sees no keys. At launch the name read differs from the one written by a capital; meant so.
void AppDelegate::hotKeyChanged(const GeneralHotKey& changed) {
    if (&changed == &hotKey(HotKey::QuickSearch))
        loadEventHotKey(PreferenceKey::quickSearchHotKey);
}

void AppDelegate::loadEventHotKey(StringView prefName) {
    if (const auto value = preferences_.objectForKey(prefName).integer())
        registerEventHotKey(*value);
}

void AppDelegate::registerEventHotKey(std::int64_t value) {
    GeneralHotKey hotKey;
    hotKey.setValue(value);
    quickSearchEventHotKey_.reset();
    // A chord needs a key; modifiers alone are recognised by the tap only.
    if (hotKey.keyCode() < 0 || hotKey.keyCode() >= NoKeyCode)
        return;
    const std::uint64_t flags =
        (static_cast<std::uint64_t>(static_cast<std::uint32_t>(hotKey.modifiers()))
         << ModifierShift) &
        EventFlag::Modifiers;
    quickSearchEventHotKey_ =
        desktop_.registerEventHotKey(static_cast<std::uint16_t>(hotKey.keyCode()), flags,
                                     mainRunLoop_, [this] { myHotKeyHandler(); });
}

void AppDelegate::myHotKeyHandler() {
    macInputService_->ignoreNextHotKey();
    quickSearch();
}

std::optional<std::vector<TappingProcess>> AppDelegate::tappingProcesses() {
    return findTappingProcesses(desktop_.eventTaps(), desktop_.processes());
}

void AppDelegate::checkConflicts() {
    for (const TappingProcess& process : tappingProcesses().value_or(std::vector<TappingProcess>()))
        logLine(toUTF8(u"processIdentifier " + fromUTF8(std::to_string(process.identifier)) +
                       u", localizedName " + process.localizedName + u", bundleIdentifier " +
                       process.bundleIdentifier + u", executableURL " + process.executableURL));
}

} // namespace dresk
