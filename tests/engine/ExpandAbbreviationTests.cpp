// Start here: the engine is a conversation over SystemInputService. A test presses keys and reads
// the jobs that come back.
#include <gtest/gtest.h>

#include "support/EngineRig.h"

namespace dresk {
namespace {

TEST(AutoText, ReplacesAnAbbreviationByItsSnippet) {
    EngineRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtDelimiter);
    rig.addSnippet(group, u"sig", u"Best regards");

    rig.service.type(u"my sig ");

    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 3, put \"Best regards\", pass"});
    EXPECT_EQ(rig.service.passed, u"my sig ");
}

} // namespace
} // namespace dresk
