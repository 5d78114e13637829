#include "Foundation/String.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace dresk {

namespace {

/// False at the first ill-formed sequence if those are not to become U+FFFD.
bool appendUTF8(String& text, std::string_view bytes, bool isReplacing) {
    text.reserve(bytes.size());
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto size = static_cast<std::int64_t>(bytes.size());
    for (std::int64_t i = 0; i < size;) {
        UChar32 codePoint = 0;
        U8_NEXT(data, i, size, codePoint);
        if (codePoint < 0 && !isReplacing)
            return false;
        appendCodePoint(text, codePoint < 0 ? 0xFFFD : static_cast<char32_t>(codePoint));
    }
    return true;
}

} // namespace

String fromUTF8(std::string_view bytes) {
    String text;
    appendUTF8(text, bytes, true);
    return text;
}

std::optional<String> fromValidUTF8(std::string_view bytes) {
    String text;
    return appendUTF8(text, bytes, false) ? std::optional(std::move(text)) : std::nullopt;
}

std::string toUTF8(StringView text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint point = codePointAt(text, i);
        i += point.length;
        const char32_t value = U_IS_SURROGATE(point.value) ? 0xFFFD : point.value;
        std::uint8_t buffer[U8_MAX_LENGTH];
        int length = 0;
        U8_APPEND_UNSAFE(buffer, length, value);
        bytes.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length));
    }
    return bytes;
}

void appendCodePoint(String& text, char32_t codePoint) {
    if (codePoint <= 0xFFFF) {
        text.push_back(static_cast<char16_t>(codePoint));
    } else {
        text.push_back(U16_LEAD(codePoint));
        text.push_back(U16_TRAIL(codePoint));
    }
}

CodePoint codePointAt(StringView text, std::size_t index) {
    const char16_t unit = text[index];
    if (isHighSurrogate(unit) && index + 1 < text.size() && isLowSurrogate(text[index + 1]))
        return {static_cast<char32_t>(U16_GET_SUPPLEMENTARY(unit, text[index + 1])), 2};
    return {unit, 1};
}

} // namespace dresk
