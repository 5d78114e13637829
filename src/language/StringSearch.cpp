#include "language/StringSearch.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace dresk {

StringSearch::StringSearch(StringView text, StringView needle, CompareOptions options)
    : text_(text), folds_(options == CompareOptions::CaseInsensitive), borders_(needle.size()) {
    for (std::size_t i = 0; i < needle.size(); ++i)
        needle_.push_back(unitAt(needle, i));
    std::size_t border = 0;
    for (std::size_t i = 1; i < needle_.size(); ++i) {
        while (border > 0 && needle_[border] != needle_[i])
            border = borders_[border - 1];
        if (needle_[border] == needle_[i])
            ++border;
        borders_[i] = border;
    }
}

Range StringSearch::next() {
    if (needle_.empty())
        return {NotFound, 0};
    std::size_t matched = 0;
    while (position_ < text_.size()) {
        const char16_t unit = unitAt(text_, position_++);
        while (matched > 0 && needle_[matched] != unit)
            matched = borders_[matched - 1];
        if (needle_[matched] == unit)
            ++matched;
        if (matched == needle_.size())
            return {position_ - matched, matched};
    }
    return {NotFound, 0};
}

// A unit with its case folded, alone or as half of a pair; the length never changes.
char16_t StringSearch::unitAt(StringView text, std::size_t index) const {
    const char16_t unit = text[index];
    if (!folds_)
        return unit;
    if (unit < 0x80)
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    const bool isTrail = isLowSurrogate(unit) && index > 0 && isHighSurrogate(text[index - 1]);
    const CodePoint point = codePointAt(text, isTrail ? index - 1 : index);
    const UChar32 folded = u_foldCase(static_cast<UChar32>(point.value), U_FOLD_CASE_DEFAULT);
    if (U16_LENGTH(folded) != static_cast<int>(point.length))
        return unit;
    if (point.length == 1)
        return static_cast<char16_t>(folded);
    return isTrail ? U16_TRAIL(folded) : U16_LEAD(folded);
}

} // namespace dresk
