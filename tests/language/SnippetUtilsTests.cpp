#include <gtest/gtest.h>

#include "language/ParserFixture.h"
#include "language/SnippetFormatter.h"
#include "language/SnippetUtils.h"

namespace dresk {
namespace {

TEST(SnippetUtils, ClassifiesTheCaseOfAnAbbreviation) {
    const std::tuple<StringView, std::uint64_t, std::int32_t> cases[] = {
        {u"a", 0, 3},   {u"A", 0, 1},   {u"abc", 0, 3},   {u"ABC", 0, 2}, {u"Abc", 0, 1},
        {u"aBc", 0, 0}, {u"abC", 0, 4}, {u"ABc", 0, 2},   {u"a-B", 0, 4}, {u"123", 0, 0},
        {u"", 0, 0},    {u"aBc", 1, 4}, {u"HeLlo", 0, 2}, {u"1a", 0, 3},  {u"Äö", 0, 1},
    };
    for (const auto& [text, flags, expected] : cases)
        EXPECT_EQ(SnippetUtils::caseOf(text, flags), expected) << toUTF8(text);
}

TEST(SnippetUtils, AdaptsTheContent) {
    struct Case {
        StringView content;
        StringView typed;
        const char* plain;
    };
    const Case cases[] = {
        {u"12 hello World", u"Abc", "12 Hello World"},
        {u"hello", u"abc", "hello"},
        {u"hello", u"aBc", "hello"},
        {u"straße", u"ABC", "STRASSE"},
        {u"ßa", u"Abc", "SSa"},
        {u"hello-world foo", u"abC", "Hello-World Foo"},
        {u"a1b ßx Ab", u"abC", "A1B SSx Ab"},
        {u"123", u"Abc", "123"},
        {u"", u"Abc", ""},
        {u"", u"ABC", ""},
    };
    for (const Case& c : cases) {
        SnippetExpandedContent content;
        content.setContent(String(c.content));
        SnippetUtils::correctSnippetContentCase(content, c.typed, 0);
        EXPECT_EQ(toUTF8(content.string()), c.plain) << toUTF8(c.content);
        content.setContent(AttributedString(c.content));
        SnippetUtils::correctSnippetContentCase(content, c.typed, 0);
        EXPECT_EQ(toUTF8(content.string()), c.plain) << toUTF8(c.content);
    }
}

TEST(SnippetUtils, AdaptsRichContent) {
    const std::pair<StringView, const char*> cases[] = {
        {u"Abc", R"(rich "SSa"A"ßb"B)"},
        // The runs keep their ranges, so what grew stands at the end without attributes.
        {u"ABC", R"(rich "SS"A"AS"B"SB"-)"},
        {u"abC", R"(rich "SSa"A"ßb"B)"},
    };
    for (const auto& [typed, expected] : cases) {
        SnippetExpandedContent content;
        content.setContent(*ParserFixture::readRichText(u"A:ßa;B:ßb;"));
        SnippetUtils::correctSnippetContentCase(content, typed, 0);
        EXPECT_EQ(toUTF8(describeSnippetExpandedContent(content)), expected) << toUTF8(typed);
    }
}

TEST(SnippetUtils, FindsSnippets) {
    ParserFixture world;
    world.groups.push_back(std::make_shared<SnippetGroup>(world.clock));
    world.groups[0]->setAbbreviationPrefix(u";");
    const auto prefixed = world.add(u"a", u"1");
    const auto bare = world.add(u"a", u"2", SnippetContentType::PlainText, 1);
    world.groups[1]->addItem(std::make_shared<Snippet>(world.clock));
    std::shared_ptr<SnippetGroup> group;
    EXPECT_EQ(SnippetUtils::findSnippetByAbbreviation(u"a", world.groups), prefixed);
    EXPECT_EQ(SnippetUtils::findSnippetByAbbreviation(u"a", world.groups, true, &group), bare);
    EXPECT_EQ(group, world.groups[1]);
    EXPECT_EQ(SnippetUtils::findSnippetByAbbreviation(u";a", world.groups, true), prefixed);
    EXPECT_EQ(SnippetUtils::findSnippetByAbbreviation(u"A", world.groups), nullptr);
    EXPECT_EQ(SnippetUtils::findSnippetByAbbreviation(u"", world.groups), nullptr);
    EXPECT_EQ(SnippetUtils::findSnippetByUUID(*bare->UUIDString(), world.groups), bare);
    EXPECT_EQ(SnippetUtils::findSnippetByUUID(u"a", world.groups), nullptr);
}

TEST(SnippetUtils, ChecksTheCharacterInFront) {
    const std::tuple<std::uint64_t, StringView, StringView> cases[] = {
        {0, u" -_\n", u"a9é"}, {1, u" \t\n\u00A0", u"a-"}, {2, u"a ", u""},
        {3, u"09٣", u"a "},    {4, u"", u"a 1-"},          {UINT64_MAX, u"", u"a "},
    };
    for (const auto& [mode, yes, no] : cases) {
        for (const char16_t unit : yes)
            EXPECT_TRUE(checkExpandAfterMode(mode, unit)) << mode << " " << int{unit};
        for (const char16_t unit : no)
            EXPECT_FALSE(checkExpandAfterMode(mode, unit)) << mode << " " << int{unit};
    }
}

TEST(SnippetVariableUtils, ConvertsToEditContentAndBack) {
    const std::tuple<const char16_t*, const char16_t*> cases[] = {
        {u"plain", u"plain"},
        {u"a【date:full】b", u"a\uFFFCb"},
        {u"【unknown】【|】【|】", u"【unknown】\uFFFC\uFFFC"},
        {u"【snippet:\":a b\"】【fieldx】【◀】", u"\uFFFC\uFFFC\uFFFC"},
        {u"【x【date:y】】", u"【x\uFFFC"},
        {u"【date:a】b】", u"\uFFFC"},
        {u"】【】【date:a", u"】【】【date:a"},
    };
    const auto bold = fontAttributes(u"B");
    for (const auto& [stored, expected] : cases) {
        const AttributedString content(stored, bold);
        const AttributedString edit = SnippetVariableUtils::convertToSnippetEditContent(content);
        EXPECT_EQ(edit.string(), expected) << toUTF8(stored);
        EXPECT_EQ(SnippetVariableUtils::convertFromSnippetEditContent(edit), content)
            << toUTF8(stored);
    }
    const auto edit = SnippetVariableUtils::convertToSnippetEditContent(
        *ParserFixture::readRichText(u"A:x【date；y】;"));
    EXPECT_EQ(edit.string(), u"x【date；y】");
}

TEST(SnippetVariableUtils, MakesCellsAndLeavesPictures) {
    const AttributedString variable = SnippetVariableUtils::attributedStringFromVariable(u"date:x");
    EXPECT_EQ(variable.attributesAtIndex(0)->toolTip, u"date:x");
    const auto cell = SnippetVariableUtils::textAttachmentCell(variable.attributesAtIndex(0));
    EXPECT_EQ(cell->look, ZPTextAttachmentCell::Look::Variable);
    EXPECT_EQ(cell->stringValue, u"date:x");

    auto picture = std::make_shared<TextAttributes>();
    picture->attachment = std::make_shared<TextAttachment>();
    AttributedString line = SnippetVariableUtils::attributedStringFromAlias(u"alias");
    EXPECT_EQ(SnippetVariableUtils::textAttachmentCell(line.attributesAtIndex(0))->look,
              ZPTextAttachmentCell::Look::Alias);
    line.appendAttributedString(AttributedString(u"\uFFFC", picture));
    const AttributedString plain =
        SnippetVariableUtils::attributedStringByRemovingTextAttachment(line, u"", u",");
    EXPECT_EQ(plain.string(), u"alias,\uFFFC");
    EXPECT_EQ(plain.attributesAtIndex(0), nullptr);
}

TEST(SnippetFormatter, ShowsSnippetsInLists) {
    ParserFixture world;
    const auto snippet = world.add(u"x", u"first\r\nSecond【|】");
    SnippetFormatter formatter;
    EXPECT_EQ(formatter.stringForObjectValue(*snippet), u"firstSecond【|】");
    EXPECT_EQ(formatter.stringForObjectValue(*world.groups[0]), u"");
    EXPECT_FALSE(formatter.attributedStringForObjectValue(*snippet, nullptr).has_value());
    snippet->setLabel(u"Label");
    EXPECT_EQ(formatter.stringForObjectValue(*snippet), u"Label");
    formatter.setFilter(u"sts");
    SnippetExpandedContent shown;
    shown.setContent(*formatter.attributedStringForObjectValue(*snippet, nullptr));
    EXPECT_EQ(toUTF8(describeSnippetExpandedContent(shown)), R"(rich "fir"-"stS"A"econd【|】"-)");
    formatter.setFilter(u"Label");
    EXPECT_FALSE(formatter.attributedStringForObjectValue(*snippet, nullptr).has_value());
    EXPECT_EQ(formatter.stringForObjectValue(Snippet(world.clock)), u"");
}

} // namespace
} // namespace dresk
