#include "Foundation/HTMLReader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Foundation/HTMLBytes.h"
#include "Foundation/ImageInfo.h"
#include "Foundation/Unicode.h"

namespace dresk {

namespace {

constexpr std::size_t MaximumDepth = 256;
constexpr std::size_t MaximumStyles = 5000;
/// Points by which lists and quotations are set in, and by which an item's marker stands out.
constexpr double IndentStep = 36;
constexpr double MarkerIndent = -18;
constexpr std::array<double, 6> HeadingSizes{24, 18, 14, 12, 10, 8};

template <std::size_t Size>
bool contains(const std::array<std::string_view, Size>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

constexpr std::array<std::string_view, 20> LeftOutElements{
    "script", "style",  "title",  "template", "iframe", "object",   "svg",
    "math",   "audio",  "video",  "canvas",   "applet", "noframes", "datalist",
    "map",    "select", "button", "frameset", "embed",  "xml"};
constexpr std::array<std::string_view, 40> BlockElements{
    "address", "article",    "aside",   "blockquote", "caption", "center",   "dd",     "details",
    "dialog",  "dir",        "div",     "dl",         "dt",      "fieldset", "figure", "footer",
    "form",    "h1",         "h2",      "h3",         "h4",      "h5",       "h6",     "header",
    "hr",      "legend",     "li",      "main",       "menu",    "nav",      "ol",     "p",
    "pre",     "figcaption", "section", "summary",    "table",   "tr",       "ul",     "optgroup"};
constexpr std::array<std::string_view, 3> BoldElements{"b", "strong", "th"};
constexpr std::array<std::string_view, 5> ItalicElements{"i", "em", "cite", "dfn", "var"};
constexpr std::array<std::string_view, 2> UnderlinedElements{"u", "ins"};
constexpr std::array<std::string_view, 3> StruckElements{"s", "strike", "del"};
constexpr std::array<std::string_view, 5> CodeElements{"code", "tt", "kbd", "samp", "pre"};
constexpr std::array<std::string_view, 4> IndentedElements{"blockquote", "dd", "ul", "ol"};

bool isBlank(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f';
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// Places within the page and scripts of it mean nothing elsewhere.
bool isUsableAddress(std::string_view address) {
    const String scheme = lowercaseString(fromUTF8(address.substr(0, address.find(':'))));
    return !address.starts_with('#') && scheme != u"javascript";
}

std::string_view valueOf(const std::vector<HTMLReader::Attribute>& attributes,
                         std::string_view name) {
    for (const auto& [key, value] : attributes)
        if (key == name)
            return value;
    return {};
}

} // namespace

HTMLReader::HTMLReader() {
    elements_.emplace_back();
    currentAttributes();
}

void HTMLReader::startElement(std::string_view name, const std::vector<Attribute>& attributes) {
    if (leftOut_ > 0) {
        ++leftOut_;
        return;
    }
    if (elements_.size() >= MaximumDepth) {
        ++tooDeep_;
        return;
    }
    const HTMLStyle& outer = elements_.back().style;
    Element element;
    element.style = outer;
    HTMLBox box;
    box.isBlock = contains(BlockElements, name);
    applyElement(name, element);
    applyAttributes(name, attributes, element, outer, box);
    if (box.isHidden || contains(LeftOutElements, name)) {
        leftOut_ = 1;
        return;
    }
    if (element.style == outer)
        element.known = elements_.back().known;
    element.isBlock = box.isBlock;
    element.holdsBlanks = valueOf(attributes, "class") == "Apple-converted-space";
    elements_.push_back(std::move(element));
    beginBlock(name, elements_.back());
    if (name == "br")
        lineBreak();
    else if (name == "img")
        image(attributes);
}

void HTMLReader::endElement() {
    if (leftOut_ > 0) {
        --leftOut_;
        return;
    }
    if (tooDeep_ > 0) {
        --tooDeep_;
        return;
    }
    if (elements_.size() == 1)
        return;
    const Element& closed = elements_.back();
    if (closed.kind == Kind::Cell) {
        endCell(closed);
    } else if (closed.kind == Kind::Row && text_.size() != closed.start) {
        afterMarker_ = false;
        lineHasText_ = true;
    }
    if (closed.isBlock)
        endLine();
    elements_.pop_back();
}

// What the element means by itself.
void HTMLReader::applyElement(std::string_view name, Element& element) {
    HTMLStyle& style = element.style;
    style.bold = style.bold || contains(BoldElements, name);
    style.italic = style.italic || contains(ItalicElements, name);
    style.underline = style.underline || contains(UnderlinedElements, name);
    style.strikethrough = style.strikethrough || contains(StruckElements, name);
    if (contains(CodeElements, name))
        style.family = u"Courier";
    if (contains(IndentedElements, name))
        style.headIndent += IndentStep;
    if (name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6') {
        style.bold = true;
        style.size = HeadingSizes[static_cast<std::size_t>(name[1] - '1')];
    } else if (name == "small" || name == "big") {
        style.size = std::clamp(style.size * (name == "small" ? 1 / 1.2 : 1.2), 6.0, 100.0);
    } else if (name == "sup" || name == "sub") {
        style.superscript = name == "sup" ? 1 : -1;
    } else if (name == "mark") {
        style.background = colorFromCSS("yellow");
    } else if (name == "center") {
        style.alignment = TextAlignment::Center;
    } else if (name == "pre") {
        style.whiteSpace = HTMLStyle::WhiteSpace::Keep;
        preformattedBegan_ = true;
    } else if (name == "ul") {
        element.kind = Kind::List;
    } else if (name == "ol") {
        element.kind = Kind::OrderedList;
    } else if (name == "li") {
        style.firstLineIndent = MarkerIndent;
    } else if (name == "tr") {
        element.kind = Kind::Row;
    } else if (name == "td" || name == "th") {
        element.kind = Kind::Cell;
    }
}

void HTMLReader::applyAttributes(std::string_view name, const std::vector<Attribute>& attributes,
                                 Element& element, const HTMLStyle& outer, HTMLBox& box) {
    HTMLStyle& style = element.style;
    for (const auto& [key, value] : attributes) {
        if (key == "align") {
            applyCSS("text-align:" + std::string(value), outer, style, box);
        } else if (key == "hidden") {
            box.isHidden = true;
        } else if (name == "font" && key == "color") {
            if (const auto color = colorFromCSS(value))
                style.foreground = color;
        } else if (name == "font" && key == "face") {
            if (String family = familyFromCSS(value); !family.empty())
                style.family = std::move(family);
        } else if (name == "font" && key == "size") {
            applyFontElementSize(value, style);
        } else if (name == "a" && key == "href") {
            const std::string_view address = trimmed(value);
            style.link = isUsableAddress(address) ? fromUTF8(address) : String();
        }
    }
    if (const std::string_view css = valueOf(attributes, "style"); !css.empty())
        applyCSS(css, outer, style, box);
}

void HTMLReader::beginBlock(std::string_view name, Element& element) {
    element.lineEnded = lineEnded_;
    if (element.kind == Kind::Row)
        afterMarker_ = false;
    if (element.isBlock && (!afterMarker_ || name == "li"))
        endLine();
    element.start = text_.size();
    if (name == "li")
        beginItem();
    else if (element.kind == Kind::Cell)
        beginCell(element);
}

void HTMLReader::beginItem() {
    Element& list = elements_[elements_.size() - 2];
    String marker = u"\u2022";
    if (list.kind == Kind::OrderedList)
        marker = fromUTF8(std::to_string(++list.count) + ".");
    for (const char16_t c : marker + u"\t")
        put(c, currentAttributes());
    afterMarker_ = true;
}

// Cells of a row stand in one line, a tab between them.
void HTMLReader::beginCell(Element& cell) {
    Element& row = elements_[elements_.size() - 2];
    if (row.kind == Kind::Row && row.count++ > 0)
        put(u'\t', currentAttributes());
    cell.start = text_.size();
    cell.lineEnded = lineEnded_;
    afterMarker_ = true;
}

void HTMLReader::endCell(const Element& cell) {
    lineEnded_ = text_.size() == cell.start && cell.lineEnded;
    lineBroken_ = false;
    blankFollows_ = false;
    afterMarker_ = true;
}

void HTMLReader::image(const std::vector<Attribute>& attributes) {
    const std::string_view description = valueOf(attributes, "alt");
    auto contents = bytesOfDataURL(valueOf(attributes, "src"));
    if (!contents.has_value() || contents->empty()) {
        for (const char16_t c : fromUTF8(description))
            character(c);
        return;
    }
    const StringView extension = pathExtensionOfImageFormat(imageInfo(*contents).format);
    auto attachment = std::make_shared<TextAttachment>();
    // A description that looks like the name of a file is taken as one.
    const bool isName = description.size() <= 255 &&
                        description.find_first_of("/\n\t") == std::string_view::npos &&
                        description.find('.') + 1 < description.size() &&
                        description.find('.') != std::string_view::npos;
    attachment->preferredFilename = isName              ? fromUTF8(description)
                                    : extension.empty() ? String(u"image")
                                                        : String(u"image.").append(extension);
    attachment->contents = std::move(*contents);
    auto own = std::make_shared<TextAttributes>(*currentAttributes());
    own->attachment = std::move(attachment);
    put(AttachmentCharacter, std::move(own));
}

void HTMLReader::characters(std::string_view text) {
    if (leftOut_ > 0)
        return;
    const String units = fromUTF8(text);
    for (std::size_t i = 0; i < units.size();) {
        const char16_t first = units[i++];
        character(first);
        // The first one has settled everything for the rest of its word.
        std::size_t end = i;
        while (!isBlank(first) && end < units.size() && !isBlank(units[end]) &&
               units[end] != u'\u00A0')
            ++end;
        appendToLine(StringView(units).substr(i, end - i));
        i = end;
    }
}

void HTMLReader::character(char16_t c) {
    using enum HTMLStyle::WhiteSpace;
    const HTMLStyle::WhiteSpace whiteSpace = elements_.back().style.whiteSpace;
    const bool isFirst = std::exchange(preformattedBegan_, false);
    if (whiteSpace != Collapse && (c == u'\n' || c == u'\r')) {
        if (c == u'\n' && !isFirst)
            lineBreak();
    } else if (whiteSpace == Keep || !isBlank(c)) {
        put(c == u'\u00A0' && elements_.back().holdsBlanks ? u' ' : c, currentAttributes());
    } else if (lineHasText_ && !afterMarker_ && !lineEnded_ && !lineBroken_ && !blankFollows_) {
        blankFollows_ = true;
        blankAttributes_ = currentAttributes();
    }
}

// The start or end of a block. One line end is enough, however many blocks meet.
void HTMLReader::endLine() {
    if (!lineEnded_ && (lineHasText_ || lineBroken_))
        lineEndAttributes_ = attributesOfLineEnd();
    lineEnded_ = lineEnded_ || lineHasText_ || lineBroken_;
    lineBroken_ = lineHasText_ = blankFollows_ = afterMarker_ = false;
}

// A line break at the end of a block adds no line, so it waits for what comes next.
void HTMLReader::lineBreak() {
    if (lineEnded_ || lineBroken_)
        appendUnit(u'\n', lineEndAttributes_);
    lineEnded_ = lineHasText_ = blankFollows_ = afterMarker_ = false;
    lineBroken_ = true;
    lineEndAttributes_ = attributesOfLineEnd();
}

void HTMLReader::put(char16_t c, const AttributedString::Attributes& attributes) {
    if (lineEnded_ || lineBroken_)
        appendUnit(u'\n', lineEndAttributes_);
    else if (blankFollows_)
        appendUnit(u' ', blankAttributes_);
    lineEnded_ = lineBroken_ = blankFollows_ = afterMarker_ = false;
    lineHasText_ = true;
    appendUnit(c, attributes);
}

void HTMLReader::appendUnit(char16_t c, const AttributedString::Attributes& attributes) {
    if (fragmentEnded_)
        return;
    text_.push_back(c);
    if (!runs_.empty() && runs_.back().attributes == attributes)
        ++runs_.back().length;
    else
        runs_.push_back({1, attributes});
}

// In the style of what stands before.
void HTMLReader::appendToLine(StringView text) {
    if (text.empty() || fragmentEnded_)
        return;
    text_.append(text);
    runs_.back().length += text.size();
}

const AttributedString::Attributes& HTMLReader::currentAttributes() {
    Element& element = elements_.back();
    if (element.known == nullptr)
        element.known = attributesFor(element.style);
    return element.known;
}

AttributedString::Attributes HTMLReader::attributesOfLineEnd() {
    if (elements_.back().style.link.empty())
        return currentAttributes();
    HTMLStyle style = elements_.back().style;
    style.link.clear();
    return attributesFor(style);
}

AttributedString::Attributes HTMLReader::attributesFor(const HTMLStyle& style) {
    const auto found = knownAttributes_.find(style);
    if (found != knownAttributes_.end())
        return found->second;
    // Text in more styles than any author would use keeps its characters alone.
    const bool isKept = knownAttributes_.size() < MaximumStyles;
    if (!isKept)
        return attributesFor(HTMLStyle());
    return knownAttributes_[style] = attributesOfHTMLStyle(style);
}

void HTMLReader::comment(std::string_view text) {
    const std::string_view mark = trimmed(text);
    if (mark == "StartFragment" && !fragmentBegan_) {
        fragmentBegan_ = true;
        text_.clear();
        runs_.clear();
        lineEnded_ = lineBroken_ = lineHasText_ = blankFollows_ = afterMarker_ = false;
    } else if (mark == "EndFragment" && fragmentBegan_ && !fragmentEnded_) {
        if (lineBroken_)
            appendUnit(u'\n', lineEndAttributes_);
        lineBroken_ = false;
        fragmentEnded_ = true;
    }
}

AttributedString HTMLReader::finish() {
    if (lineBroken_)
        appendUnit(u'\n', lineEndAttributes_);
    return {std::move(text_), std::move(runs_)};
}

} // namespace dresk
