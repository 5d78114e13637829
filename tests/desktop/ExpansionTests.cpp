// Typing abbreviations as a user does, into real applications, with the engine in between.

#include <algorithm>
#include <fstream>

#include <unistd.h>

#include "desktop/DesktopTest.h"
#include "desktop/ExpansionScript.h"
#include "desktop/Prose.h"

namespace dresk {
namespace {

using Mode = Abbreviation::Mode;

class ExpansionBase : public DesktopTest {
  protected:
    void TearDown() override {
        DesktopTest::TearDown();
        unlink(tablePath_.c_str());
    }

    /// Starts the application to type into, and then the expander on these abbreviations, which is
    /// ready once it has the keys of the application in front.
    [[nodiscard]] bool begin(TextTarget::Kind kind,
                             const std::vector<Abbreviation>& abbreviations) {
        tablePath_ = testing::TempDir() + "dresk-abbreviations-" + std::to_string(getpid());
        std::ofstream(tablePath_) << tableOf(abbreviations);
        target_ = startTarget(kind);
        return target_ != nullptr && startProgram({DRESK_TEST_EXPANDER, tablePath_}) != nullptr;
    }

    TextTarget& target() { return *target_; }

  private:
    std::string tablePath_;
    TextTarget* target_ = nullptr;
};

class Expansion : public ExpansionBase, public testing::WithParamInterface<TextTarget::Kind> {
  protected:
    [[nodiscard]] bool begin(const std::vector<Abbreviation>& abbreviations) {
        return ExpansionBase::begin(GetParam(), abbreviations);
    }
};

/// Abbreviations from `from` on, each with an ordinary word before it.
ExpansionScript scriptOf(const std::vector<Abbreviation>& abbreviations, std::size_t from,
                         std::size_t count) {
    ExpansionScript script;
    for (std::size_t i = from; i < from + count; i++) {
        script.type(ordinaryWord(i));
        script.type(u" ");
        // Delimiters in turn; Return once among seven.
        constexpr StringView Delimiters[] = {u" ", u", ", u" ", u". ", u" ", u"; ", u"\n"};
        const bool swallow = abbreviations[i].mode == Mode::Swallow;
        script.abbreviate(abbreviations[i], swallow ? u" " : Delimiters[i % 7]);
        if (swallow) {
            script.type(u" ");
        }
    }
    return script;
}

TEST_P(Expansion, ThreeHundredAbbreviationsAtThreeSpeeds) {
    struct Stretch {
        double secondsPerKey;
        std::size_t count;
    };
    constexpr Stretch Stretches[] = {{0.015, 230}, {0.03, 45}, {0.06, 25}};
    const auto abbreviations = sampleAbbreviations(300);
    ASSERT_TRUE(begin(abbreviations));

    std::size_t from = 0;
    for (const Stretch& stretch : Stretches) {
        SCOPED_TRACE(stretch.secondsPerKey);
        const ExpansionScript script = scriptOf(abbreviations, from, stretch.count);
        type(script.keys, {.interval = stretch.secondsPerKey, .hold = stretch.secondsPerKey * 0.7});
        ASSERT_TRUE(holds(target(), script.expected, 10));
        target().clear();
        from += stretch.count;
    }
    const auto events = target().keys();
    EXPECT_TRUE(std::none_of(events.begin(), events.end(),
                             [](const TargetKey& key) { return key.sendEvent; }));
}

TEST_P(Expansion, TriggerNeverReachesTheApplication) {
    constexpr std::uint8_t KeyOfK = 45;
    ASSERT_TRUE(begin({{u"jjk", Mode::Immediate, u"at once"},
                       {u"zzs", Mode::Swallow, u"on Return"},
                       {u"zzd", Mode::Delimiter, u"before Return"}}));
    type(u"a jjk");
    ASSERT_TRUE(holds(target(), u"a at once"));
    EXPECT_EQ(pressesOf(target().keys(), KeyOfK), 0U);

    target().clear();
    type(u"a zzs\n");
    ASSERT_TRUE(holds(target(), u"a on Return"));
    EXPECT_EQ(pressesOf(target().keys(), KeyInjector::Return), 0U);

    target().clear();
    type(u"a zzd\n");
    ASSERT_TRUE(holds(target(), u"a before Return\n"));
    EXPECT_EQ(pressesOf(target().keys(), KeyInjector::Return), 1U);
}

TEST_P(Expansion, HeldKeysAndCapsLockDoNoHarm) {
    constexpr std::uint8_t KeyOfM = 58;
    ASSERT_TRUE(begin({{u"ZJS", Mode::Immediate, u"lower UPPER 1:2 möglich ж"},
                       {u"zjk", Mode::Immediate, u"memory of Mum 1!"}}));
    type(u"a ");
    keys().press(KeyInjector::LeftShift);
    type(u"zjs");
    // Shift is still down while the text leaves and while a letter follows.
    ASSERT_FALSE(HasFailure());
    EXPECT_TRUE(holds(target(), u"a lower UPPER 1:2 möglich ж"));
    type(u"t");
    keys().release(KeyInjector::LeftShift);
    type(u"t ");
    EXPECT_TRUE(holds(target(), u"a lower UPPER 1:2 möglich жTt "));

    target().clear();
    keys().press(KeyOfM);
    type(u" zjk");
    keys().release(KeyOfM);
    type(u" mm");
    EXPECT_TRUE(holds(target(), u"m memory of Mum 1! mm"));

    target().clear();
    ASSERT_TRUE(keys().toggleCapsLock());
    type(u"a zjs");
    EXPECT_TRUE(holds(target(), u"A lower UPPER 1:2 möglich ж"));
    type(u" b");
    ASSERT_TRUE(keys().toggleCapsLock());
    type(u"b");
    EXPECT_TRUE(holds(target(), u"A lower UPPER 1:2 möglich ж Bb"));
}

TEST_P(Expansion, OverlappingKeysStayInOrder) {
    const auto abbreviations = sampleAbbreviations(30);
    ASSERT_TRUE(begin(abbreviations));
    const ExpansionScript script = scriptOf(abbreviations, 0, abbreviations.size());
    type(script.keys, {.interval = 0.02, .hold = 0.07});
    EXPECT_TRUE(holds(target(), script.expected));
}

TEST_P(Expansion, TypingGoesOnBehindALongText) {
    // As much as leaves in one go: keys that are typed between two batches of a longer text come to
    // the application between them, which is accepted.
    constexpr std::size_t UnitsOfOneBatch = 360;
    String text;
    for (std::size_t i = 0; text.size() < UnitsOfOneBatch; i++) {
        text += ordinaryWord(i);
        text += u' ';
    }
    text.resize(UnitsOfOneBatch);
    const Abbreviation row{u"zjl", Mode::Immediate, text};
    ASSERT_TRUE(begin({row}));
    ExpansionScript script;
    script.type(u"so ");
    script.abbreviate(row);
    script.type(proseOf(u"en", 25));
    script.type(u" ");
    script.abbreviate(row);
    script.type(proseOf(u"en", 10));
    type(script.keys);
    EXPECT_TRUE(holds(target(), script.expected, 10));
}

INSTANTIATE_TEST_SUITE_P(, Expansion, testing::ValuesIn(TextTarget::AllKinds),
                         [](const auto& info) { return nameOf(info.param); });

struct LayoutCase {
    const char* name;
    LayoutNames names;
    StringView language;
    /// In letters of the layout, dead keys included.
    StringView abbreviation;
};

void PrintTo(const LayoutCase& layout, std::ostream* stream) {
    *stream << layout.name;
}

const LayoutCase Layouts[] = {
    {"us", {"us", "", ""}, u"en", u";qz"},
    {"de", {"de", "", ""}, u"de", u"zäq"},
    {"fr", {"fr", "", ""}, u"fr", u"zéê"},
    {"ru_us", {"ru,us", "", "grp:menu_toggle"}, u"ru", u"щщю"},
    {"us_intl", {"us", "intl", ""}, u"intl", u"zqé"},
};

class ExpansionOnLayouts
    : public ExpansionBase,
      public testing::WithParamInterface<std::tuple<TextTarget::Kind, LayoutCase>> {
  protected:
    static std::vector<Abbreviation> abbreviationsFor(const LayoutCase& layout) {
        std::vector<Abbreviation> abbreviations = sampleAbbreviations(10);
        abbreviations.push_back({String(layout.abbreviation), Mode::Immediate,
                                 u"own: " + String(layout.abbreviation) + u" ünд \U0001F600"});
        return abbreviations;
    }

    void typeAll(const LayoutCase& layout, const std::vector<Abbreviation>& abbreviations) {
        ExpansionScript script;
        script.type(proseOf(layout.language, 12));
        for (const Abbreviation& row : abbreviations) {
            script.type(u" ");
            script.abbreviate(row);
        }
        type(script.keys);
        EXPECT_TRUE(holds(target(), script.expected));
    }
};

TEST_P(ExpansionOnLayouts, EveryScriptInProseOfTheLayout) {
    const auto& [kind, layout] = GetParam();
    ASSERT_TRUE(keys().setLayout(layout.names));
    const auto abbreviations = abbreviationsFor(layout);
    ASSERT_TRUE(begin(kind, abbreviations));
    typeAll(layout, abbreviations);
}

INSTANTIATE_TEST_SUITE_P(, ExpansionOnLayouts,
                         testing::Combine(testing::ValuesIn(TextTarget::AllKinds),
                                          testing::ValuesIn(Layouts)),
                         [](const auto& info) {
                             return nameOf(std::get<0>(info.param)) + "_" +
                                    std::get<1>(info.param).name;
                         });

TEST_F(ExpansionBase, LayoutChangesWhileItRuns) {
    const Abbreviation row{u"zjk", Mode::Delimiter, u"größer Ж \U0001F600"};
    ASSERT_TRUE(begin(TextTarget::Kind::Gtk, {row}));
    for (const LayoutCase& layout : Layouts) {
        SCOPED_TRACE(layout.name);
        ASSERT_TRUE(keys().setLayout(layout.names));
        ExpansionScript script;
        script.type(u"so ");
        script.abbreviate(row);
        type(script.keys);
        EXPECT_TRUE(holds(target(), script.expected));
        target().clear();
    }
}

} // namespace
} // namespace dresk
