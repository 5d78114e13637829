// How preferences reach the running objects, which do not watch the store themselves.

#include "Foundation/PreferenceKeys.h"
#include "shell/AppDelegate.h"

namespace dresk {

namespace {

namespace Key = PreferenceKey;

constexpr std::array PreferenceNames{Key::FontSizeDelta, Key::ShowStatusIcon, Key::FeedbackSound,
                                     Key::ListenMouseDownEvents, Key::SUEnableAutomaticChecks};

constexpr StringView CustomSound = u"Custom";

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
    const std::int64_t modifier = preferences_.integerForKey(Key::SnippetSelectorKeyModifier);
    autoText_->setPlayFeedbackSound(preferences_.boolForKey(Key::PlayFeedbackSound));
    autoText_->setSnippetSelectorKeyModifier(static_cast<std::uint64_t>(modifier));
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
