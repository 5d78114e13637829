#include <gtest/gtest.h>

#include "language/ParserFixture.h"

namespace dresk {
namespace {

String number(int value) {
    return fromUTF8(std::to_string(value));
}

String repeated(int count, StringView text) {
    String result;
    for (int i = 0; i < count; ++i)
        result.append(text);
    return result;
}

struct LimitsWorld : ParserFixture {
    std::shared_ptr<Snippet> addNumbered(int i, StringView content,
                                         std::int64_t type = SnippetContentType::PlainText) {
        return add(number(i).c_str(), content, type);
    }
    String text(const Snippet& snippet) {
        const auto expanded = parser.parseSnippet(snippet, groups);
        return expanded != nullptr ? expanded->string() : u"null";
    }
};

TEST(SnippetParserLimits, LongContentsKeepTheirOrder) {
    LimitsWorld world;
    world.add(u"n", u"<【date:yyyy】>");
    String content;
    String expected;
    for (int i = 0; i < 1000; ++i) {
        content += number(i) + u"【snippet:n】【field:f】";
        expected += number(i) + u"<2026>";
    }
    const auto snippet = world.add(u"x", content);
    for (const auto type : {SnippetContentType::PlainText, SnippetContentType::RichText}) {
        snippet->setContentType(type);
        const auto expanded = world.parser.parseSnippet(*snippet, world.groups);
        EXPECT_EQ(expanded->string(), expected);
        EXPECT_EQ(expanded->fields().size(), 1000U);
        EXPECT_EQ(expanded->fields().back()->location(), expected.size());
    }
}

TEST(SnippetParserLimits, NestingEndsHoweverDeepAndHoweverOften) {
    LimitsWorld world;
    // Thirty deep, then thirty deep and twice on each level: more than can be, so most go away.
    for (int i = 1; i <= 60; ++i)
        world.addNumbered(i, i == 30 || i == 60 ? u"end"
                             : i < 30           ? u"a【snippet:" + number(i + 1) + u"】"
                                      : repeated(2, u"b【snippet:" + number(i + 1) + u"】"));
    EXPECT_EQ(world.text(*world.add(u"x", u"【snippet:1】")), String(29, u'a') + u"end");
    const String often = world.text(*world.add(u"x", u"【snippet:31】!"));
    EXPECT_GT(often.size(), 1000U);
    EXPECT_LT(often.size(), 100000U);
    EXPECT_EQ(often.back(), u'!');
    // Deeper than any stack would allow.
    for (int i = 100; i < 15100; ++i)
        world.addNumbered(i, u"【snippet:" + number(i + 1) + u"】");
    world.addNumbered(15100, u"bottom");
    EXPECT_EQ(world.text(*world.add(u"x", u"【snippet:14000】")), u"bottom");
    // Large contents count, too.
    world.add(u"big", String(1000000, u'x'));
    EXPECT_LE(world.text(*world.add(u"x", repeated(1000, u"【snippet:big】"))).size(),
              33U * 1024 * 1024);
}

TEST(SnippetParserLimits, LoopsEnd) {
    LimitsWorld world;
    EXPECT_EQ(world.text(*world.add(u"self", repeated(1000, u"s【snippet:self】"))),
              String(1000, u's'));
    // Scripts have scans of their own, which the guard of one another's does not see.
    const auto first = world.add(u"s1", u"1【snippet:s2】", SnippetContentType::ShellScript);
    world.add(u"s2", u"2【snippet:s1】", SnippetContentType::ShellScript);
    EXPECT_EQ(world.text(*world.add(u"x", u"【snippet:s1】")), u"12");
    EXPECT_EQ(world.text(*first), u"12");
    // Thirty scripts in each other, and more than can be.
    for (int i = 1; i < 1000; ++i)
        world.addNumbered(i, u"s【snippet:" + number(i + 1) + u"】",
                          SnippetContentType::ShellScript);
    world.addNumbered(1000, u"end", SnippetContentType::ShellScript);
    EXPECT_EQ(world.text(*world.add(u"x", u"【snippet:971】")), String(29, u's') + u"end");
    const auto expanded =
        world.parser.parseSnippet(*world.add(u"x", u"a【snippet:1】b"), world.groups);
    EXPECT_LT(expanded->length(), 1000U);
    EXPECT_GT(expanded->length(), 10U);
    world.parser.processScripts(*expanded);
    EXPECT_EQ(expanded->string(), u"ab");
    EXPECT_EQ(expanded->scripts().size(), 1U);
}

TEST(SnippetParserLimits, BracketsWithoutEndTakeLinearTime) {
    LimitsWorld world;
    const std::pair<String, String> cases[] = {
        {String(200000, TokenOpening), String(200000, TokenOpening)},
        {repeated(50000, u"【field:"), repeated(50000, u"【field:")},
        {repeated(50000, u"【snippet:"), repeated(50000, u"【snippet:")},
        {String(200000, TokenClosing), String(200000, TokenClosing)},
        {u"【date:\"" + String(200000, u'"') + u"】x", u"x"},
        {u"【field:" + String(200000, u' ') + u"】x", u"x"},
        {u"【field" + repeated(50000, u" a:b") + u"】x", u"x"},
        {repeated(20000, u"【") + u"【foo】x", repeated(20000, u"【") + u"【foo】x"},
    };
    for (const auto& [content, expected] : cases) {
        const auto snippet = world.add(u"x", content);
        EXPECT_EQ(world.text(*snippet), expected) << content.size();
        EXPECT_EQ(
            SnippetVariableUtils::convertFromSnippetEditContent(
                SnippetVariableUtils::convertToSnippetEditContent(*snippet->richTextContent())),
            *snippet->richTextContent());
    }
}

} // namespace
} // namespace dresk
