#include "Foundation/TextParagraphs.h"

#include <algorithm>
#include <cmath>

namespace dresk {

namespace {

constexpr int MaximumColumns = 63;

const TextTableBlock* block(const TextParagraph& paragraph) {
    const TextTableBlock* result = paragraph.attributes->textBlock.get();
    return result != nullptr && result->table != nullptr ? result : nullptr;
}

} // namespace

std::vector<TextParagraph> paragraphsOfText(const AttributedString& text) {
    static const auto none = std::make_shared<const TextAttributes>();
    const StringView string = text.string();
    std::vector<TextParagraph> result;
    std::size_t run = 0;
    std::uint64_t runEnd = text.runs().empty() ? 0 : text.runs().front().length;
    std::uint64_t start = 0;
    for (bool more = true; more;) {
        while (start >= runEnd && run + 1 < text.runs().size())
            runEnd += text.runs()[++run].length;
        const auto attributes = start < string.size() ? text.runs()[run].attributes : nullptr;
        std::uint64_t end = string.find_first_of(u"\n\r\u2029", start);
        more = end != StringView::npos;
        end = more ? end : string.size();
        std::uint64_t next = end + (more ? 1 : 0);
        if (more && string[end] == u'\r' && next < string.size() && string[next] == u'\n')
            ++next;
        result.push_back({{start, end - start}, next, attributes != nullptr ? attributes : none});
        start = next;
    }
    return result;
}

std::size_t tableEnd(const std::vector<TextParagraph>& paragraphs, std::size_t first) {
    const TextTable* table = block(paragraphs[first])->table.get();
    std::size_t last = first;
    while (last < paragraphs.size() && block(paragraphs[last]) != nullptr &&
           block(paragraphs[last])->table.get() == table)
        ++last;
    return last;
}

std::vector<TextTableCell> tableRowCells(const std::vector<TextParagraph>& paragraphs,
                                         std::size_t first) {
    std::vector<TextTableCell> cells;
    const TextTableBlock& start = *block(paragraphs[first]);
    for (std::size_t i = first; i < paragraphs.size(); ++i) {
        const TextTableBlock* next = block(paragraphs[i]);
        if (next == nullptr || next->table != start.table || next->startingRow != start.startingRow)
            break;
        if (cells.empty() || cells.back().block->startingColumn < next->startingColumn)
            cells.push_back({next, i, i + 1});
        else if (cells.back().block->startingColumn == next->startingColumn)
            cells.back().last = i + 1;
        else
            break; // goes back to the left: a row of its own
    }
    return cells;
}

std::vector<double> tableColumnWidths(const std::vector<TextParagraph>& paragraphs,
                                      std::size_t first, std::size_t last) {
    const int columns =
        std::clamp(block(paragraphs[first])->table->numberOfColumns, 1, MaximumColumns);
    std::vector<double> widths(static_cast<std::size_t>(columns), 0.0);
    for (std::size_t i = first; i < last; ++i) {
        const TextTableBlock& cell = *block(paragraphs[i]);
        if (cell.columnSpan == 1 && cell.startingColumn >= 0 && cell.startingColumn < columns &&
            std::isfinite(cell.width)) {
            double& width = widths[static_cast<std::size_t>(cell.startingColumn)];
            width = std::max(width, std::clamp(cell.width, 0.0, 100.0));
        }
    }
    double given = 0;
    for (const double width : widths)
        given += width;
    const auto open = std::count(widths.begin(), widths.end(), 0.0);
    const double share = open > 0 ? std::max(100 - given, 5.0 * static_cast<double>(open)) /
                                        static_cast<double>(open)
                                  : 0;
    for (double& width : widths)
        width = width == 0 ? share : width;
    double sum = 0;
    for (const double width : widths)
        sum += width;
    for (double& width : widths)
        width *= 100 / sum;
    return widths;
}

} // namespace dresk
