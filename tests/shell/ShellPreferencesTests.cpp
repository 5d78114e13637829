#include "shell/ShellRig.h"

namespace dresk {
namespace {

namespace Key = PreferenceKey;

class ShellPreferencesTests : public ShellRig {
  protected:
    /// What an expansion sounds like.
    std::vector<String> soundsOfAnExpansion() {
        const std::size_t before = desktop.sounds().played().size();
        typed(u"sig ");
        const auto played = desktop.sounds().played();
        return {played.begin() + static_cast<std::ptrdiff_t>(before), played.end()};
    }
};

TEST_F(ShellPreferencesTests, ChangesArriveWhileThePreferencesWindowIsOpen) {
    launch();
    preferences.setBool(false, Key::PlayFeedbackSound);
    preferences.setInteger(2, Key::FontSizeDelta);
    EXPECT_EQ(soundsOfAnExpansion(), std::vector<String>{u"Click"});
    EXPECT_EQ(ui.takeLines(), Lines());

    app->showPreferencesWindow();
    app->showPreferencesWindow(); // brings it forward; one change stays one change
    EXPECT_EQ(ui.takeLines(), (Lines{"showPreferencesWindow", "showPreferencesWindow"}));
    // Any change brings the simple values along, but not the others.
    preferences.setBool(true, Key::ShowStatusBar);
    EXPECT_TRUE(soundsOfAnExpansion().empty());
    EXPECT_EQ(ui.takeLines(), Lines());
    preferences.setInteger(3, Key::FontSizeDelta);
    preferences.setInteger(3, Key::FontSizeDelta);
    preferences.setBool(false, Key::ShowStatusIcon);
    preferences.setBool(true, Key::ShowStatusIcon);
    preferences.setBool(false, Key::ListenMouseDownEvents);
    EXPECT_EQ(ui.takeLines(),
              (Lines{"setFontSizeDelta 3", "removeStatusItem", "icon AutoText template"}));
    EXPECT_FALSE(app->macInputService()->listenMouseDownEvents());

    ui.preferencesWillClose();
    preferences.setBool(true, Key::PlayFeedbackSound);
    EXPECT_TRUE(soundsOfAnExpansion().empty());
}

TEST_F(ShellPreferencesTests, SoundsComeByNameOrFromAFile) {
    desktop.sounds().setFiles({u"/a.oga"});
    launch();
    const auto setAndPlay = [this](PropertyList name, PropertyList file) {
        preferences.setObject(std::move(file), Key::CustomFeedbackSound);
        preferences.setObject(std::move(name), Key::FeedbackSound);
        app->loadPreference(Key::FeedbackSound);
        return soundsOfAnExpansion();
    };
    const auto text = [](StringView value) { return PropertyList(String(value)); };
    EXPECT_EQ(setAndPlay(text(u"Pop"), {}), std::vector<String>{u"Pop"});
    EXPECT_EQ(setAndPlay(text(u"Custom"), text(u"/missing")), std::vector<String>{u"Pop"});
    EXPECT_EQ(setAndPlay(text(u"Custom"), {}), std::vector<String>{u"Pop"});
    EXPECT_EQ(setAndPlay(text(u"Custom"), text(u"/a.oga")), std::vector<String>{u"/a.oga"});
    EXPECT_TRUE(setAndPlay(PropertyList(5), {}).empty());
}

TEST_F(ShellPreferencesTests, ValuesOfTheWrongKindReadAsNothing) {
    for (const Preference& preference : preferenceTable())
        if (preference.key != Key::Data && preference.key != Key::BackupDirectory)
            preferences.setObject(PropertyList(PropertyList::Array{PropertyList(true)}),
                                  preference.key);
    launch();
    EXPECT_FALSE(app->autoText()->enabled());
    for (std::size_t i = 0; i < HotKeyCount; ++i)
        EXPECT_FALSE(app->hotKey(static_cast<HotKey>(i)).isValid());
    EXPECT_FALSE(app->loadPreference(u"no such key"));
    app->onEnabledItemClick();
    EXPECT_EQ(typed(u"sig "), u"Kind regards ");
}

TEST_F(ShellPreferencesTests, SyncedValuesArriveAsOneChange) {
    launch();
    app->beginObservingPreferences();
    app->onPreferencesSynced({{String(Key::FontSizeDelta), PropertyList(1)},
                              {String(Key::IsEnabled), PropertyList(false)}});
    EXPECT_FALSE(app->autoText()->enabled());
    const Lines lines = ui.takeLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "setFontSizeDelta 1"), 1);
    app->endObservingPreferences();
}

TEST_F(ShellPreferencesTests, CorrectionAndPastingFollowTheirPreferences) {
    launch();
    app->beginObservingPreferences();
    EXPECT_EQ(typed(u"One. two "), u"One. two ");
    preferences.setBool(true, Key::CapitalizeNewSentences);
    EXPECT_EQ(typed(u"One. two "), u"One. Two ");
    preferences.setString(u"etc.\nOne.", Key::CapitalizationExcludedAbbreviations);
    EXPECT_EQ(typed(u"One. two "), u"One. two ");
    preferences.setInteger(3, Key::AutoCorrectIn); // nowhere
    EXPECT_EQ(typed(u"Two. three "), u"Two. three ");

    const auto pasted = [this] {
        desktop.eventTaps().clearPostedEvents();
        typed(u"sig ");
        const Lines lines = desktop.postedLines();
        return std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("Command-9") != std::string::npos;
        });
    };
    EXPECT_FALSE(pasted());
    preferences.setBool(true, Key::UseClipboard);
    EXPECT_TRUE(pasted());
    preferences.setBool(false, Key::UseClipboard);
    preferences.setInteger(3, Key::LongTextLength);
    EXPECT_TRUE(pasted());
    preferences.setInteger(200, Key::LongTextLength); // wraps: nothing is long
    EXPECT_FALSE(pasted());
    app->endObservingPreferences();
}

struct Watcher {
    void onChange(PreferenceChangedEventArgs* args) { keys.push_back(args->key); }
    std::vector<String> keys;
};

TEST_F(ShellPreferencesTests, OnlyZPPreferencesRaisesItsEvent) {
    Watcher watcher;
    ZPPreferences zpPreferences(preferences);
    zpPreferences.preferenceChanged().addObserver(&watcher, &Watcher::onChange);
    zpPreferences.setInteger(3, Key::FontSizeDelta);
    ZPPrefUtils::setBool(preferences, true, Key::UseClipboard);
    zpPreferences.notifyPreferenceChanged(Key::IsEnabled);
    EXPECT_EQ(watcher.keys,
              (std::vector<String>{String(Key::FontSizeDelta), String(Key::IsEnabled)}));
    EXPECT_EQ(preferences.integerForKey(Key::FontSizeDelta), 3);
    EXPECT_FALSE(preferences.isSetForKey(Key::IsEnabled));
    zpPreferences.preferenceChanged().removeObserver(&watcher, &Watcher::onChange);
}

} // namespace
} // namespace dresk
