#pragma once

#include "Foundation/TextAttributes.h"

namespace dresk {

/// 8 bits each, from the highest: red, green, blue, alpha.
using HTMLColor = std::uint32_t;

/// What an element says of its text, and what it hands on to those inside it.
struct HTMLStyle {
    enum class WhiteSpace { Collapse, KeepLineBreaks, Keep };

    String family = u"Helvetica";
    /// Points.
    double size = 12;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikethrough = false;
    int superscript = 0;
    std::optional<HTMLColor> foreground;
    std::optional<HTMLColor> background;
    std::optional<TextAlignment> alignment;
    /// Points.
    double headIndent = 0;
    double firstLineIndent = 0;
    /// Empty outside of links.
    String link;
    WhiteSpace whiteSpace = WhiteSpace::Collapse;

    friend auto operator<=>(const HTMLStyle&, const HTMLStyle&) = default;
};

/// How an element stands among the others; not handed on.
struct HTMLBox {
    bool isBlock = false;
    bool isHidden = false;
};

/// Applies the declarations of a style attribute. `outer` is the style around the element.
void applyCSS(std::string_view declarations, const HTMLStyle& outer, HTMLStyle& style,
              HTMLBox& box);

/// A colour in any notation of CSS but the rarest; null for none.
std::optional<HTMLColor> colorFromCSS(std::string_view text);

/// Applies the "size" of a font element, 1 to 7, or relative to 3 with a sign.
void applyFontElementSize(std::string_view text, HTMLStyle& style);

/// The first family of a list, generic names replaced; empty for none.
String familyFromCSS(std::string_view list);

AttributedString::Attributes attributesOfHTMLStyle(const HTMLStyle& style);

} // namespace dresk
