#include "Foundation/HTMLBytes.h"

#include <algorithm>

#include "Foundation/Base64.h"
#include "Foundation/StringNumbers.h"
#include "Foundation/TextDecoder.h"

namespace dresk {

namespace {

using namespace std::string_view_literals;

/// The encoding stands near the beginning, as browsers expect it.
constexpr std::size_t EncodingSearchLength = 4096;
constexpr std::size_t MaximumAttributes = 2000;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

std::string lowercased(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return result;
}

/// The value behind "charset=" in a meta element; empty if there is none.
std::string namedEncoding(std::string_view bytes) {
    const std::string head = lowercased(bytes.substr(0, EncodingSearchLength));
    for (std::size_t meta = head.find("<meta"); meta != std::string::npos;
         meta = head.find("<meta", meta + 1)) {
        const std::string_view element =
            std::string_view(head).substr(meta, head.find('>', meta) - meta);
        std::size_t start = element.find("charset");
        if (start == std::string_view::npos)
            continue;
        start = element.find_first_not_of(" \t\r\n=\"'"sv, start + 7);
        if (start == std::string_view::npos)
            continue;
        return std::string(
            element.substr(start, element.find_first_of(" \t\r\n\"';/>"sv, start) - start));
    }
    return {};
}

/// UTF-8 with whatever zero bytes there are.
std::string decode(std::string_view bytes) {
    TextDecoder decoder;
    const auto decoded = [&](std::string_view text, const char* encoding) {
        return toUTF8(decoder.decode(text, encoding).value_or(String()));
    };
    if (bytes.starts_with("\xEF\xBB\xBF"sv))
        return toUTF8(fromUTF8(bytes.substr(3)));
    if (bytes.starts_with("\xFF\xFE"sv))
        return decoded(bytes.substr(2), "UTF-16LE");
    if (bytes.starts_with("\xFE\xFF"sv))
        return decoded(bytes.substr(2), "UTF-16BE");
    if (bytes.starts_with("<\0"sv))
        return decoded(bytes, "UTF-16LE");
    if (bytes.starts_with("\0<"sv))
        return decoded(bytes, "UTF-16BE");
    std::string encoding = namedEncoding(bytes);
    // Names that browsers take for something else. What names UTF-16 in single bytes is mistaken.
    if (encoding.starts_with("iso-8859-1") && encoding.size() == 10)
        encoding = "windows-1252";
    else if (encoding.starts_with("utf-"))
        encoding.clear();
    if (!encoding.empty())
        if (auto text = decoder.decode(bytes, encoding))
            return toUTF8(*text);
    if (fromValidUTF8(bytes).has_value())
        return std::string(bytes);
    return toUTF8(decoder.decode(bytes, TextDecoder::WesternEuropean));
}

std::string withoutPercentEscapes(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexDigitValue(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigitValue(text[i + 2]) : -1;
        result.push_back(low >= 0 ? static_cast<char>(high << 4 | low) : text[i]);
        i += low >= 0 ? 2 : 0;
    }
    return result;
}

} // namespace

std::string decodeHTMLBytes(std::string_view bytes) {
    std::string text = decode(bytes);
    std::erase(text, '\0');
    return text;
}

bool hasExcessiveAttributes(std::string_view html) {
    for (std::size_t i = html.find('<'); i != std::string_view::npos; i = html.find('<', i)) {
        if (i + 1 >= html.size() || lowercased(html.substr(i + 1, 1)) < "a") {
            ++i; // no element
            continue;
        }
        std::size_t names = 0;
        char before = '<';
        for (++i; i < html.size() && html[i] != '>'; ++i) {
            const char c = html[i];
            if ((c == '"' || c == '\'') && before == '=')
                i = std::min(html.find(c, i + 1), html.size() - 1);
            if (isBlank(c) || c == '/' || c == '"' || c == '\'')
                ++names; // at most one begins behind each of these
            before = isBlank(c) ? before : c;
        }
        if (names > MaximumAttributes)
            return true;
    }
    return false;
}

std::optional<std::string> bytesOfDataURL(std::string_view url) {
    const std::size_t comma = url.find(',');
    if (comma == std::string_view::npos || lowercased(url.substr(0, 5)) != "data:")
        return std::nullopt;
    const std::string type = lowercased(url.substr(0, comma));
    const std::string_view data = url.substr(comma + 1);
    if (!type.ends_with(";base64"))
        return withoutPercentEscapes(data);
    return data.find('%') == std::string_view::npos ? bytesFromBase64(data)
                                                    : bytesFromBase64(withoutPercentEscapes(data));
}

} // namespace dresk
