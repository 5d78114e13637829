#pragma once

#include <map>

#include "Foundation/ArchivedValue.h"
#include "Foundation/AttributedString.h"

namespace dresk {

/// A colour in the calibrated RGB space, components 0 to 1. Grey and named colours are converted.
struct TextColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    /// What the colour was read from; written again as long as the members above say the same.
    ArchivedValue archived = {};
    friend bool operator==(const TextColor&, const TextColor&) = default;
};

struct TextFont {
    /// PostScript or family name as the archive has it.
    String name;
    /// Points.
    double size = 12;
    bool bold = false;
    bool italic = false;
    /// What the font was read from; written again as long as the members above say the same.
    ArchivedValue archived = {};
    friend bool operator==(const TextFont&, const TextFont&) = default;
};

enum class TextAlignment { Left = 0, Right = 1, Center = 2, Justified = 3, Natural = 4 };

/// Stands in the text where an attachment is.
inline constexpr char16_t AttachmentCharacter = u'\uFFFC';

/// A file inside the text, at U+FFFC.
struct TextAttachment {
    String preferredFilename;
    std::string contents;
    /// What the attachment was read from, with whatever else belongs to it; written again as long
    /// as the members above say the same.
    ArchivedValue archived = {};
    friend bool operator==(const TextAttachment&, const TextAttachment&) = default;
};

/// A table in the text. Two tables are the same only if they are one object.
struct TextTable {
    enum class LayoutAlgorithm { Automatic = 0, Fixed = 1 };
    int numberOfColumns = 1;
    LayoutAlgorithm layoutAlgorithm = LayoutAlgorithm::Automatic;
};

/// A cell: the paragraphs that carry it stand in it. Cells of a row follow each other in the text.
/// It goes into the other text forms, but into no archive.
struct TextTableBlock {
    std::shared_ptr<const TextTable> table;
    /// Rows and columns count from 0.
    int startingRow = 0;
    int rowSpan = 1;
    int startingColumn = 0;
    int columnSpan = 1;
    /// Points, on all sides.
    double padding = 0;
    /// Percent of the table's width; 0 leaves it to the reader.
    double width = 0;
    friend bool operator==(const TextTableBlock&, const TextTableBlock&) = default;
};

/// What a run of text can carry. Absent members stand for the reader's default.
struct TextAttributes {
    std::optional<TextFont> font;
    std::optional<TextColor> foregroundColor;
    std::optional<TextColor> backgroundColor;
    std::optional<TextAlignment> alignment;
    /// The paragraph style that was read, of which `alignment` is a part; the rest is kept.
    ArchivedValue paragraphStyle;
    /// Points from the leading margin, of a paragraph's first line and of its other lines.
    double firstLineHeadIndent = 0;
    double headIndent = 0;
    /// Null outside of tables.
    std::shared_ptr<const TextTableBlock> textBlock;
    /// 0 none, 1 single; other values as the archive has them.
    std::int64_t underlineStyle = 0;
    /// As `underlineStyle`.
    std::int64_t strikethroughStyle = 0;
    /// Steps above the line, or below it where negative.
    std::int64_t superscript = 0;
    std::optional<String> link;
    std::optional<String> toolTip;
    std::shared_ptr<const TextAttachment> attachment;
    /// Attributes that nothing here understands, by name.
    std::map<String, ArchivedValue> others;
};

bool operator==(const TextAttributes& a, const TextAttributes& b);

} // namespace dresk
