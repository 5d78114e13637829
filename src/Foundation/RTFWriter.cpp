#include <algorithm>
#include <cmath>

#include "Foundation/RTF.h"
#include "Foundation/TextAttributes.h"

namespace dresk {

namespace {


/// Writes text and runs; the tables in the header are collected on the way.
class RTFWriter {
  public:
    /// `files` receives the attachments; null leaves them out.
    explicit RTFWriter(FileWrapper* files) : files_(files) {}

    std::string write(const AttributedString& text) {
        std::uint64_t start = 0;
        for (const AttributedString::Run& run : text.runs()) {
            appendRun(StringView(text.string()).substr(start, run.length), run.attributes);
            start += run.length;
        }
        return header() + body_ + "}";
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
        std::string words = "\\pard";
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
        words += colorWord("\\cf", attributes.foregroundColor);
        words += colorWord("\\cb", attributes.backgroundColor);
        return words + " ";
    }

    void appendRun(StringView text, const AttributedString::Attributes& attributes) {
        const TextAttributes& own = attributes != nullptr ? *attributes : none_;
        if (own.link.has_value())
            body_ +=
                "{\\field{\\*\\fldinst{HYPERLINK \"" + escaped(*own.link, true) + "\"}}{\\fldrslt ";
        body_ += "{" + format(own);
        std::size_t start = 0;
        for (std::size_t i = text.find(AttachmentCharacter);
             own.attachment != nullptr && files_ != nullptr && i != StringView::npos;
             i = text.find(AttachmentCharacter, start)) {
            body_ += escaped(text.substr(start, i - start), false);
            body_ += "{{\\NeXTGraphic " + escaped(addFile(*own.attachment), false) +
                     " \\width0 \\height0}\xAC}";
            start = i + 1;
        }
        body_ += escaped(text.substr(start), false) + "}";
        if (own.link.has_value())
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
        static constexpr const char* Hex = "0123456789abcdef";
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
    std::vector<std::string> fonts_;
    std::vector<std::string> colors_;
    std::string body_;
    const TextAttributes none_;
};

} // namespace

std::string RTFFromAttributedString(const AttributedString& text) {
    return RTFWriter(nullptr).write(text);
}

std::string RTFDFromAttributedString(const AttributedString& text) {
    FileWrapper document;
    document.isDirectory = true;
    std::string rtf = RTFWriter(&document).write(text);
    FileWrapper file;
    file.preferredFilename = u"TXT.rtf";
    file.contents = std::move(rtf);
    document.children.insert(document.children.begin(), std::move(file));
    return document.serializedRepresentation();
}

} // namespace dresk
