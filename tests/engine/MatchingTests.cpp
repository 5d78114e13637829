#include <random>

#include <gtest/gtest.h>

#include "engine/LinearMatcher.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

std::string describe(const SnippetMatches& matches) {
    std::string text;
    for (const auto& match : matches)
        text += toUTF8(match.first()->plainTextContent().value_or(String())) + "=" +
                toUTF8(match.second()) + " ";
    return text;
}

// What the last unit of `typed` completes, as "content=replaced text" for each match.
std::string matchesOf(EngineRig& rig, StringView typed) {
    return describe(
        rig.engine.findSnippetsInLetters(typed, typed.back(), typed.substr(0, typed.size() - 1)));
}

struct GroupRow {
    const char* name;
    std::int32_t expandTrigger;
    std::int32_t expandAfter;
    const char16_t* prefix;
    std::int64_t caseSensitivity;
    const char16_t* typed;
    const char* expected;
};

// Each row is a group with the snippet "km" (alias "kilo") and what it finds.
TEST(Matching, FollowsTheRulesOfTheGroup) {
    const GroupRow rows[] = {
        {"at once", 0, 0, nullptr, 0, u"a km", "1=km "},
        {"at once, key belongs to it", 0, 0, nullptr, 0, u"km ", ""},
        {"delimiter", 1, 0, nullptr, 0, u"km ", "1=km "},
        {"no delimiter", 1, 0, nullptr, 0, u"kmx", ""},
        {"swallowed delimiter", 2, 0, nullptr, 0, u"km,", "1=km "},
        {"hot key only", 4, 0, nullptr, 0, u"km ", ""},
        {"unknown trigger", 3, 0, nullptr, 0, u"km ", ""},
        {"alias", 1, 0, nullptr, 0, u"kilo ", "1=kilo "},
        {"case", 1, 0, nullptr, 0, u"Km ", ""},
        {"case ignored", 1, 0, nullptr, 1, u"Km ", "1=Km "},
        {"case ignored and adapted", 1, 0, nullptr, 2, u"KILO ", "1=KILO "},
        {"after a letter", 1, 0, nullptr, 0, u"akm ", ""},
        {"after a line feed", 1, 0, nullptr, 0, u"\nkm ", "1=km "},
        {"after an object", 1, 3, nullptr, 0, u"\uFFFCkm ", "1=km "},
        {"delimiter is no white space", 1, 1, nullptr, 0, u".km ", ""},
        {"white space", 1, 1, nullptr, 0, u"\tkm ", "1=km "},
        {"anything", 1, 2, nullptr, 0, u"akm ", "1=km "},
        {"digits", 1, 3, nullptr, 0, u"12km ", "1=km "},
        {"digits behind a delimiter", 1, 3, nullptr, 0, u"x,12km ", "1=km "},
        {"digits behind a letter", 1, 3, nullptr, 0, u"a12km ", ""},
        {"no digits", 1, 3, nullptr, 0, u"km ", ""},
        {"no digits behind a space", 1, 3, nullptr, 0, u" km ", ""},
        {"unknown rule at the start", 1, 9, nullptr, 0, u"km ", "1=km "},
        {"unknown rule", 1, 9, nullptr, 0, u" km ", ""},
        {"prefix", 1, 0, u";", 0, u"a ;km ", "1=;km "},
        {"prefix missing", 1, 0, u";", 0, u"km ", ""},
        {"prefix apart", 1, 0, u";", 0, u";xkm ", "1=;km "},
        {"prefix twice", 1, 2, u";", 0, u";;km ", "1=;km 1=;km "},
        {"prefix at the end", 1, 2, u"km", 0, u"km ", ""},
        {"rule stands before the prefix", 1, 0, u";x", 0, u"a;xkm ", ""},
        {"prefix in another case", 1, 0, u"Q", 0, u"qkm ", ""},
        {"prefix in another case, ignored", 1, 0, u"Q", 1, u"qkm ", "1=qkm "},
        {"empty prefix", 1, 0, u"", 0, u"km ", "1=km "},
    };
    for (const GroupRow& row : rows) {
        EngineRig rig;
        SnippetGroup& group = rig.addGroup(row.expandTrigger, row.expandAfter);
        if (row.prefix != nullptr)
            group.setAbbreviationPrefix(row.prefix);
        const auto snippet = rig.addSnippet(group, u"km", u"1");
        snippet->setCaseSensitivity(row.caseSensitivity);
        snippet->setAliases(std::vector<String>{u"kilo"});
        EXPECT_EQ(matchesOf(rig, row.typed), row.expected) << row.name;
    }
}

TEST(Matching, GivesAllMatchesInGroupAndItemOrder) {
    EngineRig rig;
    SnippetGroup& first = rig.addGroup(ExpandTrigger::Immediately, ExpandAfter::Anything);
    SnippetGroup& second = rig.addGroup(ExpandTrigger::Immediately);
    rig.addSnippet(second, u"ate", u"4");
    rig.addSnippet(first, u"te", u"1");
    rig.addSnippet(first, u"", u"2");
    rig.addSnippet(first, u"ate", u"3")->setAliases(std::vector<String>{u"te"});
    EXPECT_EQ(matchesOf(rig, u"ate"), "1=te 3=ate 4=ate ");
    EXPECT_EQ(matchesOf(rig, u"xte"), "1=te 3=te ");
}

TEST(Matching, AsksApplicationAndInputSource) {
    EngineRig rig;
    rig.applications.identifiers = {{1, u"mail"}, {2, u"editor"}};
    SnippetGroup& everywhereElse = rig.addGroup(ExpandTrigger::Immediately);
    SnippetGroup& onlyThere = rig.addGroup(ExpandTrigger::Immediately);
    SnippetGroup& nowhere = rig.addGroup(ExpandTrigger::Immediately);
    SnippetGroup& german = rig.addGroup(ExpandTrigger::Immediately);
    everywhereElse.availability().setAvailability(1);
    everywhereElse.availability().setApplications(std::vector<String>{u"mail"});
    onlyThere.availability().setAvailability(2);
    onlyThere.availability().setApplications(std::vector<String>{u"mail"});
    nowhere.availability().setAvailability(3);
    german.availability().setInputMethodsOption(2);
    german.availability().setInputMethods(std::vector<String>{u"de"});
    rig.addSnippet(everywhereElse, u"x", u"else");
    rig.addSnippet(onlyThere, u"x", u"only");
    rig.addSnippet(nowhere, u"x", u"nowhere");
    rig.addSnippet(german, u"x", u"german");

    EXPECT_EQ(matchesOf(rig, u"x"), "only=x german=x ");
    EXPECT_EQ(rig.applications.lookups, 1);
    rig.service.inputSource = u"us";
    EXPECT_EQ(matchesOf(rig, u"x"), "only=x german=x "); // the change has not been told
    rig.service.inputSourceChangedEvent().raise(nullptr);
    EXPECT_EQ(matchesOf(rig, u"x"), "only=x ");
    rig.service.switchTo(2);
    EXPECT_EQ(matchesOf(rig, u"x"), "else=x ");
    rig.service.switchTo(3); // unknown: in no list, and asked for again each time
    EXPECT_EQ(matchesOf(rig, u"x"), "else=x ");
}

// Random groups over a small alphabet, so that matches of every kind are frequent.
class RandomGroups {
  public:
    RandomGroups(EngineRig& rig, unsigned seed) : random_(seed) {
        for (unsigned n = 1 + pick(5); rig.list.groups.size() < n;)
            fill(rig, rig.addGroup(std::int32_t(pick(5)), std::int32_t(pick(5))));
    }

    String text(unsigned longest) {
        static const String units = u"aAbB1 ;\n.é\u03C3\u03A3\uFFFC";
        String result;
        for (unsigned n = pick(longest + 1); result.size() < n;)
            result += units[pick(static_cast<unsigned>(units.size()))];
        return result;
    }

  private:
    unsigned pick(unsigned count) { return static_cast<unsigned>(random_() % count); }

    void fill(EngineRig& rig, SnippetGroup& group) {
        if (pick(3) == 0)
            group.setAbbreviationPrefix(text(2));
        if (pick(4) == 0)
            group.setDelimiters(CharacterSet(text(3)));
        if (pick(4) == 0)
            group.setExpandAfterDelimiters(CharacterSet(text(3)));
        group.availability().setAvailability(pick(8) == 0 ? 1 + pick(3) : 0);
        group.availability().setApplications(std::vector<String>{u"mail"});
        group.availability().setInputMethodsOption(pick(8) == 0 ? 1 + pick(2) : 0);
        group.availability().setInputMethods(std::vector<String>{u"de"});
        for (unsigned n = pick(12); group.items().size() < n;) {
            const auto snippet =
                rig.addSnippet(group, text(4), fromUTF8(std::to_string(group.items().size())));
            snippet->setCaseSensitivity(pick(3));
            if (pick(2) == 0)
                snippet->setAliases(std::vector<String>{text(3), text(3)});
        }
    }

    std::mt19937 random_;
};

TEST(Matching, FindsExactlyWhatTheLinearRulesFind) {
    std::size_t found = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        EngineRig rig;
        rig.applications.identifiers = {{1, u"mail"}};
        rig.service.inputSource = seed % 2 == 0 ? std::optional<String>(u"de") : std::nullopt;
        rig.engine.refreshInputSourceIdentifier();
        LinearMatcher reference;
        reference.bundleIdentifier = u"mail";
        reference.inputSource = rig.service.inputSource;
        RandomGroups groups(rig, seed);
        for (int round = 0; round < 60; ++round) {
            const String letters = groups.text(9) + u"a";
            const StringView without = StringView(letters).substr(0, letters.size() - 1);
            const char16_t triggers[] = {u'a', u' ', u';', 0};
            for (const char16_t trigger : triggers) {
                const auto expected = reference.find(rig.list.groups, letters, trigger, without);
                ASSERT_EQ(describe(rig.engine.findSnippetsInLetters(letters, trigger, without)),
                          describe(expected))
                    << seed << " " << toUTF8(letters);
                found += expected.size();
            }
        }
    }
    EXPECT_GT(found, 5'000U);
}

} // namespace
} // namespace dresk
