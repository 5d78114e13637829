#include "Foundation/XCDUUID.h"

#include <cstdlib>

#include <unistd.h>

#include "Foundation/StringNumbers.h"

namespace dresk {

namespace {

constexpr StringView HexDigits = u"0123456789ABCDEF";

bool isHyphenPosition(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

} // namespace

XCDUUID::XCDUUID() : bytes_{} {
    if (getentropy(bytes_.data(), bytes_.size()) != 0)
        std::abort(); // cannot fail for so few bytes
    bytes_[6] = static_cast<std::uint8_t>((bytes_[6] & 0x0F) | 0x40);
    bytes_[8] = static_cast<std::uint8_t>((bytes_[8] & 0x3F) | 0x80);
}

std::optional<XCDUUID> XCDUUID::initWithUUIDString(StringView text) {
    if (text.size() != 36)
        return std::nullopt;
    Bytes bytes{};
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isHyphenPosition(i)) {
            if (text[i] != u'-')
                return std::nullopt;
            continue;
        }
        const int value = hexDigitValue(text[i]);
        if (value < 0)
            return std::nullopt;
        auto& byte = bytes[nibble / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
        ++nibble;
    }
    return XCDUUID(bytes);
}

String XCDUUID::UUIDString() const {
    String text;
    text.reserve(36);
    for (const std::uint8_t byte : bytes_) {
        if (isHyphenPosition(text.size()))
            text.push_back(u'-');
        text.push_back(HexDigits[byte >> 4]);
        text.push_back(HexDigits[byte & 15]);
    }
    return text;
}

} // namespace dresk
