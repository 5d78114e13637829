#pragma once

#include <vector>

#include "Foundation/String.h"

namespace dresk {

/// The one pair of Unicode functions that matching and the records share: lower-casing and
/// comparison. Both are independent of the locale. Any thread.

/// Lower-cases with the full Unicode mapping, so the length can change.
String lowercaseString(StringView text);

/// Upper-cases with the full Unicode mapping ("ß" becomes "SS").
String uppercaseString(StringView text);

enum class CompareOptions { Exact, CaseInsensitive };

/// Whether two texts are equal; without case by simple case folding, unit lengths included.
bool equalStrings(StringView a, StringView b, CompareOptions options);

/// Replaces `folded` by the text with its case folded away, unit for unit: two texts are equal
/// without case exactly if these are equal.
void foldCase(StringView text, String& folded);

/// Order of two texts without case, by code units: negative, 0 or positive.
int compareCaseInsensitive(StringView a, StringView b);

/// Every occurrence of `needle`, left to right, each search starting behind the last hit. An empty
/// needle occurs nowhere.
std::vector<Range> rangesOfString(StringView text, StringView needle, CompareOptions options);

/// First occurrence at or after `from`, or a range at NotFound with length 0.
Range rangeOfString(StringView text, StringView needle, CompareOptions options,
                    std::uint64_t from = 0);

/// Hash of a text that is lower-cased already. Units are taken from the last to the first, so that
/// the hash of a suffix grows by one step for each unit to its left.
inline constexpr std::uint64_t LowercaseHashSeed = 0xCBF29CE484222325;
inline constexpr std::uint64_t lowercaseHashStep(std::uint64_t hash, char16_t unit) {
    hash = (hash ^ unit) * 0x9E3779B97F4A7C15;
    return hash ^ (hash >> 29);
}

/// Lower-cases the text, then hashes it. Stable within a process; never stored.
std::uint64_t hashOfLowercaseString(StringView text);

/// The lower-case form of a unit that always maps to exactly one unit whatever stands around it;
/// nothing for all others (surrogates, sigma, dotted capital I).
std::optional<char16_t> simpleLowercaseUnit(char16_t unit);

} // namespace dresk
