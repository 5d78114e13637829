#include <gtest/gtest.h>

#include "Foundation/KeyCode.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

TEST(Undo, PutsTheAbbreviationBack) {
    struct Row {
        std::int32_t expandTrigger;
        bool withTrigger;
        const char* job;
        const char16_t* letters;
    };
    // "sig" becomes "Hi!!".
    const Row rows[] = {
        {ExpandTrigger::Immediately, false, "erase 4, put \"si\", pass", u"si"},
        {ExpandTrigger::Immediately, true, "erase 4, put \"sig\", pass", u"sig"},
        {ExpandTrigger::AtDelimiter, false, "erase 5, put \"sig\", pass", u"sig"},
        {ExpandTrigger::AtDelimiter, true, "erase 5, put \"sig \", pass", u"sig "},
        {ExpandTrigger::AtSwallowedDelimiter, false, "erase 4, put \"sig\", pass", u"sig"},
        {ExpandTrigger::AtSwallowedDelimiter, true, "erase 4, put \"sig \", pass", u"sig "},
    };
    for (const Row& row : rows) {
        EngineRig rig;
        rig.addSnippet(rig.addGroup(row.expandTrigger), u"sig", u"Hi!!");
        const auto undo = [&] {
            bool undone = false;
            rig.service.tapLoop.perform([&] { undone = rig.engine.undo(row.withTrigger); });
            return undone;
        };
        EXPECT_FALSE(undo());
        rig.service.type(row.expandTrigger == ExpandTrigger::Immediately ? u"sig" : u"sig ");
        rig.service.takeJobs();
        EXPECT_TRUE(undo());
        ASSERT_EQ(rig.service.jobs.size(), 1U);
        EXPECT_EQ(rig.service.jobs.front()->trigger, SnippetTrigger::HotKey);
        EXPECT_EQ(rig.service.takeJobs(), Jobs{row.job});
        EXPECT_EQ(rig.engine.letters(), row.letters);
        EXPECT_FALSE(undo()); // one level
    }
}

TEST(Undo, EndsWithTheNextKey) {
    EngineRig rig;
    rig.addSnippet(rig.addGroup(ExpandTrigger::Immediately), u"sig", u"Regards");
    rig.service.type(u"sig");
    rig.engine.setEnabled(false);
    rig.service.type(u"x");
    EXPECT_TRUE(rig.engine.undoInfo().has_value()); // a disabled engine sees no keys
    rig.engine.setEnabled(true);
    rig.service.press({std::nullopt, KeyCode::ForwardDelete});
    EXPECT_FALSE(rig.engine.undoInfo().has_value());
}

TEST(Undo, OfAMenuChoicePutsNothingBack) {
    EngineRig rig;
    const auto snippet = rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"a", u"text");
    rig.service.mainLoop.perform([&] { rig.engine.sendSnippetDirectly(snippet); });
    rig.time.runPending();
    rig.service.takeJobs();
    EXPECT_TRUE(rig.engine.undo(true));
    rig.time.runPending();
    // One more than was typed: the group lets a delimiter pass, though none came. That is meant.
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 5, put \"\", pass"});
}

TEST(Undo, OfARejectedJobDoesNothing) {
    EngineRig rig;
    const auto snippet = rig.addSnippet(rig.addGroup(ExpandTrigger::Immediately), u"a", u"text");
    rig.service.rejectJobs = true;
    EXPECT_FALSE(rig.service.press({u"a"}));
    EXPECT_FALSE(rig.engine.undoInfo().has_value());
    EXPECT_EQ(rig.engine.letters(), u"");

    rig.service.mainLoop.perform([&] { rig.engine.sendSnippetDirectly(snippet); });
    rig.time.runPending();
    rig.service.rejectJobs = false;
    rig.service.tapLoop.perform([&] { EXPECT_FALSE(rig.engine.undo(true)); });
    EXPECT_EQ(rig.service.jobs.size(), 2U);

    rig.engine.clear();
    rig.service.type(u"a");
    rig.service.rejectJobs = true;
    rig.service.tapLoop.perform([&] { EXPECT_FALSE(rig.engine.undo(true)); });
    EXPECT_EQ(rig.engine.letters(), u"text"); // still there
}

} // namespace
} // namespace dresk
