#include "Foundation/String.h"

#include <algorithm>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace dresk {

namespace {

/// A byte becomes one unit at most, so the text is made once. What is no UTF-8 becomes U+FFFD, or
/// makes the whole null.
std::optional<String> convertUTF8(std::string_view bytes, bool mayBeMalformed) {
    String text(bytes.size(), u'\0');
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto size = static_cast<std::int64_t>(bytes.size());
    char16_t* out = text.data();
    for (std::int64_t i = 0; i < size;) {
        if (data[i] < 0x80) {
            *out++ = data[i++];
            continue;
        }
        UChar32 codePoint = 0;
        U8_NEXT(data, i, size, codePoint);
        if (codePoint < 0) {
            if (!mayBeMalformed)
                return std::nullopt;
            codePoint = 0xFFFD;
        }
        if (codePoint > 0xFFFF) {
            *out++ = U16_LEAD(codePoint);
            *out++ = U16_TRAIL(codePoint);
        } else {
            *out++ = static_cast<char16_t>(codePoint);
        }
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
    return text;
}

} // namespace

String fromUTF8(std::string_view bytes) {
    return std::move(*convertUTF8(bytes, true));
}

std::optional<String> fromValidUTF8(std::string_view bytes) {
    return convertUTF8(bytes, false);
}

std::string toUTF8(StringView text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t start = i;
        while (i < text.size() && text[i] < 0x80)
            ++i;
        if (i > start) {
            bytes.resize(bytes.size() + (i - start));
            std::transform(text.begin() + static_cast<std::ptrdiff_t>(start),
                           text.begin() + static_cast<std::ptrdiff_t>(i),
                           bytes.end() - static_cast<std::ptrdiff_t>(i - start),
                           [](char16_t unit) { return static_cast<char>(unit); });
            continue;
        }
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
