#include "input/ServiceFixture.h"

namespace dresk {
namespace {

std::string describe(const OutputFragments& fragments) {
    std::string result;
    for (const OutputFragment& fragment : fragments) {
        result += result.empty() ? "" : " ";
        if (const auto* text = std::get_if<String>(&fragment))
            result += quotedText(*text);
        else if (const auto* rich = std::get_if<AttributedString>(&fragment))
            result += "rich" + quotedText(rich->string());
        else {
            const auto& key = *std::get<std::shared_ptr<SnippetKeyVariable>>(fragment);
            result += keyName(key.keyCode()) + "x" + std::to_string(key.count());
        }
    }
    return result;
}

std::shared_ptr<SnippetKeyVariable> key(std::uint64_t location, std::uint16_t code,
                                        std::uint64_t count) {
    auto result = std::make_shared<SnippetKeyVariable>();
    result->setLocation(location);
    result->setKeyCode(code);
    result->setCount(count);
    return result;
}

TEST(OutputFragments, PlainTextIsCutIntoBlocks) {
    struct Row {
        StringView text;
        std::uint64_t blockLength;
        const char* pieces;
    };
    const Row rows[] = {
        {u"", 0, ""},
        {u"short", 0, "\"short\""},
        {u"0123456789012345678901", 0, "\"01234567890123456789\" \"01\""},
        {u"a\nb", 0, "\"a\\nb\""},
        {u"\nab", 0, "\"\\n\" \"ab\""},
        {u"\t\tab", 0, "\"\\t\" \"\\t\" \"ab\""},
        {u"abcde\nf", 5, "\"abcde\" \"\\n\" \"f\""},
        {u"abcdef\n", 5, "\"abcde\" \"f\\n\""},
        {u"a\u2028\u2029b", 1, "\"a\" \"\u2028\" \"\u2029\" \"b\""},
    };
    for (const Row& row : rows) {
        ContextInputSetting setting;
        setting.blockLength = row.blockLength;
        EXPECT_EQ(describe(MacInputService::fragmentsForPlainText(row.text, setting)), row.pieces);
    }
    const auto cut = MacInputService::fragmentsForPlainText(u"0123456789012345678\U0001F600", {});
    EXPECT_EQ(std::get<String>(cut.at(1)).size(), 1U) << "a pair may be cut";
}

TEST(OutputFragments, JobFollowsItsContent) {
    DROutput output;
    output.snippetExpandedContent = std::make_shared<SnippetExpandedContent>();
    auto& content = *output.snippetExpandedContent;
    content.setContent(String(u"Dear Sir,\nsincerely yours"));
    auto caret = std::make_shared<SnippetContentCaret>();
    caret->setLocation(5);
    content.setVariables(
        {key(0, KeyCode::Tab, 1), caret, key(10, KeyCode::Return, 2), key(10, KeyCode::Tab, 1)});
    const auto refreshed = [&](bool useClipboard) {
        ContextInputSetting setting;
        setting.useClipboard = useClipboard;
        setting.blockLength = 8;
        MacInputService::refreshFragmentsForOuput(output, setting);
        return describe(output.fragments) + " / " + std::to_string(output.leftArrowCount) + " / " +
               std::to_string(MacInputService::eventCountForOutput(output));
    };
    output.backspaceCount = 3;
    EXPECT_EQ(refreshed(false),
              "Tabx1 \"Dear Sir\" \",\\n\" Returnx2 Tabx1 \"sincerel\" \"y yours\""
              " / 23 / 34");
    EXPECT_EQ(refreshed(true), "Tabx1 \"Dear Sir,\\n\" Returnx2 Tabx1 \"sincerely yours\""
                               " / 23 / 32");
    content.setContent(AttributedString(u"Dear Sir,\nsincerely yours"));
    EXPECT_EQ(refreshed(false),
              "Tabx1 rich\"Dear Sir,\\n\" Returnx2 Tabx1 rich\"sincerely yours\" / 23 / 30");
    output.snippetExpandedContent.reset();
    EXPECT_EQ(refreshed(false), " / 0 / 3");
}

} // namespace
} // namespace dresk
