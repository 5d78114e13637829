#include "Foundation/Base64.h"

#include <array>
#include <cstdint>

namespace dresk {

namespace {

constexpr std::string_view Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t NoDigit = 255;

constexpr std::array<std::uint8_t, 256> digitValues() {
    std::array<std::uint8_t, 256> values{};
    values.fill(NoDigit);
    for (std::size_t i = 0; i < Digits.size(); ++i)
        values[static_cast<std::uint8_t>(Digits[i])] = static_cast<std::uint8_t>(i);
    return values;
}

} // namespace

std::string base64FromBytes(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = i; k < i + 3; ++k)
            group = group << 8 | (k < bytes.size() ? static_cast<std::uint8_t>(bytes[k]) : 0U);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text.push_back(digit <= bytes.size() - i ? Digits[group >> (18 - 6 * digit) & 63]
                                                     : '=');
    }
    return text;
}

std::optional<std::string> bytesFromBase64(std::string_view text) {
    static constexpr std::array<std::uint8_t, 256> Values = digitValues();
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t group = 0;
    unsigned bits = 0;
    bool padded = false;
    for (const char c : text) {
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\f')
            continue;
        const std::uint8_t value = Values[static_cast<std::uint8_t>(c)];
        padded = padded || c == '=';
        if (c == '=')
            continue;
        if (padded || value == NoDigit)
            return std::nullopt;
        group = group << 6 | value;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<char>(group >> bits & 0xFF));
        }
    }
    if (bits == 6)
        return std::nullopt; // a single digit holds no byte
    return bytes;
}

} // namespace dresk
