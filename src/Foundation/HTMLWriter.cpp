#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "Foundation/AttributedStringCoding.h"
#include "Foundation/AttributedStringConversion.h"
#include "Foundation/Base64.h"
#include "Foundation/TextParagraphs.h"

namespace dresk {

namespace {

constexpr double MaximumPoints = 10'000;

std::string number(double value) {
    char buffer[32];
    const double rounded = std::round(value * 100) / 100;
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, rounded);
    return {buffer, result.ptr};
}

std::string points(double value) {
    return number(std::isfinite(value) ? std::clamp(value, -MaximumPoints, MaximumPoints) : 0) +
           "pt";
}

std::string cssColor(const TextColor& color) {
    const auto component = [](double value) {
        return std::lround((std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0) * 255);
    };
    const bool isOpaque = !std::isfinite(color.alpha) || color.alpha >= 1;
    std::string text = isOpaque ? "rgb(" : "rgba(";
    text += std::to_string(component(color.red)) + "," + std::to_string(component(color.green)) +
            "," + std::to_string(component(color.blue));
    return text + (isOpaque ? "" : "," + number(std::clamp(color.alpha, 0.0, 1.0))) + ")";
}

/// The family that a PostScript name belongs to; the style goes into elements of its own.
String familyOfFontName(StringView name) {
    struct Known {
        StringView name;
        StringView family;
    };
    static constexpr std::array<Known, 3> Names{{{u"ArialMT", u"Arial"},
                                                 {u"CourierNewPSMT", u"Courier New"},
                                                 {u"TimesNewRomanPSMT", u"Times New Roman"}}};
    for (const Known& known : Names)
        if (known.name == name)
            return String(known.family);
    const std::size_t hyphen = name.rfind(u'-');
    if (hyphen == StringView::npos || hyphen == 0)
        return String(name);
    const StringView style = name.substr(hyphen + 1);
    bool isStyle = fontNameIsBold(style) || fontNameIsItalic(style);
    for (const StringView word : {u"Regular", u"Roman", u"Light", u"Medium", u"Semi", u"Thin"})
        isStyle = isStyle || style.starts_with(word);
    return String(isStyle ? name.substr(0, hyphen) : name);
}

std::string cssFamily(StringView name) {
    if (name.empty() || name.front() == u'.')
        return "sans-serif"; // the platform's names for its own fonts
    String family;
    for (const char16_t c : familyOfFontName(name))
        if (c >= 0x20 && c != u'\'' && c != u'\\')
            family.push_back(c);
    return "'" + toUTF8(family) + "'";
}

class HTMLWriter {
  public:
    HTMLWriter(const AttributedString& text, const std::vector<String>& excludedTags)
        : text_(text) {
        for (const String& tag : excludedTags)
            excluded_.push_back(toUTF8(tag));
    }

    std::string write() {
        if (!isExcluded("doctype"))
            out_ += "<!DOCTYPE html>\n";
        open("html");
        if (!isExcluded("head")) {
            out_ += "<head>";
            if (!isExcluded("meta"))
                out_ += "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=UTF-8\">";
            out_ += "</head>\n";
        }
        open("body");
        writeBody();
        close(0);
        return std::move(out_);
    }

  private:
    bool isExcluded(std::string_view tag) const {
        return std::find(excluded_.begin(), excluded_.end(), tag) != excluded_.end();
    }

    void open(std::string_view tag, const std::string& attributes = {}) {
        if (isExcluded(tag))
            return;
        out_ += '<';
        out_ += tag;
        out_ += attributes + ">";
        opened_.push_back(tag);
    }
    void close(std::size_t depth) {
        for (; opened_.size() > depth; opened_.pop_back()) {
            out_ += "</";
            out_ += opened_.back();
            out_ += '>';
        }
    }
    void lineBreak() { out_ += isExcluded("br") ? "\n" : "<br>"; }

    void writeBody() {
        paragraphs_ = paragraphsOfText(text_);
        // A single plain line goes without a paragraph, so that it can be pasted into another one.
        const bool isLine =
            paragraphs_.size() == 1 && paragraphStyle(*paragraphs_.front().attributes).empty();
        const bool useParagraphs = !isLine && !isExcluded("p");
        for (std::size_t i = 0; i < paragraphs_.size();) {
            const TextParagraph& paragraph = paragraphs_[i];
            if (paragraph.attributes->textBlock != nullptr &&
                paragraph.attributes->textBlock->table != nullptr) {
                i = writeTable(i);
                if (i + 1 == paragraphs_.size() && paragraphs_[i].range.length == 0)
                    break; // the end of the last cell is the end of the text
                continue;
            }
            if (useParagraphs)
                writeParagraph(paragraph);
            else
                writeLine(paragraph, i + 1 < paragraphs_.size());
            ++i;
        }
    }

    static std::string paragraphStyle(const TextAttributes& attributes) {
        std::string style;
        switch (attributes.alignment.value_or(TextAlignment::Natural)) {
        case TextAlignment::Left:
            style += "text-align:left;";
            break;
        case TextAlignment::Right:
            style += "text-align:right;";
            break;
        case TextAlignment::Center:
            style += "text-align:center;";
            break;
        case TextAlignment::Justified:
            style += "text-align:justify;";
            break;
        case TextAlignment::Natural:
            break;
        }
        const double hanging = attributes.firstLineHeadIndent - attributes.headIndent;
        if (attributes.headIndent != 0)
            style += "margin-left:" + points(attributes.headIndent) + ";";
        if (hanging != 0)
            style += "text-indent:" + points(hanging) + ";";
        return style;
    }

    void writeParagraph(const TextParagraph& paragraph) {
        const std::size_t depth = opened_.size();
        open("p", " style=\"margin:0;" + paragraphStyle(*paragraph.attributes) + "\"");
        if (paragraph.range.length == 0)
            lineBreak();
        writeRange(paragraph.range);
        close(depth);
        out_ += '\n';
    }

    void writeLine(const TextParagraph& paragraph, bool isEnded) {
        writeRange(paragraph.range);
        if (isEnded)
            lineBreak();
    }

    /// Writes the whole table that begins there and returns the paragraph behind it.
    std::size_t writeTable(std::size_t first) {
        const std::size_t last = tableEnd(paragraphs_, first);
        const std::vector<double> widths = tableColumnWidths(paragraphs_, first, last);
        const bool isFixed = paragraphs_[first].attributes->textBlock->table->layoutAlgorithm ==
                             TextTable::LayoutAlgorithm::Fixed;
        const std::size_t depth = opened_.size();
        open("table", std::string(" style=\"width:100%;border-collapse:collapse;") +
                          (isFixed ? "table-layout:fixed;\"" : "\""));
        if (!isExcluded("colgroup") && !isExcluded("col")) {
            out_ += "<colgroup>";
            for (const double width : widths)
                out_ += "<col style=\"width:" + number(width) + "%\">";
            out_ += "</colgroup>\n";
        }
        for (std::size_t i = first; i < last;) {
            const std::vector<TextTableCell> cells = tableRowCells(paragraphs_, i);
            const std::size_t rowDepth = opened_.size();
            open("tr");
            for (const TextTableCell& cell : cells)
                writeCell(cell);
            close(rowDepth);
            out_ += '\n';
            i = cells.back().last;
        }
        close(depth);
        out_ += '\n';
        return last;
    }

    void writeCell(const TextTableCell& cell) {
        const TextAttributes& attributes = *paragraphs_[cell.first].attributes;
        std::string words;
        if (cell.block->columnSpan > 1)
            words += " colspan=\"" + std::to_string(cell.block->columnSpan) + "\"";
        if (cell.block->rowSpan > 1)
            words += " rowspan=\"" + std::to_string(cell.block->rowSpan) + "\"";
        words += " style=\"vertical-align:top;padding:" + points(cell.block->padding) + ";" +
                 paragraphStyle(attributes) + "\"";
        const std::size_t depth = opened_.size();
        open("td", words);
        for (std::size_t i = cell.first; i < cell.last; ++i)
            writeLine(paragraphs_[i], i + 1 < cell.last);
        close(depth);
    }

    /// Ranges come in the order of the text.
    void writeRange(const Range& range) {
        afterBlank_ = true;
        std::uint64_t position = range.location;
        while (position < range.end()) {
            while (run_ < text_.runs().size() && runStart_ + text_.runs()[run_].length <= position)
                runStart_ += text_.runs()[run_++].length;
            const AttributedString::Run& run = text_.runs()[run_];
            const std::uint64_t end = std::min(range.end(), runStart_ + run.length);
            const std::size_t depth = opened_.size();
            if (run.attributes != nullptr)
                openStyle(*run.attributes);
            writeCharacters({position, end - position}, range.end(),
                            run.attributes != nullptr ? run.attributes->attachment.get() : nullptr);
            close(depth);
            position = end;
        }
    }

    void openStyle(const TextAttributes& attributes) {
        if (attributes.link.has_value())
            open("a", " href=\"" + escaped(*attributes.link) + "\"");
        std::string style;
        if (attributes.font.has_value()) {
            style += "font-family:" + escaped(fromUTF8(cssFamily(attributes.font->name))) + ";";
            if (attributes.font->size > 0)
                style += "font-size:" + points(attributes.font->size) + ";";
        }
        if (attributes.foregroundColor.has_value())
            style += "color:" + cssColor(*attributes.foregroundColor) + ";";
        if (attributes.backgroundColor.has_value())
            style += "background-color:" + cssColor(*attributes.backgroundColor) + ";";
        if (!style.empty())
            open("span", " style=\"" + style + "\"");
        if (attributes.font.has_value() && attributes.font->bold)
            open("b");
        if (attributes.font.has_value() && attributes.font->italic)
            open("i");
        if (attributes.underlineStyle != 0)
            open("u", attributes.underlineStyle == 9 ? " style=\"text-decoration:underline double\""
                                                     : "");
        if (attributes.strikethroughStyle != 0)
            open("s");
        if (attributes.superscript != 0)
            open(attributes.superscript > 0 ? "sup" : "sub");
    }

    void writeCharacters(const Range& range, std::uint64_t lineEnd,
                         const TextAttachment* attachment) {
        const StringView string = text_.string();
        for (std::uint64_t i = range.location; i < range.end(); ++i) {
            const char16_t c = string[i];
            const bool wasAfterBlank = std::exchange(afterBlank_, c == u' ');
            if (c == AttachmentCharacter && attachment != nullptr) {
                writeImage(*attachment);
            } else if (c == u' ') {
                const bool isKept = !wasAfterBlank && i + 1 < lineEnd && string[i + 1] != u' ' &&
                                    !isBreak(string[i + 1]);
                if (isKept || isExcluded("span"))
                    out_ += isKept ? " " : "&nbsp;";
                else
                    out_ += "<span class=\"Apple-converted-space\">&nbsp;</span>";
            } else if (isBreak(c)) {
                lineBreak();
                afterBlank_ = true;
            } else if (c == u'\t') {
                out_ += isExcluded("span")
                            ? "\t"
                            : "<span class=\"Apple-tab-span\" style=\"white-space:pre\">\t</span>";
            } else {
                const bool isPair =
                    isHighSurrogate(c) && i + 1 < range.end() && isLowSurrogate(string[i + 1]);
                out_ += escaped(string.substr(i, isPair ? 2 : 1));
                i += isPair ? 1 : 0;
            }
        }
    }

    static bool isBreak(char16_t c) { return c == u'\u2028' || c == u'\f' || c == u'\v'; }

    void writeImage(const TextAttachment& attachment) {
        if (isExcluded("img"))
            return;
        // Always this media type: readers go by the bytes.
        out_ += "<img src=\"data:image/png;base64," + base64FromBytes(attachment.contents) +
                "\" alt=\"" + escaped(attachment.preferredFilename) + "\">";
    }

    static std::string escaped(StringView text) {
        String result;
        for (const char16_t c : text) {
            if (c == u'&')
                result += u"&amp;";
            else if (c == u'<')
                result += u"&lt;";
            else if (c == u'>')
                result += u"&gt;";
            else if (c == u'"')
                result += u"&quot;";
            else if (c == u'\u00A0')
                result += u"&nbsp;";
            else if (c >= 0x20 && c != 0x7F)
                result.push_back(c);
        }
        return toUTF8(result);
    }

    const AttributedString& text_;
    std::vector<std::string> excluded_;
    std::vector<TextParagraph> paragraphs_;
    std::vector<std::string_view> opened_;
    std::string out_;
    /// The run that was written last, and where it begins.
    std::size_t run_ = 0;
    std::uint64_t runStart_ = 0;
    /// At the start of a line, or behind a blank: where HTML drops another one.
    bool afterBlank_ = true;
};

} // namespace

std::vector<String> defaultExcludedTags() {
    return {u"doctype", u"html", u"head", u"body", u"xml"};
}

std::string htmlData(const AttributedString& text, const std::vector<String>& excludedTags) {
    return HTMLWriter(text, excludedTags).write();
}

std::string htmlData(const AttributedString& text) {
    return htmlData(text, defaultExcludedTags());
}

String htmlString(const AttributedString& text, const std::vector<String>& excludedTags) {
    return fromUTF8(htmlData(text, excludedTags));
}

String htmlString(const AttributedString& text) {
    return htmlString(text, defaultExcludedTags());
}

} // namespace dresk
