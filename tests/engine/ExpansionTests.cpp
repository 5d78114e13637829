#include <gtest/gtest.h>

#include "Foundation/KeyCode.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

TEST(Expansion, TheGroupSaysWhatIsErasedAndSwallowed) {
    struct Row {
        const char* name;
        std::int32_t expandTrigger;
        const char16_t* typed;
        Jobs jobs;
        const char16_t* passed;
        const char16_t* letters;
    };
    const Row rows[] = {
        {"at once",
         ExpandTrigger::Immediately,
         u"sig",
         {"erase 2, put \"Regards\", swallow"},
         u"si",
         u"Regards"},
        {"delimiter stays",
         ExpandTrigger::AtDelimiter,
         u"sig,",
         {"erase 3, put \"Regards\", pass"},
         u"sig,",
         u"Regards,"},
        {"delimiter goes",
         ExpandTrigger::AtSwallowedDelimiter,
         u"sig,",
         {"erase 3, put \"Regards\", swallow"},
         u"sig",
         u"Regards"},
    };
    for (const Row& row : rows) {
        EngineRig rig;
        const auto snippet = rig.addSnippet(rig.addGroup(row.expandTrigger), u"sig", u"Regards");
        rig.time.advance(60);
        rig.service.type(row.typed);
        ASSERT_EQ(rig.service.jobs.size(), 1U) << row.name;
        EXPECT_EQ(rig.service.jobs.front()->trigger, SnippetTrigger::Typed) << row.name;
        EXPECT_EQ(rig.service.takeJobs(), row.jobs) << row.name;
        EXPECT_EQ(rig.service.passed, row.passed) << row.name;
        EXPECT_EQ(rig.engine.letters(), row.letters) << row.name;
        EXPECT_EQ(rig.engine.lastUsedSnippet(), snippet) << row.name;
        EXPECT_EQ(snippet->lastTimeUsed(), rig.time.now()) << row.name;
        EXPECT_LT(*snippet->dateModified(), rig.time.now()) << row.name;
    }
}

TEST(Expansion, TheTextJustSentCanStartAnAbbreviation) {
    EngineRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::Immediately, ExpandAfter::Anything);
    rig.addSnippet(group, u"ab", u"cd");
    rig.addSnippet(group, u"de", u"!");
    rig.service.type(u"abe");
    EXPECT_EQ(rig.service.takeJobs(),
              (Jobs{"erase 1, put \"cd\", swallow", "erase 1, put \"!\", swallow"}));
}

TEST(Expansion, WhatChangesNothingIsNotSent) {
    EngineRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtDelimiter);
    const auto same = rig.addSnippet(group, u"same", u"same");
    const auto empty = Snippet::initWithAbbreviation(u"none", std::nullopt, rig.time);
    group.addItem(empty);
    const auto used = same->lastTimeUsed();
    rig.time.advance(5);
    rig.service.type(u"same ");
    EXPECT_EQ(rig.engine.letters(), u" ");
    rig.service.type(u"none ");
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
    EXPECT_EQ(rig.service.passed, u"same none ");
    EXPECT_EQ(same->lastTimeUsed(), used);
    EXPECT_EQ(rig.engine.lastUsedSnippet(), nullptr);
    EXPECT_FALSE(rig.engine.undoInfo().has_value());
}

TEST(Expansion, ALongTextTakesItsDelimiterAlong) {
    EngineRig rig;
    rig.service.longestDirectText = 3;
    rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"sig", u"long");
    rig.service.type(u"sig;");
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 3, put \"long;\", swallow"});
    EXPECT_EQ(rig.service.passed, u"sig");
    EXPECT_EQ(rig.engine.undoInfo()->backspaceCount, 5U);
}

TEST(Expansion, TheHotKeyExpandsGroupsThatWaitForIt) {
    EngineRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtHotKey);
    rig.addSnippet(group, u"sig", u"Regards");
    rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"sig", u"other");
    const auto hotKey = [&] {
        rig.service.tapLoop.perform([&] { rig.engine.expandAtHotkey(); });
        rig.time.runPending();
    };
    rig.service.type(u"a sig");
    hotKey();
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 3, put \"Regards\", swallow"});
    hotKey(); // "Regards" is no abbreviation
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});

    rig.addSnippet(group, u"sig", u"Cheers");
    rig.engine.clear();
    rig.service.type(u"sig");
    hotKey();
    EXPECT_EQ(rig.engine.letters(), u"sig");
    EXPECT_TRUE(rig.service.press({u"2"}));
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 3, put \"Cheers\", swallow"}); // no delimiter

    rig.service.type(u" sig");
    rig.service.sameProcess = true;
    hotKey();
    EXPECT_FALSE(rig.engine.snippetSuggestionWindowVisible());
}

TEST(Expansion, AMenuChoiceErasesNothing) {
    EngineRig rig;
    const auto snippet = rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"a", u"text");
    rig.service.type(u"xy");
    rig.service.mainLoop.perform([&] { rig.engine.sendSnippetDirectly(snippet); });
    rig.time.runPending();
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 0, put \"text\", pass"});
    EXPECT_EQ(rig.engine.letters(), u"text");
}

TEST(Expansion, AFinishedContentIsDeliveredByItself) {
    EngineRig rig;
    const auto snippet = rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"a", u"source");
    const auto content = std::make_shared<SnippetExpandedContent>();
    content->setContent(u"result");
    content->setVariables({std::make_shared<SnippetContentCaret>()});
    rig.service.type(u"xy");
    rig.service.mainLoop.perform(
        [&] { rig.engine.sendSnippet(snippet, content, SnippetTrigger::ScriptResult, nullptr); });
    rig.time.runPending();
    ASSERT_EQ(rig.service.jobs.size(), 1U);
    EXPECT_EQ(rig.service.jobs.front()->trigger, SnippetTrigger::ScriptResult);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 0, put \"result\", pass"});
    EXPECT_EQ(rig.engine.letters(), u"xy"); // a content with variables leaves them alone
    EXPECT_EQ(rig.engine.lastUsedSnippet(), snippet);
    EXPECT_FALSE(rig.engine.undoInfo().has_value());
}

TEST(Expansion, AnUnknownKindOfContentIsLeftAlone) {
    EngineRig rig;
    const auto snippet = rig.addSnippet(rig.addGroup(ExpandTrigger::Immediately), u"ab", u"text");
    snippet->setContentType(7);
    rig.service.type(u"ab");
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
    EXPECT_EQ(rig.service.passed, u"ab");
    EXPECT_FALSE(rig.engine.undoInfo().has_value());
    rig.time.advance(20);
    EXPECT_EQ(rig.engine.outputPoolSize(), 0U);
}

TEST(Expansion, AListRowOutlivesItsGroup) {
    EngineRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtDelimiter);
    rig.addSnippet(group, u"ab", u"one");
    rig.addSnippet(group, u"ab", u"two");
    rig.service.type(u"ab ");
    rig.time.runPending();
    rig.list.groups.clear();
    EXPECT_TRUE(rig.service.press({u"2"}));
    EXPECT_EQ(rig.service.takeJobs().size(), 1U);
    EXPECT_NE(rig.engine.lastUsedSnippet(), nullptr);
    rig.service.type(u"x"); // ends undo
    rig.time.advance(10);   // and the pool lets go of the job, the last owner of the snippet
    EXPECT_EQ(rig.engine.lastUsedSnippet(), nullptr);
}

TEST(Expansion, ThePoolDropsWhatHasFinished) {
    EngineRig rig;
    rig.service.finishJobs = false;
    rig.addSnippet(rig.addGroup(ExpandTrigger::Immediately, ExpandAfter::Anything), u"a", u"b");
    rig.service.type(u"aa");
    ASSERT_EQ(rig.engine.outputPoolSize(), 2U);
    rig.service.jobs.front()->finished = true;
    rig.time.advance(9.9);
    EXPECT_EQ(rig.engine.outputPoolSize(), 2U);
    rig.time.advance(0.2);
    EXPECT_EQ(rig.engine.outputPoolSize(), 1U);
    rig.service.jobs.back()->finished = true;
    rig.time.advance(10);
    EXPECT_EQ(rig.engine.outputPoolSize(), 0U);
}

struct CountingSound : FeedbackSound {
    void play() override { ++count; }
    int count = 0;
};

TEST(Expansion, PlaysTheSoundWhenWanted) {
    EngineRig rig;
    rig.addSnippet(rig.addGroup(ExpandTrigger::Immediately, ExpandAfter::Anything), u"a", u"b");
    rig.engine.setPlayFeedbackSound(true);
    rig.service.type(u"a"); // no sound set: no sound, no error
    const auto sound = std::make_shared<CountingSound>();
    rig.engine.setFeedbackSound(sound);
    rig.service.type(u"xa");
    rig.service.tapLoop.perform([&] { rig.engine.undo(true); });
    EXPECT_EQ(sound->count, 2);
    rig.engine.setPlayFeedbackSound(false);
    rig.service.type(u"a");
    EXPECT_EQ(sound->count, 2);
}

} // namespace
} // namespace dresk
