#pragma once

#include <vector>

#include "Foundation/TextAttributes.h"

namespace dresk {

/// A line of the text as its author ended it.
struct TextParagraph {
    /// Without what ends it.
    Range range;
    /// With what ends it: a line feed, carriage return, both, or U+2029. Empty at the end of text.
    std::uint64_t end = 0;
    /// Of its first character; never null.
    AttributedString::Attributes attributes;
};

/// Paragraphs in order, the last one without an end of its own; an empty text has one.
std::vector<TextParagraph> paragraphsOfText(const AttributedString& text);

/// Indexes of paragraphs; the first and the one behind the last.
struct TextTableCell {
    const TextTableBlock* block;
    std::size_t first;
    std::size_t last;
};

/// Behind the last paragraph of the table that `first` stands in.
std::size_t tableEnd(const std::vector<TextParagraph>& paragraphs, std::size_t first);

/// The cells of the row that begins at `first`, which stands in a table.
std::vector<TextTableCell> tableRowCells(const std::vector<TextParagraph>& paragraphs,
                                         std::size_t first);

/// Widths of the columns in percent, from the cells that fill just one column; what they leave
/// open is shared evenly. Sum 100.
std::vector<double> tableColumnWidths(const std::vector<TextParagraph>& paragraphs,
                                      std::size_t first, std::size_t last);

} // namespace dresk
