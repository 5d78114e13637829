#include "Foundation/Unicode.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace dresk {

namespace {

using CaseMapping = int32_t (*)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*);

String mapCase(StringView text, CaseMapping mapping) {
    String result(text.size() + 8, u'\0');
    for (;;) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length = mapping(result.data(), static_cast<int32_t>(result.size()),
                                       text.data(), static_cast<int32_t>(text.size()), "", &status);
        const bool fits = static_cast<std::size_t>(length) <= result.size();
        if (!fits && status == U_BUFFER_OVERFLOW_ERROR) {
            result.resize(static_cast<std::size_t>(length));
            continue;
        }
        if (U_FAILURE(status))
            return String(text);
        result.resize(static_cast<std::size_t>(length));
        return result;
    }
}

bool isASCII(StringView text) {
    for (const char16_t unit : text)
        if (unit >= 0x80)
            return false;
    return true;
}

char16_t foldASCII(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

/// A code point folded, where that leaves its length in units as it is.
char32_t foldCodePoint(CodePoint point) {
    const auto folded =
        static_cast<char32_t>(u_foldCase(static_cast<UChar32>(point.value), U_FOLD_CASE_DEFAULT));
    return U16_LENGTH(folded) == point.length ? folded : point.value;
}

bool equalFolded(StringView a, StringView b) {
    for (std::size_t i = 0; i < a.size();) {
        if (a[i] < 0x80 && b[i] < 0x80) {
            if (foldASCII(a[i]) != foldASCII(b[i]))
                return false;
            ++i;
            continue;
        }
        const CodePoint pointA = codePointAt(a, i);
        const CodePoint pointB = codePointAt(b, i);
        if (pointA.length != pointB.length || foldCodePoint(pointA) != foldCodePoint(pointB))
            return false;
        i += pointA.length;
    }
    return true;
}

} // namespace

String lowercaseString(StringView text) {
    if (isASCII(text)) {
        String result(text);
        for (char16_t& unit : result)
            unit = foldASCII(unit);
        return result;
    }
    return mapCase(text, u_strToLower);
}

String uppercaseString(StringView text) {
    return mapCase(text, u_strToUpper);
}

bool equalStrings(StringView a, StringView b, CompareOptions options) {
    if (a.size() != b.size())
        return false;
    return options == CompareOptions::Exact ? a == b : equalFolded(a, b);
}

void foldCase(StringView text, String& folded) {
    folded.assign(text);
    for (std::size_t i = 0; i < folded.size();) {
        if (folded[i] < 0x80) {
            folded[i] = foldASCII(folded[i]);
            ++i;
            continue;
        }
        const CodePoint point = codePointAt(folded, i);
        const char32_t value = foldCodePoint(point);
        if (point.length == 1) {
            folded[i] = static_cast<char16_t>(value);
        } else {
            folded[i] = U16_LEAD(value);
            folded[i + 1] = U16_TRAIL(value);
        }
        i += point.length;
    }
}

int compareCaseInsensitive(StringView a, StringView b) {
    String foldedA;
    String foldedB;
    foldCase(a, foldedA);
    foldCase(b, foldedB);
    return foldedA.compare(foldedB);
}

Range rangeOfString(StringView text, StringView needle, CompareOptions options,
                    std::uint64_t from) {
    if (!needle.empty())
        for (std::size_t i = from; i + needle.size() <= text.size(); ++i)
            if (equalStrings(text.substr(i, needle.size()), needle, options))
                return {i, needle.size()};
    return {NotFound, 0};
}

std::vector<Range> rangesOfString(StringView text, StringView needle, CompareOptions options) {
    std::vector<Range> ranges;
    Range range = rangeOfString(text, needle, options);
    while (range.location != NotFound) {
        ranges.push_back(range);
        range = rangeOfString(text, needle, options, range.end());
    }
    return ranges;
}

std::uint64_t hashOfLowercaseString(StringView text) {
    const String lower = lowercaseString(text);
    std::uint64_t hash = LowercaseHashSeed;
    for (std::size_t i = lower.size(); i-- > 0;)
        hash = lowercaseHashStep(hash, lower[i]);
    return hash;
}

std::optional<char16_t> simpleLowercaseUnit(char16_t unit) {
    constexpr char16_t capitalSigma = 0x03A3;
    constexpr char16_t dottedCapitalI = 0x0130;
    if (unit < 0x80)
        return foldASCII(unit);
    if (U16_IS_SURROGATE(unit) || unit == capitalSigma || unit == dottedCapitalI)
        return std::nullopt;
    return static_cast<char16_t>(u_tolower(unit));
}

} // namespace dresk
