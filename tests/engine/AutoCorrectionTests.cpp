#include <gtest/gtest.h>

#include "engine/AutoTextUtils.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

TEST(AutoCorrection, DecidesByTheKeyBehind) {
    struct Row {
        const char* name;
        const char16_t* text;
        std::optional<String> replacement;
    };
    const Row rows[] = {
        {"sentence", u"Done. xy", u"X"},
        {"several spaces", u"Done?   xy", u"X"},
        {"no space", u"Done.xy", std::nullopt},
        {"no sentence", u"Done xy", std::nullopt},
        {"line", u"Done\nxy", u"X"},
        {"line and spaces", u"Done\r  xy", u"X"},
        {"keypad Enter", u"a\u0003xy", u"X"},
        {"start of the text", u"xy", u"X"},
        {"spaces at the start", u"  xy", std::nullopt},
        {"lone letter and space", u"Hello. i ", u"I"},
        {"digit behind", u"Done. x1", std::nullopt},
        {"capital behind", u"Done. xY", std::nullopt},
        {"one unit", u"x", std::nullopt},
        {"excluded", u"e.g. xy", std::nullopt},
        {"excluded in capitals", u"see E.G. xy", std::nullopt},
        {"another end", u"e.h. xy", u"X"},
        {"accented", u"Fin! éa", u"É"},
        {"two capitals", u"THe", u"h"},
        {"two capitals in a line", u"a\nTHe", u"h"},
        {"two capitals behind a sentence", u"Done. THe", u"h"},
        {"three capitals", u"THE", std::nullopt},
        {"inside a word", u"ATHe", std::nullopt},
        {"behind a parenthesis", u"(THe", std::nullopt},
        {"two capitals and a space", u"TH ", std::nullopt},
        {"meant so", u"a IDs", std::nullopt},
        {"meant so in another case", u"a IDt", u"d"},
    };
    AutoCorrection correction;
    correction.update([](AutoCorrection::Settings& settings) {
        settings.capitalizeNewSentences = true;
        settings.correctDoubleCapitals = true;
        settings.capitalizationExcludedAbbreviations = {u"", u"etc.", u"e.g."};
        settings.doubleCapitalsCorrectionExclusion = {{u"IDs"}};
    });
    for (const Row& row : rows)
        EXPECT_EQ(correction.capitalize(row.text), row.replacement) << row.name;
    correction.update([](auto& settings) { settings.capitalizeNewSentences = false; });
    EXPECT_EQ(correction.capitalize(u"Done. xy"), std::nullopt);
    EXPECT_EQ(correction.capitalize(u"THe"), u"h");
    correction.update([](auto& settings) { settings.correctDoubleCapitals = false; });
    EXPECT_FALSE(correction.isActive());
}

struct CorrectionRig : EngineRig {
    CorrectionRig() {
        engine.setCapitalizeNewSentences(true);
        engine.setCorrectDoubleCapitals(true);
    }
};

TEST(AutoCorrection, ReplacesOneLetterAsTheUserTypesOn) {
    CorrectionRig rig;
    rig.service.type(u"Hello. wor");
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 1, put \"W\", pass"});
    EXPECT_EQ(rig.service.passed, u"Hello. wor");
    EXPECT_EQ(rig.engine.letters(), u"Hello. Wor");
    EXPECT_EQ(rig.engine.lastUsedSnippet()->abbreviation(), u"w");

    rig.service.type(u" TH");
    rig.service.type(u"e");
    rig.service.tapLoop.perform([&] { EXPECT_TRUE(rig.engine.undo(true)); });
    EXPECT_EQ(rig.service.takeJobs(),
              (Jobs{"erase 1, put \"h\", pass", "erase 2, put \"He\", pass"}));
}

TEST(AutoCorrection, ARejectedJobChangesNothing) {
    CorrectionRig rig;
    rig.service.rejectJobs = true;
    rig.service.type(u"Hello. wo");
    EXPECT_EQ(rig.engine.letters(), u"Hello. wo");
}

TEST(AutoCorrection, TheApplicationTellsWhatStandsBefore) {
    struct Row {
        const char* name;
        std::optional<String> before;
        const char16_t* typed;
        Jobs jobs;
        const char16_t* letters;
    };
    const Row rows[] = {
        {"start of a document", u"h", u"e", {"erase 1, put \"H\", pass"}, u"e"},
        {"with a letter in the buffer", u"h", u"he", {"erase 1, put \"H\", pass"}, u"He"},
        {"nothing before", u"", u"he", {}, u"he"},
        {"does not tell", std::nullopt, u"he", {}, u"he"},
        {"a word goes on", u"oth", u"e", {}, u"e"},
    };
    for (const Row& row : rows) {
        CorrectionRig rig;
        const String typed = row.typed;
        rig.service.type(typed.substr(0, typed.size() - 1));
        rig.service.takeJobs();
        rig.service.textBeforeCaret = row.before;
        rig.service.type(typed.substr(typed.size() - 1));
        EXPECT_EQ(rig.service.takeJobs(), row.jobs) << row.name;
        EXPECT_EQ(rig.engine.letters(), row.letters) << row.name;
    }
}

TEST(AutoCorrection, IsMadeWhereItIsWanted) {
    struct Row {
        const char* name;
        std::int64_t mode;
        DRFunctionAvailability::List applications;
        std::int64_t inputOption;
        DRFunctionAvailability::List inputs;
        bool isDisabledThere;
        bool corrects;
    };
    const DRFunctionAvailability::List editor{{u"org.editor"}};
    const DRFunctionAvailability::List us{{u"us"}};
    const Row rows[] = {
        {"everywhere", 0, editor, 0, us, false, true},
        {"the application's own rule", 0, {}, 0, {}, true, false},
        {"all but", 1, editor, 0, {}, false, false},
        {"all but others", 1, {}, 0, {}, false, true},
        {"only", 2, editor, 0, {}, false, true},
        {"only others", 2, {}, 0, {}, false, false},
        {"nowhere is a list as well", 3, editor, 0, {}, false, true},
        {"all inputs but", 0, {}, 1, us, false, false},
        {"all inputs but others", 0, {}, 1, {}, false, true},
        {"only inputs", 0, {}, 2, us, false, true},
        {"only other inputs", 0, {}, 2, {}, false, false},
    };
    for (const Row& row : rows) {
        CorrectionRig rig;
        rig.applications.identifiers[1] = u"org.editor";
        rig.service.inputSource = u"us";
        rig.engine.refreshInputSourceIdentifier();
        rig.service.contextInputSetting()->disableCapitalization = row.isDisabledThere;
        DRFunctionAvailability availability;
        availability.setAvailability(row.mode);
        availability.setApplications(row.applications);
        availability.setInputMethodsOption(row.inputOption);
        availability.setInputMethods(row.inputs);
        rig.engine.setAutoCorrectAvailability(availability);
        rig.service.type(u"A. bc");
        EXPECT_EQ(rig.service.takeJobs().size(), row.corrects ? 1U : 0U) << row.name;
    }
}

} // namespace
} // namespace dresk
