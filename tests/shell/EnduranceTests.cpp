// The application at work for hours: what it keeps in memory.

#include <malloc.h>

#include "shell/ShellRig.h"
#include "ui/PanelRig.h"
#include "ui/SuggestionListController.h"

namespace dresk {
namespace {

constexpr std::uint16_t KeyA = 0;
constexpr std::uint16_t KeyReturn = 36;
constexpr std::uint16_t KeyLeft = 123;

/// Bytes that are allocated; 0 under a sanitizer, which has an allocator of its own.
std::size_t allocated() {
    return mallinfo2().uordblks;
}

class Endurance : public ShellRig {
  protected:
    Endurance() {
        preferences.setBool(true, PreferenceKey::CapitalizeNewSentences);
        preferences.setBool(true, PreferenceKey::CorrectDoubleCapitals);
        // The sounds of this desktop are kept for tests to see.
        preferences.setBool(false, PreferenceKey::PlayFeedbackSound);
        setHotKey(HotKey::SuggestAbbreviations, KeyModifier::Control, KeyA);
    }

    void openApplication() {
        const ProcessSerialNumber before = desktop.processes().frontProcess();
        desktop.processes().setFrontProcess(
            desktop.processes().launch(u"org.example.editor", u"Editor"));
        desktop.processes().terminate(before);
        desktop.eventTaps().clearPostedEvents();
    }
    /// A minute of somebody's writing, up to a key that moves the caret.
    void writeForAMinute() {
        desktop.typeText(u"\nThis is a line of text, with a word here and there. ");
        time.advance(10);
        desktop.typeText(u"now a sentence for correction, with THe usual faults, sig ");
        time.advance(10);
        desktop.typeText(u"or, si");
        desktop.typeKey(KeyA, EventFlag::Control);
        time.advance(10);
        ASSERT_TRUE(suggestions->isVisible());
        desktop.typeKey(KeyReturn);
        time.advance(20);
        ASSERT_FALSE(suggestions->isVisible());
        desktop.typeKey(KeyLeft);
        time.advance(10);
    }

    ScriptedPanelView<ListPanelView>::State view;
    std::unique_ptr<SuggestionListController> suggestions;
};

TEST_F(Endurance, TwoHoursOfTypingLeaveNothingInMemory) {
    if (allocated() == 0)
        GTEST_SKIP() << "this allocator does not tell";
    AppDelegate& app = make();
    suggestions = std::make_unique<SuggestionListController>(
        desktop, mainLoop, preferences, app.dataManager().snippetGroups(),
        [this](const ListPanelRows&, ListPanelEvents&) {
            return std::make_unique<ScriptedPanelView<ListPanelView>>(view, 1);
        });
    ui.suggestions = suggestions.get();
    app.applicationDidFinishLaunching();
    time.advance(AppDelegate::LaunchDelay);

    std::size_t atFirst = 0;
    for (int minutes = 0; minutes < 120; minutes += 10) {
        openApplication();
        for (int i = 0; i < 10; ++i)
            ASSERT_NO_FATAL_FAILURE(writeForAMinute());
        EXPECT_TRUE(desktop.text().starts_with(
            u"\nThis is a line of text, with a word here and there. Now a sentence for correction, "
            u"with The usual faults, Kind regards or, Kind regard"))
            << toUTF8(desktop.text().substr(0, 200));
        openApplication();
        ui.lines = {};
        // Caches and backups have been made by then.
        if (minutes == 10)
            atFirst = allocated();
    }
    constexpr std::size_t Slack = 32 * 1024;
    EXPECT_LT(allocated(), atFirst + Slack);

    // Without a key that moves the caret what was typed is kept, two bytes a unit, and no more.
    const std::size_t before = allocated();
    for (int i = 0; i < 100; ++i)
        desktop.typeText(u"on and on we write without end or any rest ");
    openApplication();
    ui.lines = {};
    EXPECT_GT(app.autoText()->letters().size(), 4000U);
    EXPECT_LT(allocated(), before + Slack);
    app.autoText()->clear();
    EXPECT_TRUE(app.autoText()->letters().empty());
    ui.suggestions = nullptr;
    this->app.reset();
}

} // namespace
} // namespace dresk
