// What the rig itself does without any program under test: the floor below every other test here.

#include "desktop/DesktopTest.h"
#include "desktop/Prose.h"

namespace dresk {
namespace {

struct LayoutCase {
    const char* name;
    LayoutNames names;
    StringView language;
};

void PrintTo(const LayoutCase& layout, std::ostream* stream) {
    *stream << layout.name;
}

const LayoutCase Layouts[] = {
    {"us", {"us", "", ""}, u"en"},
    {"de", {"de", "", ""}, u"de"},
    {"fr", {"fr", "", ""}, u"fr"},
    {"ru_us", {"ru,us", "", "grp:menu_toggle"}, u"ru"},
    {"us_intl", {"us", "intl", ""}, u"intl"},
};

class RigTypesProse : public DesktopTest,
                      public testing::WithParamInterface<std::tuple<TextTarget::Kind, LayoutCase>> {
};

TEST_P(RigTypesProse, ArrivesExactly) {
    const auto& [kind, layout] = GetParam();
    ASSERT_TRUE(keys().setLayout(layout.names));
    TextTarget* target = startTarget(kind);
    ASSERT_NE(target, nullptr);

    const String prose = proseOf(layout.language, 40);
    type(prose);
    EXPECT_TRUE(holds(*target, prose));
}

INSTANTIATE_TEST_SUITE_P(, RigTypesProse,
                         testing::Combine(testing::ValuesIn(TextTarget::AllKinds),
                                          testing::ValuesIn(Layouts)),
                         [](const auto& info) {
                             return nameOf(std::get<0>(info.param)) + "_" +
                                    std::get<1>(info.param).name;
                         });

class RigTarget : public DesktopTest, public testing::WithParamInterface<TextTarget::Kind> {};

TEST_P(RigTarget, TellsEveryKeyAndForgetsThemOnClear) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    type(u"ab");
    ASSERT_TRUE(holds(*target, u"ab"));
    const auto events = target->keys();
    EXPECT_EQ(pressesOf(events, 38), 1U);
    EXPECT_EQ(pressesOf(events, 56), 1U);
    for (const TargetKey& event : events) {
        EXPECT_FALSE(event.sendEvent);
    }

    target->clear();
    EXPECT_TRUE(target->keys().empty());
    EXPECT_TRUE(holds(*target, u""));
}

TEST_P(RigTarget, EditsAsTheUserDoes) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    type(u"abd\bc\nx\tz");
    keys().tap(KeyInjector::Left);
    keys().tap(KeyInjector::Left);
    type(u"y");
    EXPECT_TRUE(holds(*target, u"abc\nxy\tz"));
}

TEST_P(RigTarget, GetsOverlappingKeysInOrder) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    const String prose = proseOf(u"en", 25);
    type(prose, {.interval = 0.015, .hold = 0.05});
    EXPECT_TRUE(holds(*target, prose));
}

TEST_P(RigTarget, ComesToTheFrontAgain) {
    TextTarget* first = startTarget(GetParam());
    TextTarget* second = startTarget(TextTarget::Kind::Gtk);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    type(u"two");
    ASSERT_TRUE(holds(*second, u"two"));
    ASSERT_TRUE(first->focus());
    type(u"one");
    EXPECT_TRUE(holds(*first, u"one"));
    EXPECT_TRUE(holds(*second, u"two"));
}

INSTANTIATE_TEST_SUITE_P(, RigTarget, testing::ValuesIn(TextTarget::AllKinds),
                         [](const auto& info) { return nameOf(info.param); });

} // namespace
} // namespace dresk
