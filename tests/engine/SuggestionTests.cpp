#include <gtest/gtest.h>

#include "Foundation/KeyCode.h"
#include "engine/SnippetSearch.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

struct SuggestionRig : EngineRig {
    /// "abbreviation<typed", row by row.
    std::string rows() {
        std::string result;
        for (const auto& row : engine.suggestions().rows())
            result += (result.empty() ? "" : " ") + toUTF8(*row.first()->abbreviation()) + "<" +
                      toUTF8(row.second());
        return result;
    }
    void suggest() {
        service.mainLoop.perform([&] { engine.suggestAbbreviations(); });
        time.runPending();
    }
    std::string rowsFor(StringView typed) {
        engine.clear();
        service.type(typed);
        suggest();
        const std::string result = rows();
        engine.hideSnippetSuggestion();
        return result;
    }
    void press(const ScriptedKey& key) {
        service.press(key);
        time.runPending();
    }
};

TEST(Suggestions, AreWhatTheLettersMayBegin) {
    SuggestionRig rig;
    SnippetGroup& anywhere = rig.addGroup(ExpandTrigger::AtHotKey, ExpandAfter::Anything);
    for (const char16_t* abbreviation : {u"bcx", u"abcd", u"BCA", u"zz", u"aXaXa"})
        rig.addSnippet(anywhere, abbreviation, u"x");
    rig.addSnippet(anywhere, u"caseless", u"x")->setCaseSensitivity(SnippetCaseSensitivity::Ignore);
    anywhere.addItem(Snippet::initWithAbbreviation(u"bcn", std::nullopt));
    anywhere.addItem(Snippet::initWithAbbreviation(std::nullopt, u"x"));
    EXPECT_EQ(rig.rowsFor(u"abc"), "abcd<abc bcx<bc caseless<c");
    EXPECT_EQ(rig.rowsFor(u"ABC"), "BCA<BC caseless<c"); // as stored
    EXPECT_EQ(rig.rowsFor(u"qaXa"), "aXaXa<aXa abcd<a"); // the longest
    EXPECT_EQ(rig.rowsFor(u""), "");
    EXPECT_EQ(rig.rowsFor(u"q"), "");
    EXPECT_EQ(rig.rowsFor(u"zz"), "zz<zz"); // typed in full

    SnippetGroup& words = rig.addGroup(ExpandTrigger::AtHotKey);
    rig.addSnippet(words, u"word", u"x");
    EXPECT_EQ(rig.rowsFor(u"wo"), "word<wo");
    EXPECT_EQ(rig.rowsFor(u"-wo"), "word<wo");
    EXPECT_EQ(rig.rowsFor(u"xwo"), "");
}

TEST(Suggestions, PrefixesComeFirst) {
    SuggestionRig rig;
    rig.addSnippet(rig.addGroup(ExpandTrigger::AtHotKey, ExpandAfter::Anything), u";;long", u"x");
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtHotKey, ExpandAfter::Anything);
    group.setAbbreviationPrefix(u";;");
    rig.addSnippet(group, u"sig", u"x");
    rig.addSnippet(group, u";x", u"x");
    rig.addSnippet(group, u"SIX", u"x")->setCaseSensitivity(SnippetCaseSensitivity::Ignore);
    EXPECT_EQ(rig.rowsFor(u"a;;si"), "sig<;;si SIX<;;si");
    // Overlapping occurrences count each.
    EXPECT_EQ(rig.rowsFor(u";;;"), "sig<;; ;x<;;; ;x<;; SIX<;; ;;long<;;");
    EXPECT_EQ(rig.rowsFor(u";;sig and more"), "");
    group.setExpandAfter(ExpandAfter::Delimiter);
    EXPECT_EQ(rig.rowsFor(u"a;;si"), "");
}

TEST(Suggestions, ComeFromGroupsThatAreToBeSuggestedHere) {
    SuggestionRig rig;
    rig.applications.identifiers[1] = u"org.editor";
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtHotKey);
    rig.addSnippet(group, u"abc", u"x");
    group.availability().setInputMethodsOption(2); // has no say
    EXPECT_EQ(rig.rowsFor(u"ab"), "abc<ab");
    group.availability().setAvailability(2);
    EXPECT_EQ(rig.rowsFor(u"ab"), "");
    group.availability().setApplications({{u"org.editor"}});
    EXPECT_EQ(rig.rowsFor(u"ab"), "abc<ab");
    group.availability().setAvailability(1);
    EXPECT_EQ(rig.rowsFor(u"ab"), "");
    group.availability().setAvailability(0);
    group.setSuggestAbbreviations(false);
    EXPECT_EQ(rig.rowsFor(u"ab"), "");
}

TEST(Suggestions, FollowTheTyping) {
    SuggestionRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtDelimiter);
    for (const char16_t* abbreviation : {u"abc", u"abd", u"axe"})
        rig.addSnippet(group, abbreviation, u"content");
    rig.service.type(u"a");
    rig.suggest();
    EXPECT_EQ(rig.rows(), "abc<a abd<a axe<a");
    rig.press({std::nullopt, KeyCode::DownArrow});
    rig.press({u"b"});
    EXPECT_EQ(rig.rows(), "abc<ab abd<ab");
    rig.press({u"\b", KeyCode::Delete});
    EXPECT_EQ(rig.rows(), "abc<a abd<a axe<a");
    rig.press({u"x"});
    rig.press({u"\r", KeyCode::Return});
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 2, put \"content\", pass"});
    EXPECT_EQ(rig.engine.letters(), u"content");

    rig.engine.clear();
    rig.service.type(u"a");
    rig.suggest();
    rig.press({u"q"});
    EXPECT_FALSE(rig.engine.snippetSuggestionWindowVisible());
}

// The digit reaches the tap thread before the main thread has looked again.
TEST(Suggestions, AClosedListStaysClosed) {
    SuggestionRig rig;
    rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"abc", u"content");
    rig.service.type(u"a");
    rig.suggest();
    rig.service.press({u"b"});
    rig.service.press({u"\u001B", KeyCode::Escape});
    rig.time.runPending();
    EXPECT_FALSE(rig.engine.snippetSuggestionWindowVisible());
    EXPECT_TRUE(rig.engine.suggestions().empty());
    // Rows found for a list that has changed meanwhile are dropped.
    SuggestionRows rows;
    const auto revision = rows.revision();
    rows.clear();
    EXPECT_FALSE(rows.refresh(rig.engine.suggestions().rows(), revision));
}

TEST(Suggestions, DeleteMakesThemOfAnAmbiguousList) {
    SuggestionRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtDelimiter);
    rig.addSnippet(group, u"ab", u"one");
    rig.addSnippet(group, u"ab", u"two");
    rig.service.type(u"ab ");
    rig.time.runPending();
    rig.press({u"\b", KeyCode::Delete});
    EXPECT_EQ(rig.rows(), "ab<ab ab<ab");
    EXPECT_TRUE(rig.engine.suggestions().selectingSnippet());
    rig.press({u"2"});
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 3, put \"two\", pass"});
}

/// What a search finds, group by group, and in each the abbreviations.
std::string search(const EngineRig& rig, StringView filter, bool isWildcard,
                   std::uint64_t searchBy = 7, bool respectsSuggestions = false) {
    SnippetGroupArray ordered;
    const auto found = SnippetSearch::filter(filter, rig.list.groups, isWildcard, searchBy, ordered,
                                             respectsSuggestions);
    if (!found.has_value())
        return "none";
    std::string result;
    for (const auto& group : ordered) {
        result += "|";
        for (const auto& snippet : found->at(group))
            result += " " + toUTF8(snippet->abbreviation().value_or(u"-"));
    }
    return result;
}

TEST(SnippetSearch, LooksAtAllTexts) {
    EngineRig rig;
    SnippetGroup& first = rig.addGroup(ExpandTrigger::AtHotKey);
    first.setSuggestAbbreviations(false);
    rig.addSnippet(first, u"abc", u"Strasse\nÄpfel");
    rig.addSnippet(first, u"xabc", u"a*c")->setLabel(u"STERN 😀");
    SnippetGroup& second = rig.addGroup(ExpandTrigger::AtHotKey);
    second.setAbbreviationPrefix(u";;");
    rig.addSnippet(second, u"sig", u"abc")->setAliases({{u"alias"}});
    second.addItem(Snippet::initWithAbbreviation(std::nullopt, u"abc"));
    struct Row {
        const char16_t* filter;
        bool isWildcard;
        std::uint64_t searchBy;
        const char* found;
    };
    const Row rows[] = {
        {u"", true, 7, "none"},
        {u"abc", false, 7, "| abc xabc| sig -"},
        {u"abc", false, SearchBy::Abbreviation, "| abc xabc"},
        {u"ABC", false, SearchBy::Content, "| sig -"},
        {u"äpf", false, 7, "| abc"},
        {u"stern", false, SearchBy::Label, "| xabc"},
        {u"stern", false, SearchBy::Content | SearchBy::Abbreviation, ""},
        {u"a*c", true, SearchBy::Abbreviation, "| abc"},
        {u"a*c", false, 7, "| xabc"},
        {u"*", true, 7, "| xabc"},
        {u"?*", true, 7, ""},
        {u"*pf?l", true, 7, "| abc"},
        {u"stern ?", true, 7, "| xabc"}, // one character, though two units
        {u"stern ??", true, 7, ""},
        {u"**b**a**", true, SearchBy::Abbreviation, ""},
        {u"*a*b*", true, SearchBy::Abbreviation, "| abc xabc"},
        {u";;alias", true, 7, "| sig"},
        {u";;al?as", true, 7, "| sig"},
        {u"alias", false, 0, ""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(search(rig, row.filter, row.isWildcard, row.searchBy), row.found)
            << toUTF8(row.filter);
    EXPECT_EQ(search(rig, u"abc", false, 7, true), "| sig -");
}

TEST(SnippetSearch, StarsDoNotExplode) {
    EngineRig rig;
    rig.addSnippet(rig.addGroup(ExpandTrigger::AtHotKey), u"a", String(20000, u'a'));
    String filter;
    for (int i = 0; i < 50; ++i)
        filter += u"a*";
    EXPECT_EQ(search(rig, filter + u"b", true), "");
    EXPECT_EQ(search(rig, filter, true), "| a");
}

} // namespace
} // namespace dresk
