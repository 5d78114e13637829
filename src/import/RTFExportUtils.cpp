#include "import/RTFExportUtils.h"

#include "Foundation/RTF.h"

namespace dresk {

namespace {

constexpr StringView DocumentTitle = u"Dresk Snippets";
constexpr StringView SystemFont = u"Helvetica";
constexpr double GroupFontSize = 24;
constexpr double AbbreviationFontSize = 15;
constexpr double ContentFontSize = 14;
constexpr double CellPadding = 10;
constexpr double FirstColumnWidth = 20;
constexpr double OtherColumnWidth = 80;

AttributedString italic(const AttributedString& text) {
    std::vector<AttributedString::Run> runs = text.runs();
    for (AttributedString::Run& run : runs) {
        auto attributes = std::make_shared<TextAttributes>(*run.attributes);
        attributes->font->italic = true;
        run.attributes = std::move(attributes);
    }
    return {text.string(), std::move(runs)};
}

/// Collects the rows of one table.
class TableBuilder {
  public:
    TableBuilder(bool includeSnippetLabel, bool includeSnippetNote, bool preferSnippetLabel)
        : showLabel_(includeSnippetLabel || preferSnippetLabel), includeNote_(includeSnippetNote),
          preferLabel_(preferSnippetLabel) {
        auto table = std::make_shared<TextTable>();
        table->numberOfColumns = 2;
        table->layoutAlgorithm = TextTable::LayoutAlgorithm::Fixed;
        table_ = std::move(table);
    }

    void addGroup(const SnippetGroup& group) {
        append(cell(group.name().value_or(String()), 0, true));
        ++row_;
        for (const auto& snippet : group.items())
            addSnippet(*snippet);
        append(cell({}, 0));
        ++row_;
    }

    AttributedString finish() { return {std::move(text_), std::move(runs_)}; }

  private:
    void addSnippet(const Snippet& snippet) {
        append(cell(snippet.abbreviation().value_or(u"(null)"), 0));
        const bool hasLabel =
            showLabel_ && snippet.label().has_value() && !snippet.label()->empty();
        if (hasLabel)
            append(italic(cell(*snippet.label(), 1)));
        if (!hasLabel || !preferLabel_) {
            if (hasLabel)
                beginRow();
            append(cell(snippet.plainTextContent().value_or(String()), 1));
        }
        if (includeNote_ && snippet.note().has_value() && !snippet.note()->empty()) {
            beginRow();
            append(cell(*snippet.note(), 1));
        }
        ++row_;
    }

    void beginRow() {
        ++row_;
        append(cell({}, 0));
    }

    AttributedString cell(const String& string, int column, bool isGroup = false) const {
        return RTFExportUtils::tableCellAttributedStringWithString(string + u"\n", table_, row_,
                                                                   column, isGroup);
    }

    void append(const AttributedString& part) {
        text_.append(part.string());
        runs_.insert(runs_.end(), part.runs().begin(), part.runs().end());
    }

    const bool showLabel_;
    const bool includeNote_;
    const bool preferLabel_;
    std::shared_ptr<const TextTable> table_;
    int row_ = 0;
    String text_;
    std::vector<AttributedString::Run> runs_;
};

} // namespace

AttributedString RTFExportUtils::tableAttributedStringForGroups(const SnippetGroupArray& groups,
                                                                bool includeSnippetLabel,
                                                                bool includeSnippetNote,
                                                                bool preferSnippetLabel) {
    TableBuilder builder(includeSnippetLabel, includeSnippetNote, preferSnippetLabel);
    for (const auto& group : groups)
        builder.addGroup(*group);
    return builder.finish();
}

AttributedString
RTFExportUtils::tableCellAttributedStringWithString(StringView string,
                                                    const std::shared_ptr<const TextTable>& table,
                                                    int row, int column, bool isGroup) {
    auto block = std::make_shared<TextTableBlock>();
    block->table = table;
    block->startingRow = row;
    block->startingColumn = column;
    block->columnSpan = isGroup ? 2 : 1;
    block->padding = CellPadding;
    block->width = column == 0 ? FirstColumnWidth : OtherColumnWidth;
    auto attributes = std::make_shared<TextAttributes>();
    attributes->textBlock = std::move(block);
    attributes->font = TextFont{String(SystemFont), ContentFontSize};
    if (column == 0) {
        attributes->font->bold = true;
        attributes->font->size = isGroup ? GroupFontSize : AbbreviationFontSize;
        if (!isGroup)
            attributes->alignment = TextAlignment::Right;
    }
    return AttributedString(string, std::move(attributes));
}

std::string RTFExportUtils::rtfDocument(const AttributedString& table) {
    return RTFFromAttributedString(table, String(DocumentTitle));
}

} // namespace dresk
