// How preferences reach the running objects, which do not watch the store themselves.

#include "Foundation/PreferenceKeys.h"
#include "shell/AppDelegate.h"

namespace dresk {

namespace {

namespace Key = PreferenceKey;

constexpr std::array PreferenceNames{Key::FontSizeDelta, Key::ShowStatusIcon, Key::FeedbackSound,
                                     Key::ListenMouseDownEvents, Key::SUEnableAutomaticChecks};

constexpr StringView CustomSound = u"Custom";

/// The lines of a text as they stand, empty ones too; null stays null.
std::optional<std::vector<String>> linesOf(const std::optional<String>& text) {
    if (!text.has_value())
        return std::nullopt;
    std::vector<String> lines(1);
    for (const char16_t unit : *text)
        if (unit == u'\n')
            lines.emplace_back();
        else
            lines.back() += unit;
    return lines;
}

} // namespace

void AppDelegate::loadPreferences() {
    autoText_->setEnabled(preferences_.boolForKey(Key::IsEnabled));
    for (const StringView key : PreferenceNames)
        loadPreference(key);
    loadSimplePreferences();
}

bool AppDelegate::loadPreference(StringView key) {
    if (key == Key::FontSizeDelta)
        loadFontSizeDelta();
    else if (key == Key::ShowStatusIcon)
        preferences_.boolForKey(key) ? addStatusItem() : removeStatusItem();
    else if (key == Key::FeedbackSound)
        loadFeedbackSound();
    else if (key == Key::ListenMouseDownEvents)
        macInputService_->setListenMouseDownEvents(preferences_.boolForKey(key));
    else // There is no update helper, so nothing hangs on the key of its checks.
        return key == Key::SUEnableAutomaticChecks;
    return true;
}

void AppDelegate::loadFontSizeDelta() {
    const std::int64_t delta = preferences_.integerForKey(Key::FontSizeDelta);
    if (delta == fontSizeDelta_)
        return;
    fontSizeDelta_ = delta;
    statusMenu_.setFontSizeDelta(delta);
    userInterface_.setFontSizeDelta(delta);
    autoText_->notifyFontSizeDeltaChanged();
}

void AppDelegate::loadFeedbackSound() {
    const auto name = preferences_.stringForKey(Key::FeedbackSound);
    if (name != CustomSound) {
        autoText_->setFeedbackSound(name.has_value() ? desktop_.sounds().soundNamed(*name)
                                                     : nullptr);
        return;
    }
    const auto path = preferences_.stringForKey(Key::CustomFeedbackSound);
    auto sound = path.has_value() ? desktop_.sounds().soundWithContentsOfFile(*path) : nullptr;
    if (sound != nullptr)
        autoText_->setFeedbackSound(std::move(sound));
}

void AppDelegate::loadSimplePreferences() {
    loadEnginePreferences();
    loadServicePreferences();
}

void AppDelegate::loadEnginePreferences() {
    DRFunctionAvailability availability;
    availability.setAvailability(preferences_.integerForKey(Key::AutoCorrectIn));
    availability.setApplications(preferences_.stringArrayForKey(Key::AutoCorrectApplications));
    availability.setInputMethodsOption(
        preferences_.integerForKey(Key::AutoCorrectInputMethodsOption));
    availability.setInputMethods(preferences_.stringArrayForKey(Key::AutoCorrectInputMethods));
    autoText_->setAutoCorrectAvailability(std::move(availability));
    autoText_->setCapitalizeNewSentences(preferences_.boolForKey(Key::CapitalizeNewSentences));
    autoText_->setCorrectDoubleCapitals(preferences_.boolForKey(Key::CorrectDoubleCapitals));
    autoText_->setCapitalizationExcludedAbbreviations(
        linesOf(preferences_.stringForKey(Key::CapitalizationExcludedAbbreviations))
            .value_or(std::vector<String>()));
    autoText_->setDoubleCapitalsCorrectionExclusion(
        linesOf(preferences_.stringForKey(Key::DoubleCapitalsCorrectionExclusion)));
    const std::int64_t modifier = preferences_.integerForKey(Key::SnippetSelectorKeyModifier);
    autoText_->setPlayFeedbackSound(preferences_.boolForKey(Key::PlayFeedbackSound));
    autoText_->setSnippetSelectorKeyModifier(static_cast<std::uint64_t>(modifier));
}

void AppDelegate::loadServicePreferences() {
    macInputService_->setUseClipboard(preferences_.boolForKey(Key::UseClipboard));
    macInputService_->setUseClipboardIn(preferences_.integerForKey(Key::UseClipboardIn));
    macInputService_->setUseClipboardApplications(
        preferences_.stringArrayForKey(Key::UseClipboardApplications)
            .value_or(std::vector<String>()));
    macInputService_->clipboardDataProvider().setRestoreDelay(
        preferences_.doubleForKey(Key::RestoreClipboardDelay));
    macInputService_->setLongTextLength(preferences_.integerForKey(Key::LongTextLength));
    macInputService_->setUseClipboardForLongText(
        preferences_.boolForKey(Key::UseClipboardForLongText));
    macInputService_->setRestoreClipboard(preferences_.boolForKey(Key::RestoreClipboard));
    macInputService_->setListenAtAnnotatedSession(
        preferences_.boolForKey(Key::ListenAtAnnotatedSession));
}

void AppDelegate::beginObservingPreferences() {
    if (observesPreferences_)
        return;
    observesPreferences_ = true;
    preferences_.preferenceChanged().addObserver(this, &AppDelegate::onPreferenceChanged);
}

void AppDelegate::endObservingPreferences() {
    if (!observesPreferences_)
        return;
    observesPreferences_ = false;
    preferences_.preferenceChanged().removeObserver(this, &AppDelegate::onPreferenceChanged);
}

void AppDelegate::onPreferenceChanged(PreferenceChangedEventArgs* args) {
    if (updatingPreferences_)
        return;
    loadPreference(args->key);
    loadSimplePreferences();
}

void AppDelegate::onPreferencesSynced(const std::map<String, PropertyList>& values) {
    updatingPreferences_ = true;
    for (const auto& [key, value] : values)
        preferences_.setObject(value, key);
    updatingPreferences_ = false;
    loadPreferences();
}

} // namespace dresk
