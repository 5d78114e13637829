#include <gtest/gtest.h>

#include "ui/SnippetCellContent.h"

namespace dresk {
namespace {

TEST(SnippetCellContent, UnderlinesTheFilterInPrefixAndAbbreviation) {
    struct Case {
        std::optional<String> prefix;
        StringView abbreviation;
        std::optional<String> filter;
        Range expected;
    };
    const Case cases[] = {
        {std::nullopt, u"Hello", u"he", {0, 2}},
        {u";;", u"Hello", u";hE", {1, 3}},
        {u";;", u"Hello", u"x", {}},
        {u";;", u"Hello", std::nullopt, {}},
        {std::nullopt, u"", u"h", {}},
    };
    for (const Case& row : cases) {
        const auto group = std::make_shared<SnippetGroup>();
        group->setAbbreviationPrefix(row.prefix);
        const auto snippet =
            Snippet::initWithAbbreviation(String(row.abbreviation), String(u"text"));
        group->addItem(snippet);
        const auto content = cellContentOfSnippet(*snippet, {}, row.filter);
        EXPECT_EQ(content.abbreviationMatch, row.expected);
        EXPECT_EQ(content.abbreviation, row.abbreviation);
        EXPECT_EQ(content.abbreviationPrefix,
                  row.abbreviation.empty() ? u"" : row.prefix.value_or(u""));
    }
}

TEST(SnippetCellContent, MarksTheHitInTheTitle) {
    SnippetFormatter formatter;
    formatter.setFilter(u"two");
    const auto snippet = Snippet::initWithAbbreviation(u"x", u"one\ntWo");
    snippet->setLabel(u"label");
    auto content = cellContentOfSnippet(*snippet, formatter, std::nullopt);
    EXPECT_EQ(content.title, u"onetWo");
    EXPECT_EQ(content.titleMatch, (Range{3, 3}));
    formatter.setFilter(u"three");
    content = cellContentOfSnippet(*snippet, formatter, std::nullopt);
    EXPECT_EQ(content.title, u"label");
    EXPECT_EQ(content.titleMatch, Range());
}

TEST(SnippetCellContent, CutsTextsThatNoRowCanShow) {
    SnippetFormatter formatter;
    formatter.setFilter(u"end");
    String text(999, u'a');
    text += u"😀";
    text += String(100'000, u'b') + u"end";
    const auto content =
        cellContentOfSnippet(*Snippet::initWithAbbreviation(u"x", text), formatter, std::nullopt);
    // The pair at the cut stays whole.
    EXPECT_EQ(content.title, String(999, u'a'));
    EXPECT_EQ(content.titleMatch, Range());
}

TEST(SnippetCellContent, OfAGroup) {
    SnippetGroup group;
    EXPECT_EQ(cellContentOfGroup(group, {}).title, u"");
    group.setName(u"Letters");
    group.availability().setAvailability(3);
    const auto content = cellContentOfGroup(group, {});
    EXPECT_EQ(content.title, u"Letters");
    EXPECT_TRUE(content.isGroup);
    EXPECT_TRUE(content.isDisabled);
}

} // namespace
} // namespace dresk
