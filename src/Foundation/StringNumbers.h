#pragma once

#include "Foundation/String.h"

namespace dresk {

/// The leading integer of a text, behind white space and with an optional sign; 0 without one. What
/// does not fit becomes the nearest integer that does.
std::int64_t integerValue(StringView text);

/// The leading decimal number of a text, with a point whatever the locale, behind white space and
/// with an optional sign; 0 without one. What does not fit becomes an infinity or 0.
double doubleValue(StringView text);

/// Reads a number as C reads it in its own locale: decimal, or hexadecimal behind "0x". `length`
/// receives the characters used; 0, with the value 0, when no number stands there. No sign, no
/// infinity, no NaN.
double unsignedNumberAt(std::string_view text, std::size_t& length);

/// The value of a hexadecimal digit of either case; -1 for anything else.
int hexDigitValue(char16_t unit);

} // namespace dresk
