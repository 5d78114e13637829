#include <chrono>

#include <gtest/gtest.h>

#include "language/ParserFixture.h"

namespace dresk {
namespace {

// flags: 1 regular expression, 2 beginning of word, 4 whole word, 6 end of word, 8 match case, 16
// token's style.
TEST(ClipboardVariable, FindsAndReplaces) {
    struct Case {
        const char16_t* clipboard;
        const char16_t* params;
        const char* plain;
        const char* rich;
    };
    const Case cases[] = {
        {u"a cat", u"", "a cat", "a cat"},
        {u"Cat cat", u" find:cat", " ", " "},
        {u"Cat cat", u" find:cat replacement:dog", "dog dog", "dog dog"},
        {u"Cat cat", u" find:cat replacement:dog flags:8", "Cat dog", "Cat dog"},
        {u"cat concat cats", u" find:cat replacement:X flags:2", "X concat Xs", "X concat Xs"},
        {u"cat concat cats", u" find:cat replacement:X flags:4", "X concat cats", "X concat cats"},
        {u"cat concat cats", u" find:cat replacement:X flags:6", "X conX cats", "X conX cats"},
        {u"foofoo", u" find:foo replacement:- flags:2", "-foo", "-foo"},
        {u"a.b", u" find:. replacement:- flags:6", "a.b", "a.b"},
        {u"a+b", u" find:[a-z] replacement:x flags:1", "x+x", "x+x"},
        // References read the clipboard in plain text, the replacement itself in rich text.
        {u"key=value", u" find:(\\w+)=(\\w+) replacement:$2=$1 flags:1", "value=key", "1=$2="},
        {u"ab", u" find:(a)(b) replacement:<$0$12\\$3> flags:1", "<aba2$3>", "<<$<2$3>"},
        {u"ab", u" find:a(x)?b replacement:[$1$9$] flags:1", "[$]", "[$]"},
        {u"abc", u" find:x* replacement:- flags:1", "-a-b-c-", "-a-b-c-"},
        {u"the the cat", u" find:\"\\b(\\w+) \\1\\b\" replacement:$1 flags:1", "the cat", "$1 cat"},
        {u"abc", u" find:[ replacement:- flags:1", "abc", "abc"},
        // What leaves nothing behind at the very start comes back in rich text.
        {u"aab", u" find:a", "b", "aab"},
        {u"aaba", u" find:a", "b", "b"},
        {u"ÄÖ😀", u" find:ä replacement:x", "xÖ😀", "xÖ😀"},
        {u"𐐀b", u" find:𐐨 replacement:x", "xb", "xb"},
        {u"aXbXaXbXc", u" find:xbxc replacement:!", "aXbXa!", "aXbXa!"},
        {u"", u" find:a", "", ""},
        {u"x", u" find:", "x", "x"},
    };
    for (const Case& c : cases) {
        const auto variable = std::dynamic_pointer_cast<SnippetClipboardVariable>(
            SnippetVariableUtils::parseVariable(u"clipboard" + String(c.params)));
        const auto result = [&](const SnippetParser::Content& content) {
            SnippetExpandedContent expanded;
            expanded.setContent(SnippetParser::processClipboardVariable(*variable, content));
            return toUTF8(expanded.string());
        };
        EXPECT_EQ(result(String(c.clipboard)), c.plain) << toUTF8(c.params);
        EXPECT_EQ(result(AttributedString(c.clipboard)), c.rich) << toUTF8(c.params);
    }
}

TEST(ClipboardVariable, TakesTheFirstRichTypeInRichText) {
    ParserFixture world;
    const auto expand = [&](StringView body) {
        return world.expand(*world.addRich(u"x", u"A:a【" + String(body) + u"】z;"));
    };
    EXPECT_EQ(expand(u"clipboard"), R"(rich "az"A)");
    EXPECT_EQ(expand(u"clipboard optional"), R"(rich "az"A field@1{field optional:0 readonly})");
    world.pasteboard->setString(u"plain");
    EXPECT_EQ(expand(u"clipboard"), R"(rich "aplainz"A)");
    EXPECT_EQ(expand(u"clipboard optional:1"),
              R"(rich "az"A field@1{field value:plain optional:1 readonly})");
    world.pasteboard->setData(PasteboardType::HTML, "H:html;");
    EXPECT_EQ(expand(u"clipboard"), R"(rich "a"A"html"B"z"A)");
    world.pasteboard->setData(PasteboardType::RTF, "B:bo;S:ld【|】;");
    EXPECT_EQ(expand(u"clipboard"), R"(rich "a"A"bo"B"ld【|】"C"z"A)");
    EXPECT_EQ(expand(u"clipboard flags:16"), R"(rich "abold【|】z"A)");
    EXPECT_EQ(expand(u"clipboard find:ol replacement:OL"), R"(rich "a"A"bOL"B"d【|】"C"z"A)");
    EXPECT_EQ(
        expand(u"clipboard optional"),
        R"(rich "az"A field@1{field value:bold【|】 optional:0 readonly}rich "bo"A"ld【|】"B)");
    EXPECT_EQ(world.expand(u"a【clipboard】z"), R"("aplainz")");
    // Only the first type offered is tried; then the plain text is taken.
    world.pasteboard->setData(PasteboardType::RTFD, "broken");
    EXPECT_EQ(expand(u"clipboard"), R"(rich "aplainz"A)");
    world.pasteboard->clear();
    EXPECT_EQ(world.expand(u"a【clipboard】z"), R"("az")");
}

TEST(ClipboardVariable, TakesThePlainTextWhereTheRichOneIsTooLong) {
    constexpr std::size_t million = 1'048'576;
    const std::pair<StringView, std::size_t> limits[] = {{PasteboardType::HTML, 2 * million},
                                                         {PasteboardType::RTF, 4 * million},
                                                         {PasteboardType::RTFD, 4 * million}};
    for (const auto& [type, limit] : limits) {
        ParserFixture world;
        world.pasteboard->setString(u"plain");
        const auto snippet = world.addRich(u"x", u"A:a【clipboard】z;");
        std::string data = "B:" + std::string(limit - 3, 'b') + ";";
        world.pasteboard->setData(type, data);
        EXPECT_EQ(world.parser.parseSnippet(*snippet, {})->length(), limit - 3 + 2);
        data.insert(2, "b");
        world.pasteboard->setData(type, data);
        EXPECT_EQ(world.expand(*snippet), R"(rich "aplainz"A)");
    }
}

TEST(ClipboardVariable, StyleOfTheTokenLeavesPictures) {
    ParserFixture world;
    auto picture = std::make_shared<TextAttributes>();
    picture->font = TextFont{.name = u"P"};
    picture->attachment = std::make_shared<TextAttachment>();
    SnippetEnvironment environment = world.environment();
    environment.richTextReader = [&](StringView, const std::string&) {
        AttributedString text(u"t", fontAttributes(u"T"));
        text.appendAttributedString(AttributedString(u"\uFFFC", picture));
        return text;
    };
    world.pasteboard->setData(PasteboardType::RTF, "any");
    const auto expanded = SnippetParser(environment)
                              .parseSnippet(*world.addRich(u"x", u"A:【clipboard flags:16】;"), {});
    const auto& text = std::get<AttributedString>(expanded->content());
    EXPECT_EQ(text.attributesAtIndex(0)->font->name, u"A");
    EXPECT_EQ(text.attributesAtIndex(1)->font->name, u"A");
    EXPECT_EQ(text.attributesAtIndex(1)->attachment, picture->attachment);
}

TEST(ClipboardVariable, EndsHostileSearchesAndLeavesTheTextAlone) {
    ParserFixture world;
    const auto started = std::chrono::steady_clock::now();
    const String many(100000, u'a');
    const std::pair<String, const char16_t*> cases[] = {
        {String(40, u'a') + u"!", u"(a+)+$"},
        {String(40, u'a'), u"(a|aa)+b"},
        {many + u"!", u"(a*)*b"},
        {many, u"(a*)\\1b"},
        {String(4000, u'a'), u"(a*)\\1b"},
        {many, u"(?=(a+))\\1*b"},
        {many, u"a*a*a*a*b"},
    };
    for (const auto& [text, find] : cases) {
        SnippetClipboardVariable variable;
        variable.setFind(String(find));
        variable.setRegularExpressions(true);
        variable.setReplacement(u"changed");
        EXPECT_EQ(std::get<String>(SnippetParser::processClipboardVariable(variable, text)), text);
    }
    // A plain search takes linear time whatever it looks for.
    SnippetClipboardVariable variable;
    variable.setFind(String(200000, u'a') + u"b");
    const String text(1000000, u'A');
    EXPECT_EQ(std::get<String>(SnippetParser::processClipboardVariable(variable, text)), text);
    // A replacement that would fill the memory counts as taking too long.
    variable.setFind(u"a");
    variable.setReplacement(String(100000, u'x'));
    EXPECT_EQ(std::get<String>(SnippetParser::processClipboardVariable(variable, text)), text);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30));
}

TEST(ClipboardVariable, TakesALargeClipboardButNotForEver) {
    constexpr std::size_t million = 1'048'576;
    ParserFixture world;
    world.pasteboard->setString(String(25 * million, u'x'));
    const auto once = world.parser.parseSnippet(*world.add(u"x", u"a【clipboard】b"), world.groups);
    EXPECT_EQ(once->length(), 25 * million + 2);
    world.pasteboard->setString(String(million, u'x'));
    String tokens;
    for (int i = 0; i < 200; ++i)
        tokens += u"【clipboard】";
    const auto often = world.parser.parseSnippet(*world.add(u"x", tokens), world.groups);
    EXPECT_EQ(often->length(), 64 * million);
}

} // namespace
} // namespace dresk
