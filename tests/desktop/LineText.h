#pragma once

#include <string>
#include <string_view>

namespace dresk {

/// Makes one line of any text: backslash, tab, line feed and carriage return become \\ \t \n \r.
std::string escapeToLine(std::string_view text);

/// The way back. An unknown escape stands for the character behind the backslash.
std::string unescapeLine(std::string_view line);

} // namespace dresk
