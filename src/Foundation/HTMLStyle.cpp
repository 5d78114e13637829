#include "Foundation/HTMLStyle.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

namespace dresk {

namespace {

constexpr double PointsPerPixel = 0.75;
constexpr double MinimumSize = 1;
constexpr double MaximumSize = 500;
constexpr double MaximumIndent = 2000;
constexpr double NormalSize = 12;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view Blanks = " \t\r\n\f";
    const std::size_t first = text.find_first_not_of(Blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(Blanks) - first + 1);
}

std::string lowercased(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return result;
}

/// Pieces between separators that stand outside of quotes and parentheses.
std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    char quote = 0;
    std::size_t start = 0;
    std::size_t depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote != 0) {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')') {
            depth -= depth > 0 ? 1 : 0;
        } else if (c == separator && depth == 0) {
            pieces.push_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    pieces.push_back(text.substr(start));
    return pieces;
}

struct Number {
    double value;
    std::string_view unit;
};

std::optional<Number> number(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || !std::isfinite(value))
        return std::nullopt;
    return Number{value, text.substr(static_cast<std::size_t>(end - text.data()))};
}

/// Points; `fontSize` is what "em" and percentages count from.
std::optional<double> length(std::string_view text, double fontSize) {
    const auto read = number(text);
    if (!read.has_value())
        return std::nullopt;
    struct Unit {
        std::string_view name;
        double points;
    };
    const std::array<Unit, 10> units{{{"pt", 1},
                                      {"px", PointsPerPixel},
                                      {"em", fontSize},
                                      {"rem", NormalSize},
                                      {"ex", fontSize / 2},
                                      {"%", fontSize / 100},
                                      {"in", 72},
                                      {"cm", 72 / 2.54},
                                      {"mm", 72 / 25.4},
                                      {"pc", 12}}};
    for (const Unit& unit : units)
        if (unit.name == read->unit)
            return read->value * unit.points;
    return read->value == 0 ? std::optional(0.0) : std::nullopt;
}

void setSize(HTMLStyle& style, double points) {
    style.size = std::clamp(points, MinimumSize, MaximumSize);
}

struct NamedColor {
    std::string_view name;
    std::uint32_t rgb;
};
constexpr std::array<NamedColor, 46> NamedColors{
    {{"aqua", 0x00FFFF},      {"beige", 0xF5F5DC},      {"black", 0x000000},
     {"blue", 0x0000FF},      {"brown", 0xA52A2A},      {"chocolate", 0xD2691E},
     {"coral", 0xFF7F50},     {"crimson", 0xDC143C},    {"cyan", 0x00FFFF},
     {"darkblue", 0x00008B},  {"darkcyan", 0x008B8B},   {"darkgray", 0xA9A9A9},
     {"darkgreen", 0x006400}, {"darkgrey", 0xA9A9A9},   {"darkorange", 0xFF8C00},
     {"darkred", 0x8B0000},   {"dimgray", 0x696969},    {"fuchsia", 0xFF00FF},
     {"gold", 0xFFD700},      {"gray", 0x808080},       {"green", 0x008000},
     {"grey", 0x808080},      {"indigo", 0x4B0082},     {"ivory", 0xFFFFF0},
     {"khaki", 0xF0E68C},     {"lavender", 0xE6E6FA},   {"lightblue", 0xADD8E6},
     {"lightgray", 0xD3D3D3}, {"lightgreen", 0x90EE90}, {"lightgrey", 0xD3D3D3},
     {"lime", 0x00FF00},      {"magenta", 0xFF00FF},    {"maroon", 0x800000},
     {"navy", 0x000080},      {"olive", 0x808000},      {"orange", 0xFFA500},
     {"pink", 0xFFC0CB},      {"purple", 0x800080},     {"red", 0xFF0000},
     {"salmon", 0xFA8072},    {"silver", 0xC0C0C0},     {"teal", 0x008080},
     {"turquoise", 0x40E0D0}, {"violet", 0xEE82EE},     {"white", 0xFFFFFF},
     {"yellow", 0xFFFF00}}};

std::optional<HTMLColor> hexColor(std::string_view digits) {
    std::uint32_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + digits.size())
        return std::nullopt;
    const bool isShort = digits.size() == 3 || digits.size() == 4;
    if (isShort) {
        std::uint32_t wide = 0;
        for (std::size_t i = digits.size(); i-- > 0;)
            wide = wide << 8 | (value >> (4 * i) & 15) * 17;
        value = wide;
    }
    if (digits.size() == 3 || digits.size() == 6)
        return value << 8 | 0xFF;
    return digits.size() == 4 || digits.size() == 8 ? std::optional(value) : std::nullopt;
}

/// "rgb(1, 2, 3)" and "rgba(1 2 3 / 40%)".
std::optional<HTMLColor> functionColor(std::string_view text) {
    const std::size_t open = text.find('(');
    std::string inside(text.substr(open + 1, text.find(')') - open - 1));
    for (char& c : inside)
        c = c == ',' || c == '/' ? ' ' : c;
    std::vector<double> values;
    for (const std::string_view piece : split(inside, ' ')) {
        const auto read = number(piece);
        if (!read.has_value())
            continue;
        const double whole = values.size() < 3 ? 255 : 1;
        const double value = read->unit == "%" ? read->value / 100 * whole : read->value;
        values.push_back(std::clamp(value / whole, 0.0, 1.0));
    }
    if (values.size() < 3)
        return std::nullopt;
    values.resize(std::max<std::size_t>(values.size(), 4), 1);
    HTMLColor color = 0;
    for (std::size_t i = 0; i < 4; ++i)
        color = color << 8 | static_cast<std::uint32_t>(std::lround(values[i] * 255));
    return color;
}

std::optional<TextColor> textColor(const std::optional<HTMLColor>& color) {
    if (!color.has_value())
        return std::nullopt;
    const auto component = [&](unsigned shift) { return (*color >> shift & 0xFF) / 255.0; };
    return TextColor{component(24), component(16), component(8), component(0)};
}

void applyFontSize(std::string_view value, double outerSize, HTMLStyle& style) {
    struct Keyword {
        std::string_view name;
        double points;
    };
    static constexpr std::array<Keyword, 8> Keywords{{{"xx-small", 7},
                                                      {"x-small", 7.5},
                                                      {"small", 10},
                                                      {"medium", NormalSize},
                                                      {"large", 13.5},
                                                      {"x-large", 18},
                                                      {"xx-large", 24},
                                                      {"xxx-large", 36}}};
    for (const Keyword& keyword : Keywords)
        if (keyword.name == value)
            return setSize(style, keyword.points);
    if (value == "smaller" || value == "larger")
        return setSize(style, value == "smaller" ? outerSize / 1.2 : outerSize * 1.2);
    if (const auto points = length(value, outerSize); points.has_value() && *points > 0)
        setSize(style, *points);
}

void applyDecoration(std::string_view value, const HTMLStyle& outer, HTMLStyle& style) {
    for (const std::string_view word : split(value, ' ')) {
        if (word == "none") {
            // What stands around the element goes on through it.
            style.underline = outer.underline;
            style.strikethrough = outer.strikethrough;
        } else if (word == "underline") {
            style.underline = true;
        } else if (word == "line-through") {
            style.strikethrough = true;
        }
    }
}

bool applyFont(std::string_view name, std::string_view written, std::string_view value,
               const HTMLStyle& outer, HTMLStyle& style) {
    if (name == "font-family") {
        if (String family = familyFromCSS(written); !family.empty())
            style.family = std::move(family);
    } else if (name == "font-size") {
        applyFontSize(value, outer.size, style);
    } else if (name == "font-weight") {
        const auto weight = number(value);
        style.bold = weight.has_value() ? weight->value >= 600
                                        : value == "bold" || value == "bolder" ||
                                              (value == "inherit" && outer.bold);
    } else if (name == "font-style") {
        style.italic = value == "italic" || value.starts_with("oblique");
    } else {
        return false;
    }
    return true;
}

bool applyParagraph(std::string_view name, std::string_view value, const HTMLStyle& outer,
                    HTMLStyle& style) {
    if (name == "text-align") {
        if (value == "left")
            style.alignment = TextAlignment::Left;
        else if (value == "right")
            style.alignment = TextAlignment::Right;
        else if (value == "center")
            style.alignment = TextAlignment::Center;
        else if (value == "justify")
            style.alignment = TextAlignment::Justified;
        else if (value == "start" || value == "initial")
            style.alignment.reset();
    } else if (name == "margin-left") {
        const double points = length(value, style.size).value_or(0);
        style.headIndent = std::clamp(outer.headIndent + points, 0.0, MaximumIndent);
    } else if (name == "text-indent") {
        const double points = length(value, style.size).value_or(0);
        style.firstLineIndent = std::clamp(points, -MaximumIndent, MaximumIndent);
    } else {
        return false;
    }
    return true;
}

void applyDeclaration(std::string_view name, std::string_view written, const HTMLStyle& outer,
                      HTMLStyle& style, HTMLBox& box) {
    const std::string lower = lowercased(written);
    const std::string_view value =
        trimmed(std::string_view(lower).substr(0, lower.find("!important")));
    if (applyFont(name, written, value, outer, style) || applyParagraph(name, value, outer, style))
        return;
    if (name == "color") {
        if (const auto color = colorFromCSS(value))
            style.foreground = color;
    } else if (name == "background-color" || name == "background") {
        if (value == "transparent" || value == "none")
            style.background.reset();
        else if (const auto color = colorFromCSS(value))
            style.background = (*color & 0xFF) != 0 ? color : outer.background;
    } else if (name == "text-decoration" || name == "text-decoration-line") {
        applyDecoration(value, outer, style);
    } else if (name == "vertical-align") {
        if (value == "super" || value == "sub")
            style.superscript = value == "super" ? 1 : -1;
        else if (value == "baseline")
            style.superscript = outer.superscript;
    } else if (name == "white-space") {
        using enum HTMLStyle::WhiteSpace;
        style.whiteSpace = value.starts_with("pre-line")                         ? KeepLineBreaks
                           : value.starts_with("pre") || value == "break-spaces" ? Keep
                           : value == "inherit"                                  ? outer.whiteSpace
                                                                                 : Collapse;
    } else if (name == "display") {
        box.isHidden = value == "none";
        box.isBlock = value == "block" || value == "list-item" || value == "flex" ||
                      value == "grid" || (box.isBlock && !value.starts_with("inline"));
    }
}

} // namespace

void applyCSS(std::string_view declarations, const HTMLStyle& outer, HTMLStyle& style,
              HTMLBox& box) {
    // The size comes first, because lengths count from it.
    const std::vector<std::string_view> pieces = split(declarations, ';');
    for (const bool isSizePass : {true, false})
        for (const std::string_view piece : pieces) {
            const std::size_t colon = piece.find(':');
            if (colon == std::string_view::npos)
                continue;
            const std::string name = lowercased(trimmed(piece.substr(0, colon)));
            if ((name == "font-size") == isSizePass)
                applyDeclaration(name, trimmed(piece.substr(colon + 1)), outer, style, box);
        }
}

std::optional<HTMLColor> colorFromCSS(std::string_view text) {
    const std::string lower = lowercased(trimmed(text));
    if (lower.starts_with('#'))
        return hexColor(std::string_view(lower).substr(1));
    if (lower.starts_with("rgb"))
        return functionColor(lower);
    for (const NamedColor& color : NamedColors)
        if (color.name == lower)
            return color.rgb << 8 | 0xFF;
    return std::nullopt;
}

void applyFontElementSize(std::string_view text, HTMLStyle& style) {
    static constexpr std::array<double, 7> Sizes{7.5, 10, 12, 13.5, 18, 24, 36};
    const auto read = number(text);
    if (!read.has_value())
        return;
    text = trimmed(text);
    const bool isRelative = text.starts_with('+') || text.starts_with('-');
    const double step = std::clamp(read->value + (isRelative ? 3 : 0), 1.0, 7.0);
    style.size = Sizes[static_cast<std::size_t>(step) - 1];
}

String familyFromCSS(std::string_view list) {
    std::string_view first = trimmed(split(list, ',').front());
    if (first.size() >= 2 && (first.front() == '"' || first.front() == '\'') &&
        first.back() == first.front())
        first = first.substr(1, first.size() - 2);
    const std::string lower = lowercased(first);
    if (lower == "inherit" || lower == "initial" || lower == "unset")
        return {};
    if (lower == "monospace" || lower == "ui-monospace")
        return u"Courier";
    if (lower == "serif")
        return u"Times";
    for (const std::string_view own : {"sans-serif", "system-ui", "-apple-system", "ui-sans-serif"})
        if (lower == own)
            return u"Helvetica";
    return fromUTF8(first);
}

AttributedString::Attributes attributesOfHTMLStyle(const HTMLStyle& style) {
    auto result = std::make_shared<TextAttributes>();
    result->font = TextFont{style.family, style.size, style.bold, style.italic};
    result->foregroundColor = textColor(style.foreground);
    result->backgroundColor = textColor(style.background);
    result->alignment = style.alignment;
    result->headIndent = style.headIndent;
    result->firstLineHeadIndent = std::max(0.0, style.headIndent + style.firstLineIndent);
    result->underlineStyle = style.underline ? 1 : 0;
    result->strikethroughStyle = style.strikethrough ? 1 : 0;
    result->superscript = style.superscript;
    if (!style.link.empty())
        result->link = style.link;
    return result;
}

} // namespace dresk
