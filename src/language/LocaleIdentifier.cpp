#include "language/LocaleIdentifier.h"

#include <algorithm>

#include <unicode/uloc.h>

namespace dresk {

std::string localeIdentifier(StringView locale) {
    const auto isUsable = [](char16_t unit) { return unit > u' ' && unit < 0x7F; };
    if (locale.empty() || locale.size() >= ULOC_FULLNAME_CAPACITY ||
        !std::all_of(locale.begin(), locale.end(), isUsable))
        return uloc_getDefault();
    return {locale.begin(), locale.end()};
}

} // namespace dresk
