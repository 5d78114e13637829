#include <gtest/gtest.h>

#include "Foundation/AttributedStringConversion.h"
#include "Foundation/RTF.h"
#include "Foundation/TextParagraphs.h"
#include "import/RTFExportUtils.h"

namespace dresk {
namespace {

/// One line for each row: "column: text" of its cells, "*" behind the column of one in italics.
std::string rows(const AttributedString& table) {
    const auto paragraphs = paragraphsOfText(table);
    std::string result;
    for (std::size_t i = 0; i < paragraphs.size() && paragraphs[i].attributes->textBlock;) {
        const auto cells = tableRowCells(paragraphs, i);
        for (const TextTableCell& cell : cells) {
            result += cell.first == i ? "" : " | ";
            result += std::to_string(cell.block->startingColumn);
            result += paragraphs[cell.first].attributes->font->italic ? "*:" : ":";
            for (std::size_t k = cell.first; k < cell.last; ++k)
                result += " " + toUTF8(StringView(table.string())
                                           .substr(paragraphs[k].range.location,
                                                   paragraphs[k].range.length));
        }
        result += "\n";
        i = cells.back().last;
    }
    return result;
}

struct Snippets {
    SnippetGroupArray groups{std::make_shared<SnippetGroup>(), std::make_shared<SnippetGroup>()};

    Snippets() {
        groups[0]->setName(u"Work");
        groups[0]->setAbbreviationPrefix(u";");
        add(u"sig", u"Kind\nregards", u"Signature", u"for mail");
        add(u"brb", u"be right back", std::nullopt, std::nullopt);
        add(std::nullopt, std::nullopt, u"", u"");
    }
    void add(std::optional<String> abbreviation, const std::optional<String>& content,
             std::optional<String> label, std::optional<String> note) {
        auto snippet = Snippet::initWithAbbreviation(std::move(abbreviation), content);
        snippet->setLabel(std::move(label));
        snippet->setNote(std::move(note));
        groups[0]->addItem(snippet);
    }
    std::string table(bool label, bool note, bool prefer) const {
        return rows(RTFExportUtils::tableAttributedStringForGroups(groups, label, note, prefer));
    }
};

TEST(RTFExportUtils, PutsLabelsContentsAndNotesIntoRows) {
    const Snippets snippets;
    const std::string rest = "0: brb | 1: be right back\n0: (null) | 1: \n0: \n0: \n0: \n";
    const std::string both = "0: Work\n0: sig | 1*: Signature\n0:  | 1: Kind regards\n";
    EXPECT_EQ(snippets.table(false, false, false), "0: Work\n0: sig | 1: Kind regards\n" + rest);
    EXPECT_EQ(snippets.table(true, false, false), both + rest);
    EXPECT_EQ(snippets.table(true, true, false), both + "0:  | 1: for mail\n" + rest);
    EXPECT_EQ(snippets.table(false, true, true),
              "0: Work\n0: sig | 1*: Signature\n0:  | 1: for mail\n" + rest);
    EXPECT_EQ(RTFExportUtils::tableAttributedStringForGroups({}, true, true, true).length(), 0U);
}

TEST(RTFExportUtils, MakesCellsOfTheirKind) {
    const auto table = std::make_shared<const TextTable>(TextTable{2, {}});
    const auto cell = [&](int column, bool isGroup) {
        return RTFExportUtils::tableCellAttributedStringWithString(u"a\nb\n", table, 7, column,
                                                                   isGroup)
            .attributesAtIndex(3);
    };
    const auto left = cell(0, false);
    EXPECT_EQ(*left->textBlock, (TextTableBlock{table, 7, 1, 0, 1, 10, 20}));
    EXPECT_EQ(left->alignment, TextAlignment::Right);
    EXPECT_TRUE(left->font->bold);
    EXPECT_EQ(left->font->size, 15);
    const auto right = cell(1, false);
    EXPECT_EQ(*right->textBlock, (TextTableBlock{table, 7, 1, 1, 1, 10, 80}));
    EXPECT_FALSE(right->alignment.has_value() || right->font->bold);
    EXPECT_EQ(right->font->size, 14);
    const auto group = cell(0, true);
    EXPECT_EQ(*group->textBlock, (TextTableBlock{table, 7, 1, 0, 2, 10, 20}));
    EXPECT_FALSE(group->alignment.has_value());
    EXPECT_EQ(group->font->size, 24);
}

TEST(RTFExportUtils, WritesRowsThatOtherProgramsRead) {
    const auto table =
        RTFExportUtils::tableAttributedStringForGroups(Snippets().groups, true, false, false);
    const std::string document = RTFExportUtils::rtfDocument(table);
    EXPECT_NE(document.find("{\\info{\\title Dresk Snippets}}"), std::string::npos);
    // A group's cell reaches over both columns.
    EXPECT_NE(document.find("\\clwWidth5000\\cellx9000\n{"), std::string::npos);
    EXPECT_NE(document.find("\\clwWidth1000\\cellx1800\n"), std::string::npos);
    EXPECT_NE(document.find("\\clwWidth4000\\cellx9000\n"), std::string::npos);
    EXPECT_EQ(toUTF8(attributedStringWithRTF(document)->string()),
              "Work\t\nsig\tSignature\t\n\tKind\nregards\t\nbrb\tbe right back\t\n(null)\t\t\n"
              "\t\t\n\t\n\t\t\n");
    const std::string html = htmlData(table);
    EXPECT_NE(html.find("<td colspan=\"2\" style=\"vertical-align:top;padding:10pt;\">"),
              std::string::npos);
    EXPECT_NE(html.find("Kind</span><br>"), std::string::npos);
}

} // namespace
} // namespace dresk
