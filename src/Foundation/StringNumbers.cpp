#include "Foundation/StringNumbers.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "Foundation/CharacterSet.h"

namespace dresk {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// What may belong to a number, as ASCII, behind white space.
std::string leadingNumberCharacters(StringView text) {
    const CharacterSet& whitespace = CharacterSet::whitespaceAndNewlineCharacterSet();
    std::size_t i = 0;
    while (i < text.size() && whitespace.contains(text[i]))
        ++i;
    std::string result;
    for (; i < text.size() && StringView(u"0123456789.+-eE").find(text[i]) != StringView::npos; ++i)
        result.push_back(static_cast<char>(text[i]));
    return result;
}

// Takes a sign off the front; true for minus.
bool takeSign(std::string_view& text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    return negative;
}

// Whether a number that fits no double is too small rather than too large for one.
bool isTiny(std::string_view number, bool isHexadecimal) {
    const std::size_t mark = number.find_first_of(isHexadecimal ? "pP" : "eE");
    const std::string_view digits = number.substr(0, mark);
    std::int64_t exponent = 0;
    if (mark != std::string_view::npos)
        exponent = integerValue(fromUTF8(number.substr(mark + 1)));
    const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
    const auto significant = static_cast<std::int64_t>(digits.find_first_not_of("0."));
    const std::int64_t magnitude = (point - significant) * (isHexadecimal ? 4 : 1);
    return exponent < -magnitude;
}

double parse(const char* first, const char* last, std::chars_format format, const char*& end) {
    double value = 0;
    const auto result = std::from_chars(first, last, value, format);
    end = result.ptr;
    if (result.ec == std::errc::result_out_of_range)
        return isTiny({first, result.ptr}, format == std::chars_format::hex)
                   ? 0
                   : std::numeric_limits<double>::infinity();
    return result.ec == std::errc() ? value : 0;
}

} // namespace

std::int64_t integerValue(StringView text) {
    const std::string characters = leadingNumberCharacters(text);
    std::string_view digits = characters;
    const bool negative = takeSign(digits);
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t limit = negative ? largest + 1 : largest;
    std::uint64_t magnitude = 0;
    for (; !digits.empty() && isDigit(digits.front()); digits.remove_prefix(1)) {
        const auto digit = static_cast<std::uint64_t>(digits.front() - '0');
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
    }
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

double doubleValue(StringView text) {
    const std::string characters = leadingNumberCharacters(text);
    std::string_view number = characters;
    const bool negative = takeSign(number);
    if (number.empty() || (!isDigit(number.front()) && number.front() != '.'))
        return 0;
    const char* end = nullptr;
    const double value =
        parse(number.data(), number.data() + number.size(), std::chars_format::general, end);
    return negative ? -value : value;
}

double unsignedNumberAt(std::string_view text, std::size_t& length) {
    length = 0;
    if (text.empty() || (!isDigit(text.front()) && text.front() != '.'))
        return 0;
    const char* const last = text.data() + text.size();
    const bool isHexadecimal =
        text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
        (isHexDigit(text[2]) || (text[2] == '.' && text.size() > 3 && isHexDigit(text[3])));
    const char* const first = text.data() + (isHexadecimal ? 2 : 0);
    const char* end = nullptr;
    const double value = parse(
        first, last, isHexadecimal ? std::chars_format::hex : std::chars_format::general, end);
    if (end != first)
        length = static_cast<std::size_t>(end - text.data());
    return value;
}

int hexDigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const auto lower = static_cast<char16_t>(unit | 0x20);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

} // namespace dresk
