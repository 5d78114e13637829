#include <algorithm>
#include <cmath>

#include "Foundation/ImageInfo.h"
#include "Foundation/RTF.h"
#include "Foundation/TextParagraphs.h"

namespace dresk {

namespace {

constexpr const char* Hex = "0123456789abcdef";
/// Width that a table takes where its reader knows no percentages: 6.25 inches.
constexpr double TableTwips = 9000;

/// Writes text and runs; the tables in the header are collected on the way.
class RTFWriter {
  public:
    /// `files` receives the attachments; null leaves them out.
    explicit RTFWriter(FileWrapper* files) : files_(files) {}

    std::string write(const AttributedString& text, const std::optional<String>& title) {
        const bool hasTables =
            std::any_of(text.runs().begin(), text.runs().end(),
                        [](const auto& run) { return blockOf(run.attributes) != nullptr; });
        if (hasTables)
            appendParagraphs(text);
        else
            appendRange(text, {0, text.length()});
        const std::string info =
            title.has_value() ? "{\\info{\\title " + escaped(*title, true) + "}}\n" : "";
        return header() + info + body_ + "}";
    }

  private:
    std::string header() const {
        std::string out = "{\\rtf1\\ansi\\ansicpg1252\n{\\fonttbl";
        for (std::size_t i = 0; i < fonts_.size(); ++i)
            out += "\\f" + std::to_string(i) + "\\fnil\\fcharset0 " + fonts_[i] + ";";
        out += "}\n{\\colortbl;";
        for (const std::string& color : colors_)
            out += color + ";";
        return out + "}\n";
    }

    static const TextTableBlock* blockOf(const AttributedString::Attributes& attributes) {
        const TextTableBlock* block = attributes != nullptr ? attributes->textBlock.get() : nullptr;
        return block != nullptr && block->table != nullptr ? block : nullptr;
    }

    /// Ranges come in the order of the text.
    void appendRange(const AttributedString& text, const Range& range) {
        std::uint64_t position = range.location;
        while (position < range.end()) {
            while (runStart_ + text.runs()[run_].length <= position)
                runStart_ += text.runs()[run_++].length;
            const AttributedString::Run& run = text.runs()[run_];
            const std::uint64_t end = std::min(range.end(), runStart_ + run.length);
            appendRun(StringView(text.string()).substr(position, end - position), run.attributes);
            position = end;
        }
    }

    void appendParagraphs(const AttributedString& text) {
        const std::vector<TextParagraph> paragraphs = paragraphsOfText(text);
        std::size_t i = 0;
        while (i < paragraphs.size()) {
            if (blockOf(paragraphs[i].attributes) != nullptr) {
                const std::size_t last = tableEnd(paragraphs, i);
                appendTable(text, paragraphs, i, last);
                i = last;
                continue;
            }
            const std::uint64_t start = paragraphs[i].range.location;
            std::uint64_t end = start;
            for (; i < paragraphs.size() && blockOf(paragraphs[i].attributes) == nullptr; ++i)
                end = paragraphs[i].end;
            appendRange(text, {start, end - start});
        }
    }

    void appendTable(const AttributedString& text, const std::vector<TextParagraph>& paragraphs,
                     std::size_t first, std::size_t last) {
        const std::vector<double> widths = tableColumnWidths(paragraphs, first, last);
        const bool isFixed = blockOf(paragraphs[first].attributes)->table->layoutAlgorithm ==
                             TextTable::LayoutAlgorithm::Fixed;
        for (std::size_t i = first; i < last;) {
            const std::vector<TextTableCell> cells = tableRowCells(paragraphs, i);
            const std::vector<RowCell> row = rowCells(cells, widths);
            body_ += std::string("\\trowd\\trgaph0") + (isFixed ? "\\trautofit0" : "") +
                     "\\trftsWidth2\\trwWidth5000\n";
            for (const RowCell& cell : row)
                body_ += cellDefinition(cell);
            for (const RowCell& cell : row)
                appendCell(text, paragraphs, cell.content);
            body_ += "\\row\n";
            i = cells.back().last;
        }
    }

    /// A cell of a row; one without content fills a column that the text leaves out.
    struct RowCell {
        const TextTableCell* content;
        /// Percent of the table's width, its own and that up to its right edge.
        double width;
        double edge;
    };

    static std::vector<RowCell> rowCells(const std::vector<TextTableCell>& cells,
                                         const std::vector<double>& widths) {
        std::vector<RowCell> row;
        double edge = 0;
        std::size_t column = 0;
        const auto add = [&](const TextTableCell* content, std::size_t end) {
            const double start = edge;
            while (column < std::min(end, widths.size()))
                edge += widths[column++];
            // What lies beyond the last column still needs a place of its own.
            edge = std::max(edge, start + 1);
            row.push_back({content, edge - start, edge});
        };
        for (const TextTableCell& cell : cells) {
            const auto start = static_cast<std::size_t>(std::max(0, cell.block->startingColumn));
            while (column < std::min(start, widths.size()))
                add(nullptr, column + 1);
            add(&cell, column + static_cast<std::size_t>(std::max(1, cell.block->columnSpan)));
        }
        while (column < widths.size())
            add(nullptr, column + 1);
        return row;
    }

    static std::string cellDefinition(const RowCell& cell) {
        const double points = cell.content != nullptr ? cell.content->block->padding : 0;
        const std::string padding = std::to_string(twips(points));
        std::string words = "\\clvertalt";
        for (const char* side : {"l", "t", "r", "b"})
            words += std::string("\\clpadf") + side + "3\\clpad" + side + padding;
        // Fiftieths of a percent, and a place on a page of ordinary width.
        words += "\\clftsWidth2\\clwWidth" + std::to_string(std::lround(50 * cell.width));
        return words + "\\cellx" + std::to_string(std::lround(cell.edge * TableTwips / 100)) + "\n";
    }

    void appendCell(const AttributedString& text, const std::vector<TextParagraph>& paragraphs,
                    const TextTableCell* cell) {
        if (cell == nullptr) {
            body_ += "{\\pard\\intbl\\cell}";
            return;
        }
        const std::uint64_t start = paragraphs[cell->first].range.location;
        const TextParagraph& last = paragraphs[cell->last - 1];
        appendRange(text, {start, last.range.end() - start});
        body_ += "{" + format(*last.attributes) + "\\cell}";
    }

    static long twips(double points) {
        return std::isfinite(points) ? std::lround(std::clamp(points, -1500.0, 1500.0) * 20) : 0;
    }

    static std::size_t place(std::vector<std::string>& table, std::string entry) {
        const auto found = std::find(table.begin(), table.end(), entry);
        const auto index = static_cast<std::size_t>(found - table.begin());
        if (found == table.end())
            table.push_back(std::move(entry));
        return index;
    }

    static std::string component(const char* name, double value) {
        const double clamped = std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0;
        return std::string("\\") + name + std::to_string(std::lround(clamped * 255));
    }

    std::string colorWord(const char* word, const std::optional<TextColor>& color) {
        if (!color.has_value())
            return {};
        const std::size_t index =
            place(colors_, component("red", color->red) + component("green", color->green) +
                               component("blue", color->blue));
        return word + std::to_string(index + 1);
    }

    std::string format(const TextAttributes& attributes) {
        const bool isInTable =
            attributes.textBlock != nullptr && attributes.textBlock->table != nullptr;
        std::string words = isInTable ? "\\pard\\intbl" : "\\pard";
        if (attributes.headIndent != 0)
            words += "\\li" + std::to_string(twips(attributes.headIndent));
        if (attributes.firstLineHeadIndent != attributes.headIndent)
            words += "\\fi" +
                     std::to_string(twips(attributes.firstLineHeadIndent - attributes.headIndent));
        switch (attributes.alignment.value_or(TextAlignment::Natural)) {
        case TextAlignment::Left:
            words += "\\ql";
            break;
        case TextAlignment::Right:
            words += "\\qr";
            break;
        case TextAlignment::Center:
            words += "\\qc";
            break;
        case TextAlignment::Justified:
            words += "\\qj";
            break;
        case TextAlignment::Natural:
            break;
        }
        if (attributes.font.has_value()) {
            const double size = attributes.font->size;
            const double halfPoints = std::isfinite(size) ? std::clamp(2 * size, 1.0, 9999.0) : 24;
            words += "\\f" + std::to_string(place(fonts_, escaped(attributes.font->name, true)));
            words += "\\fs" + std::to_string(std::lround(halfPoints));
            words += attributes.font->bold ? "\\b" : "";
            words += attributes.font->italic ? "\\i" : "";
        }
        if (attributes.underlineStyle != 0)
            words += attributes.underlineStyle == 9 ? "\\uldb" : "\\ul";
        if (attributes.strikethroughStyle != 0)
            words += attributes.strikethroughStyle == 9 ? "\\striked1" : "\\strike";
        if (attributes.superscript != 0)
            words += attributes.superscript > 0 ? "\\super" : "\\sub";
        words += colorWord("\\cf", attributes.foregroundColor);
        // Readers know the one or the other.
        words += colorWord("\\cb", attributes.backgroundColor);
        words += colorWord("\\chcbpat", attributes.backgroundColor);
        return words + " ";
    }

    void appendRun(StringView text, const AttributedString::Attributes& attributes) {
        const TextAttributes& own = attributes != nullptr ? *attributes : none_;
        if (own.link.has_value())
            body_ +=
                "{\\field{\\*\\fldinst{HYPERLINK \"" + escaped(*own.link, true) + "\"}}{\\fldrslt ";
        body_ += "{" + format(own);
        std::size_t start = 0;
        const bool isPicture = own.attachment != nullptr && isEmbeddable(*own.attachment);
        for (std::size_t i = text.find(AttachmentCharacter);
             own.attachment != nullptr && (files_ != nullptr || isPicture) && i != StringView::npos;
             i = text.find(AttachmentCharacter, start)) {
            body_ += escaped(text.substr(start, i - start), false);
            if (files_ != nullptr)
                body_ += "{{\\NeXTGraphic " + escaped(addFile(*own.attachment), false) +
                         " \\width0 \\height0}\xAC}";
            else
                appendPicture(own.attachment->contents);
            start = i + 1;
        }
        body_ += escaped(text.substr(start), false) + "}";
        if (own.link.has_value())
            body_ += "}}";
    }

    static bool isEmbeddable(const TextAttachment& attachment) {
        const ImageFormat format = imageInfo(attachment.contents).format;
        return format == ImageFormat::PNG || format == ImageFormat::JPEG;
    }

    void appendPicture(const std::string& contents) {
        static constexpr std::uint32_t LargestSide = 10'000;
        static constexpr std::uint32_t TwipsPerPixel = 15;
        const ImageInfo info = imageInfo(contents);
        body_ += "{\\*\\shppict{\\pict";
        body_ += info.format == ImageFormat::PNG ? "\\pngblip" : "\\jpegblip";
        for (const auto& [side, pixels] : {std::pair("w", info.width), std::pair("h", info.height)})
            if (pixels > 0 && pixels <= LargestSide)
                body_ += std::string("\\pic") + side + std::to_string(pixels) + "\\pic" + side +
                         "goal" + std::to_string(pixels * TwipsPerPixel);
        body_ += '\n';
        body_.reserve(body_.size() + 2 * contents.size());
        for (const char c : contents) {
            body_ += Hex[static_cast<std::uint8_t>(c) >> 4];
            body_ += Hex[static_cast<std::uint8_t>(c) & 15];
        }
        body_ += "}}";
    }

    /// Adds the file under a name that no other has, and returns that name.
    String addFile(const TextAttachment& attachment) {
        String name = attachment.preferredFilename.empty() ? String(u"Attachment")
                                                           : attachment.preferredFilename;
        for (char16_t& c : name)
            c = c < 0x20 || c == u'/' ? u'-' : c;
        const String base = name;
        for (int number = 2; files_->child(name) != nullptr || name == u"TXT.rtf"; ++number)
            name = fromUTF8(std::to_string(number)) + u"-" + base;
        FileWrapper file;
        file.preferredFilename = name;
        file.contents = attachment.contents;
        files_->children.push_back(std::move(file));
        return name;
    }

    /// `isName` leaves out what would end a name in a table.
    static std::string escaped(StringView text, bool isName) {
        std::string out;
        for (const char16_t c : text) {
            if (isName && (c == u';' || c == u'"' || c < 0x20))
                continue;
            if (c == u'\\' || c == u'{' || c == u'}') {
                out.push_back('\\');
                out.push_back(static_cast<char>(c));
            } else if (c == u'\n') {
                out += "\\par\n";
            } else if (c == u'\t') {
                out += "\\tab ";
            } else if (c == u'\u2028') {
                out += "\\line ";
            } else if (c < 0x20) {
                out += {'\\', '\'', Hex[c >> 4], Hex[c & 15]};
            } else if (c < 0x7F) {
                out.push_back(static_cast<char>(c));
            } else {
                out += "\\uc0\\u" + std::to_string(static_cast<std::int16_t>(c)) + " ";
            }
        }
        return out;
    }

    FileWrapper* files_;
    /// The run that was written last, and where it begins.
    std::size_t run_ = 0;
    std::uint64_t runStart_ = 0;
    std::vector<std::string> fonts_;
    std::vector<std::string> colors_;
    std::string body_;
    const TextAttributes none_;
};

} // namespace

std::string RTFFromAttributedString(const AttributedString& text,
                                    const std::optional<String>& title) {
    return RTFWriter(nullptr).write(text, title);
}

std::string RTFDFromAttributedString(const AttributedString& text) {
    FileWrapper document;
    document.isDirectory = true;
    std::string rtf = RTFWriter(&document).write(text, std::nullopt);
    FileWrapper file;
    file.preferredFilename = u"TXT.rtf";
    file.contents = std::move(rtf);
    document.children.insert(document.children.begin(), std::move(file));
    return document.serializedRepresentation();
}

} // namespace dresk
