#include "language/LocaleIdentifier.h"

#include <algorithm>

#include <unicode/uloc.h>

namespace dresk {

std::string localeIdentifier(StringView locale) {
    if (locale.empty())
        return uloc_getDefault();
    const auto isUsable = [](char16_t unit) { return unit > u' ' && unit < 0x7F; };
    if (locale.size() >= ULOC_FULLNAME_CAPACITY ||
        !std::all_of(locale.begin(), locale.end(), isUsable))
        return "root";
    return {locale.begin(), locale.end()};
}

} // namespace dresk
