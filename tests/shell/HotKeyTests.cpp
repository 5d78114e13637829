#include "shell/ShellRig.h"

namespace dresk {
namespace {

constexpr std::uint16_t KeyA = 0;
constexpr std::uint16_t KeyZ = 6;

/// The panel of quick search, of which only the showing matters here.
class QuickSearchPanel final : public SnippetQuickSearchController {
  public:
    bool isVisible() const override { return visible; }
    Rect windowFrame() const override { return {}; }
    std::shared_ptr<Snippet> snippetAtIndex(std::size_t) const override { return nullptr; }
    void close() override { visible = false; }
    void setSnippetSelectorKeyModifier(std::uint64_t) override {}
    void setSnippetGroups(const SnippetGroupList&, std::function<void()>) override {}
    std::shared_ptr<Snippet> selectedSnippet() const override { return nullptr; }
    void showWindowAtCaret() override { ++shownAtCaret, visible = true; }
    void showWindowAtTopRightCorner() override { ++shownAtCorner, visible = true; }
    void notifyFontSizeDeltaChanged() override {}

    bool visible = false;
    int shownAtCaret = 0;
    int shownAtCorner = 0;
};

class HotKeyTests : public ShellRig {
  protected:
    /// Presses the key A; whether it was kept from the application.
    bool press(std::uint64_t flags = EventFlag::Control) {
        const std::ptrdiff_t before = keysThatArrived();
        desktop.typeKey(KeyA, flags);
        const bool kept = keysThatArrived() == before;
        time.runPending();
        return kept;
    }
    std::ptrdiff_t keysThatArrived() {
        const Lines lines = desktop.processes().received(desktop.editor());
        return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.starts_with("down Control-0") || line == "down \"a\"";
        });
    }
};

TEST_F(HotKeyTests, SwitchTurnsTheEngineOffAndOn) {
    setHotKey(HotKey::Switch, KeyModifier::Control, KeyA);
    launch();
    EXPECT_TRUE(press());
    EXPECT_EQ(ui.takeLines(), (Lines{"icon AutoText-Disabled", "badge O F F ",
                                     "notice Dresk is disabled via hotkey, 4 s"}));
    EXPECT_FALSE(preferences.boolForKey(PreferenceKey::IsEnabled));
    EXPECT_EQ(typed(u"sig "), u"sig ");
    EXPECT_TRUE(press());
    EXPECT_EQ(ui.takeLines(), (Lines{"icon AutoText template", "badge none"}));
    EXPECT_TRUE(preferences.boolForKey(PreferenceKey::IsEnabled));
    EXPECT_EQ(desktop.sounds().played(), (std::vector<String>{u"Pop", u"Pop"}));
    EXPECT_EQ(typed(u"sig "), u"Kind regards ");
}

TEST_F(HotKeyTests, EachOpensWhatItNames) {
    struct Row {
        HotKey hotKey;
        Lines lines;
    };
    const Row rows[] = {
        {HotKey::MakeSnippetFromClipboard, {"showMacrosWindow", "makeSnippetFromClipboard"}},
        {HotKey::OpenMainWindow, {"showMacrosWindow"}},
        {HotKey::OpenLastUsedSnippet, {"showMacrosWindow", "navigateToSnippet sig"}},
    };
    launch();
    typed(u"sig ");
    ui.lines.clear();
    for (const Row& row : rows) {
        app->hotKey(row.hotKey) = GeneralHotKey(KeyModifier::Control, KeyA); // live
        EXPECT_TRUE(press()) << static_cast<int>(row.hotKey);
        EXPECT_EQ(ui.takeLines(), row.lines);
        app->hotKey(row.hotKey) = GeneralHotKey();
    }
}

TEST_F(HotKeyTests, TwoOnTheSameKeysBothAct) {
    setHotKey(HotKey::Switch, KeyModifier::Control, KeyA);
    setHotKey(HotKey::OpenMainWindow, KeyModifier::Control, KeyA);
    launch();
    EXPECT_TRUE(press());
    EXPECT_EQ(ui.takeLines(),
              (Lines{"icon AutoText-Disabled", "badge O F F ",
                     "notice Dresk is disabled via hotkey, 4 s", "showMacrosWindow"}));
}

TEST_F(HotKeyTests, SelectionHasHalfASecondToBeCopied) {
    setHotKey(HotKey::MakeSnippetFromSelection, KeyModifier::Control, KeyA);
    launch();
    desktop.eventTaps().clearPostedEvents();
    EXPECT_TRUE(press());
    time.advance(0.4);
    EXPECT_FALSE(desktop.postedLines().empty()); // the copy command
    EXPECT_EQ(ui.takeLines(), Lines());
    time.advance(0.2);
    EXPECT_EQ(ui.takeLines(), (Lines{"showMacrosWindow", "makeSnippetFromClipboard"}));
}

TEST_F(HotKeyTests, UndoKeepsTheKeyOnlyWhileThereIsSomethingToUndo) {
    for (const HotKey which : {HotKey::Undo, HotKey::UndoAlt}) {
        launch();
        app->hotKey(which) = GeneralHotKey(KeyModifier::Control, KeyA);
        EXPECT_EQ(typed(u"sig "), u"Kind regards ");
        EXPECT_TRUE(press());
        time.advance(0.5);
        const String text = desktop.text();
        EXPECT_EQ(text.substr(text.rfind(u'\n') + 1), which == HotKey::Undo ? u"sig " : u"sig");
        EXPECT_FALSE(press());
        app.reset();
    }
}

TEST_F(HotKeyTests, ExpandTakesTheKeyAlsoWhenNothingMatches) {
    setHotKey(HotKey::Expand, KeyModifier::Control, KeyA);
    launch();
    app->dataManager().snippetGroups().groups[0]->setExpandTrigger(ExpandTrigger::AtHotKey);
    EXPECT_EQ(typed(u"sig "), u"sig ");
    EXPECT_TRUE(press());
    EXPECT_EQ(typed(u"sig"), u"sig");
    EXPECT_TRUE(press());
    time.advance(0.5);
    EXPECT_TRUE(desktop.text().ends_with(u"\nKind regards"));
}

TEST_F(HotKeyTests, CommandAloneForgetsWhatWasTypedAndEmptyHotKeysNeverFire) {
    launch();
    desktop.typeText(u"si");
    desktop.holdModifiers(EventFlag::Control);
    desktop.holdModifiers(0);
    EXPECT_EQ(app->autoText()->letters(), u"si");
    desktop.holdModifiers(EventFlag::Command);
    desktop.holdModifiers(0);
    EXPECT_EQ(app->autoText()->letters(), u"");
    EXPECT_EQ(ui.takeLines(), Lines());
    // Key code 0 without modifiers is the key A itself.
    app->hotKey(HotKey::OpenMainWindow).setValue(0);
    EXPECT_TRUE(press(0));
    EXPECT_EQ(ui.takeLines(), Lines{"showMacrosWindow"});
}

TEST_F(HotKeyTests, QuickSearchIsRegisteredWithTheDesktopOnceItIsChanged) {
    QuickSearchPanel panel;
    ui.quickSearch = &panel;
    setHotKey(HotKey::QuickSearch, KeyModifier::Control, KeyA);
    launch();
    EXPECT_TRUE(press());
    EXPECT_EQ(panel.shownAtCaret, 1);
    EXPECT_TRUE(press()); // it is visible already
    EXPECT_EQ(panel.shownAtCaret, 1);
    panel.close();
    app->workspaceWillSleep(); // nobody sees keys but the desktop
    EXPECT_FALSE(press());

    preferences.setInteger(GeneralHotKey(KeyModifier::Control, KeyZ).getValue(),
                           PreferenceKey::quickSearchHotKey);
    app->hotKeyChanged(app->hotKey(HotKey::Switch)); // another one
    desktop.typeKey(KeyZ, EventFlag::Control);
    time.runPending();
    EXPECT_EQ(panel.shownAtCaret, 1);
    app->hotKeyChanged(app->hotKey(HotKey::QuickSearch));
    desktop.typeKey(KeyZ, EventFlag::Control);
    time.runPending();
    EXPECT_EQ(panel.shownAtCaret, 2);
    ui.choose(u"Search Snippets…");
    EXPECT_EQ(panel.shownAtCorner, 1);
    app.reset();

    // At launch the name that is read is another one.
    panel.close();
    preferences.setInteger(GeneralHotKey(KeyModifier::Control, KeyZ).getValue(),
                           PreferenceKey::QuickSearchHotKeyAtLaunch);
    launch().workspaceWillSleep();
    desktop.typeKey(KeyZ, EventFlag::Control);
    time.runPending();
    EXPECT_EQ(panel.shownAtCaret, 3);
}

TEST_F(HotKeyTests, DiagnosticTellsWhoElseTakesKeys) {
    const auto agent = desktop.processes().launch(u"com.apple.agent", u"Agent");
    const auto mapper = desktop.processes().launch(u"org.mapper", u"Mapper");
    const ProcessSerialNumber own = desktop.processes().currentProcess();
    const ProcessSerialNumber gone{0, 4'000'000};
    desktop.eventTaps().setEventTapList(std::vector<EventTapInformation>{
        {0, own}, {0, agent}, {1, mapper}, {0, gone}, {0, mapper}, {0, mapper}});
    const test::LogLines log;
    launch();
    EXPECT_EQ(log.count(), 2U); // the same process twice, one line a tap
    ASSERT_EQ(app->tappingProcesses()->size(), 2U);
    desktop.eventTaps().setSecureEventInput(true);
    app->onEnabledItemClick();
    time.advance(5);
    ui.lines.clear();
    app->diagnostic();
    const std::string mapperLine = "\t PID: " + std::to_string(mapper.low) +
                                   ", Name: Mapper, Identifier: org.mapper, URL: " +
                                   toUTF8(app->tappingProcesses()->front().executableURL) + "\n";
    EXPECT_EQ(ui.takeLines(),
              Lines{"Dresk version: 1.0\nSystem version: Test System 12\n\nDresk is disabled.\n"
                    "Click Dresk icon on menu bar and select \"Enabled\".\n\n"
                    "Foreground program: Text Editor\n\n"
                    "Secure Input is enabled (by Text Editor).\n"
                    "Try quit this app to release Secure Input.\n"
                    "If it is unknown, try quit your running apps.\n"
                    "\nProcesses created event tap and may conflict with Dresk:\n" +
                    mapperLine + mapperLine +
                    "If Dresk is not working, try quit these processes.\n"
                    "\nDresk's Preferences:\n - UseClipboard: No\n - UseClipboardForLongText: Yes\n"
                    " - RestoreClipboard: Yes\n - ListenMouseDownEvents: Yes\n"});
    desktop.eventTaps().setEventTapList(std::nullopt);
    EXPECT_FALSE(app->tappingProcesses().has_value());
}

} // namespace
} // namespace dresk
