#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dresk {

/// Text of the logic: a sequence of 16-bit code units. Every length, index and count is in such
/// units. Lone surrogates are allowed and survive everything but conversion to UTF-8.
using String = std::u16string;
using StringView = std::u16string_view;

/// Location of something that was not found.
inline constexpr std::uint64_t NotFound = 0x7FFFFFFFFFFFFFFF;

/// A stretch of text, in 16-bit units.
struct Range {
    std::uint64_t location = 0;
    std::uint64_t length = 0;

    std::uint64_t end() const { return location + length; }
    friend bool operator==(const Range&, const Range&) = default;
};

/// Converts at an edge of the program. Malformed UTF-8 becomes U+FFFD, one for each bad sequence.
String fromUTF8(std::string_view bytes);

/// The same, but null for malformed UTF-8.
std::optional<String> fromValidUTF8(std::string_view bytes);

/// Converts at an edge of the program. A lone surrogate becomes U+FFFD.
std::string toUTF8(StringView text);

/// Appends one Unicode scalar value, as a surrogate pair where it needs one.
void appendCodePoint(String& text, char32_t codePoint);

/// The code point that starts at `index`, and its length in units (1 or 2). A lone surrogate is
/// returned as it is, with length 1. `index` must lie inside `text`.
struct CodePoint {
    char32_t value;
    unsigned length;
};
CodePoint codePointAt(StringView text, std::size_t index);

inline constexpr bool isHighSurrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xD800;
}
inline constexpr bool isLowSurrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

} // namespace dresk
