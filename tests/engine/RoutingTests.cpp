#include <gtest/gtest.h>

#include "Foundation/KeyCode.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

constexpr auto Shift = KeyModifier::Shift;

TEST(Routing, KeepsTheLettersTyped) {
    struct Row {
        const char* name = nullptr;
        ScriptedKey key;
        const char16_t* letters = nullptr;
    };
    const Row rows[] = {
        {"letter", {u"x"}, u"abx"},
        {"dead key", {std::nullopt}, u"ab"},
        {"key with two units", {u"xy"}, u"ab"},
        {"key without units", {u""}, u"ab"},
        {"delete", {u"\b", KeyCode::Delete}, u"a"},
        {"forward delete", {std::nullopt, KeyCode::ForwardDelete}, u"ab"},
        {"space", {u" ", KeyCode::Space}, u"ab "},
        {"shift and space", {u" ", KeyCode::Space, Shift}, u"ab "},
        {"shift and return", {u"\r", KeyCode::Return, Shift}, u"ab\r"},
        {"shift and enter without text", {std::nullopt, KeyCode::Enter, Shift}, u"ab"},
        {"escape", {u"\u001B", KeyCode::Escape}, u""},
        {"home", {std::nullopt, KeyCode::Home}, u""},
        {"page up", {std::nullopt, KeyCode::PageUp}, u""},
        {"end", {std::nullopt, KeyCode::End}, u""},
        {"page down", {std::nullopt, KeyCode::PageDown}, u""},
        {"left", {std::nullopt, KeyCode::LeftArrow}, u""},
        {"right", {std::nullopt, KeyCode::RightArrow}, u""},
        {"down", {std::nullopt, KeyCode::DownArrow}, u""},
        {"up", {std::nullopt, KeyCode::UpArrow}, u""},
    };
    for (const Row& row : rows) {
        EngineRig rig;
        rig.service.type(u"ab");
        EXPECT_FALSE(rig.service.press(row.key)) << row.name;
        EXPECT_EQ(rig.engine.letters(), row.letters) << row.name;
    }
}

TEST(Routing, ForgetsTheLettersWhenTheCaretMayHaveMoved) {
    EngineRig rig;
    const auto typeAnd = [&](const auto& action) {
        rig.service.type(u"ab");
        action();
        return rig.engine.letters();
    };
    EXPECT_EQ(typeAnd([&] { rig.service.clickAt(5, 5); }), u"");
    EXPECT_EQ(typeAnd([&] { rig.service.switchTo(2); }), u"");
    EXPECT_EQ(typeAnd([&] { rig.service.pressChord(KeyModifier::Command, 8, u'c'); }), u"");
    EXPECT_EQ(typeAnd([&] { rig.engine.setEnabled(true); }), u"ab"); // no change
    EXPECT_EQ(typeAnd([&] { rig.engine.setEnabled(false); }), u"");
    EXPECT_EQ(typeAnd([] {}), u""); // disabled
    rig.engine.setEnabled(true);
    rig.service.sameProcess = true;
    EXPECT_EQ(typeAnd([] {}), u"");
}

TEST(Routing, ShiftTypesADelimiterWithoutExpanding) {
    EngineRig rig;
    rig.addSnippet(rig.addGroup(ExpandTrigger::AtSwallowedDelimiter), u"sig", u"x");
    rig.service.type(u"sig");
    EXPECT_FALSE(rig.service.press({u" ", KeyCode::Space, Shift}));
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
    rig.service.type(u"sig");
    EXPECT_TRUE(rig.service.press({u" ", KeyCode::Space}));
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 3, put \"x\", swallow"});
}

/// A rig whose abbreviation "ab" is ambiguous between "one" and "two", at a delimiter that stays.
struct AmbiguousRig : EngineRig {
    AmbiguousRig() {
        SnippetGroup& group = addGroup(ExpandTrigger::AtDelimiter);
        addSnippet(group, u"ab", u"one");
        addSnippet(group, u"ab", u"two");
    }
    void openList() {
        service.type(u"ab ");
        time.runPending();
    }
    bool press(std::uint16_t key, std::int32_t modifiers = 0) {
        const bool swallowed = service.press({std::nullopt, key, modifiers});
        time.runPending();
        return swallowed;
    }
};

TEST(Routing, AnAmbiguousAbbreviationOpensAList) {
    AmbiguousRig rig;
    rig.service.type(u"ab ");
    EXPECT_FALSE(rig.engine.snippetSuggestionWindowVisible()); // window work is the main thread's
    rig.time.runPending();
    EXPECT_TRUE(rig.engine.snippetSuggestionWindowVisible());
    EXPECT_EQ(rig.service.passed, u"ab ");
    EXPECT_EQ(rig.engine.suggestions().count(), 2U);
    EXPECT_TRUE(rig.engine.suggestions().selectingSnippet());
    EXPECT_EQ(rig.engine.letters(), u"ab ");
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
}

TEST(Routing, AnOpenListIsSteeredByKeys) {
    const Jobs one{"erase 3, put \"one\", pass"};
    const Jobs two{"erase 3, put \"two\", pass"};
    struct Row {
        const char* name;
        std::vector<ScriptedKey> keys;
        Jobs jobs;
        bool swallowed;
        bool visible;
        const char16_t* letters;
    };
    const ScriptedKey down{std::nullopt, KeyCode::DownArrow};
    const ScriptedKey up{std::nullopt, KeyCode::UpArrow};
    const ScriptedKey enter{u"\r", KeyCode::Return};
    const Row rows[] = {
        {"return", {enter}, one, true, false, u"one"},
        {"down, return", {down, enter}, two, true, false, u"two"},
        {"down stops", {down, down, down, up, enter}, one, true, false, u"one"},
        {"up stops", {up, {u"\u0003", KeyCode::Enter}}, one, true, false, u"one"},
        {"shift and return", {{u"\r", KeyCode::Return, Shift}}, one, true, false, u"one"},
        {"2", {{u"2"}}, two, true, false, u"two"},
        {"3 equals the count", {{u"3"}}, {}, true, false, u"ab "},
        {"4 types", {{u"4"}}, {}, false, false, u"ab 4"},
        {"0 types", {{u"0"}}, {}, false, false, u"ab 0"},
        {"escape", {{u"\u001B", KeyCode::Escape}}, {}, true, false, u"ab "},
        {"typing on", {{u"x"}}, {}, false, false, u"ab x"},
        {"space", {{u" ", KeyCode::Space}}, {}, false, false, u"ab  "},
        {"left", {{std::nullopt, KeyCode::LeftArrow}}, {}, false, false, u""},
        {"delete", {{u"\b", KeyCode::Delete}}, {}, false, true, u"ab"},
        {"dead key", {{std::nullopt}}, {}, false, true, u"ab "},
    };
    for (const Row& row : rows) {
        AmbiguousRig rig;
        rig.openList();
        bool swallowed = false;
        for (const ScriptedKey& key : row.keys) {
            swallowed = rig.service.press(key);
            rig.time.runPending();
        }
        EXPECT_EQ(rig.service.takeJobs(), row.jobs) << row.name;
        EXPECT_EQ(swallowed, row.swallowed) << row.name;
        EXPECT_EQ(rig.engine.snippetSuggestionWindowVisible(), row.visible) << row.name;
        EXPECT_EQ(rig.engine.letters(), row.letters) << row.name;
        EXPECT_EQ(rig.engine.suggestions().empty(), !row.visible) << row.name;
    }
}

TEST(Routing, OnlyOneOfTwoChoicesIsSent) {
    AmbiguousRig rig;
    rig.openList();
    EXPECT_TRUE(rig.service.press({u"\r", KeyCode::Return})); // its work waits on the main loop
    EXPECT_TRUE(rig.service.press({u"2"}));
    rig.time.runPending();
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 3, put \"two\", pass"});
}

TEST(Routing, TheSelectorModifierSaysWhichDigitsChoose) {
    struct Row {
        std::uint64_t modifier;
        const char16_t* types;
        std::int32_t held;
        bool chooses;
    };
    const Row rows[] = {
        {0, u"2", 0, true}, {0, u"2", Shift, false}, {1, u"\"", Shift, true}, {1, u"2", 0, false},
        {3, u"²", 4, true}, {3, u"2", 0, false},     {7, u"2", 0, false},
    };
    for (const Row& row : rows) {
        AmbiguousRig rig;
        rig.service.plainKeys[19] = u"2";
        rig.engine.setSnippetSelectorKeyModifier(row.modifier);
        rig.openList();
        EXPECT_EQ(rig.service.press({row.types, 19, row.held}), row.chooses)
            << row.modifier << " " << row.held;
    }
    for (const std::uint64_t modifier : {0U, 2U, 4U}) {
        AmbiguousRig rig;
        rig.engine.setSnippetSelectorKeyModifier(modifier);
        rig.openList();
        EXPECT_EQ(rig.service.pressChord(KeyModifier::Command, 19, u'2'), modifier == 4);
        EXPECT_EQ(rig.engine.letters(), modifier == 4 ? u"two" : u"");
    }
}

/// A window of the list, or the panel, that stands in a known place.
struct FixedQuickSearch : SnippetQuickSearchController {
    bool isVisible() const override { return visible; }
    Rect windowFrame() const override { return {10, 10, 100, 50}; }
    std::shared_ptr<Snippet> snippetAtIndex(std::size_t index) const override {
        return index == 1 ? snippet : nullptr;
    }
    void close() override { visible = false; }
    void setSnippetSelectorKeyModifier(std::uint64_t /*modifier*/) override {}
    void setSnippetGroups(const SnippetGroupList& /*groups*/,
                          std::function<void()> snippetSelectedAction) override {
        action = std::move(snippetSelectedAction);
        calls += "groups ";
    }
    std::shared_ptr<Snippet> selectedSnippet() const override { return snippet; }
    void showWindowAtCaret() override {
        visible = true;
        calls += "caret ";
    }
    void showWindowAtTopRightCorner() override { calls += "corner "; }
    void notifyFontSizeDeltaChanged() override { calls += "font "; }

    std::function<void()> action;
    std::string calls;
    bool visible = true;
    std::shared_ptr<Snippet> snippet;
};

TEST(Routing, TypingBelongsToAnOpenQuickSearchPanel) {
    EngineRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::Immediately, ExpandAfter::Anything);
    FixedQuickSearch panel;
    panel.snippet = rig.addSnippet(group, u"x", u"found");
    rig.engine.setSnippetQuickSearchController(panel);
    rig.service.sameProcess = true;

    EXPECT_FALSE(rig.service.press({u"x"}));
    EXPECT_FALSE(rig.service.press({u"x", 7, Shift}));
    EXPECT_FALSE(rig.service.press({u"7"})); // no such row: goes into the panel's field
    EXPECT_EQ(rig.engine.letters(), u"");
    EXPECT_TRUE(panel.visible);
    EXPECT_TRUE(rig.service.press({u"2"}));
    EXPECT_FALSE(panel.visible);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 0, put \"found\", swallow"});

    panel.visible = true;
    rig.service.clickAt(20, 20);
    EXPECT_EQ(rig.engine.letters(), u"found");
    rig.service.clickAt(110, 20);
    EXPECT_EQ(rig.engine.letters(), u"");
}

TEST(Routing, TheQuickSearchPanelOpensOnce) {
    EngineRig rig;
    FixedQuickSearch panel;
    panel.visible = false;
    rig.engine.quickSearch(); // no panel, nothing
    rig.engine.setSnippetQuickSearchController(panel);
    rig.engine.quickSearch();
    rig.engine.quickSearch();
    rig.engine.quickSearchAtTopRightCorner();
    rig.engine.notifyFontSizeDeltaChanged();
    EXPECT_EQ(panel.calls, "groups caret corner font ");

    panel.visible = false;
    rig.service.type(u"ab");
    panel.action(); // nothing selected
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
    panel.snippet = rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"x", u"found");
    panel.action();
    rig.time.runPending();
    EXPECT_EQ(rig.service.jobs.back()->trigger, SnippetTrigger::Direct);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 0, put \"found\", pass"});

    rig.applications.identifiers[1] = u"com.citrix.XenAppViewer";
    rig.service.switchTo(1);
    panel.action();
    rig.time.advance(0.4);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
    rig.time.advance(0.2);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 0, put \"found\", pass"});
}

} // namespace
} // namespace dresk
