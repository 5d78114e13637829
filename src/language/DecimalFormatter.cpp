#include "language/DecimalFormatter.h"

#include <algorithm>

#include <unicode/unum.h>

#include "language/LocaleIdentifier.h"

namespace dresk {

DecimalFormatter::DecimalFormatter(const String& locale, bool usesGroupingSeparator) {
    UErrorCode status = U_ZERO_ERROR;
    format_.reset(
        unum_open(UNUM_DECIMAL, nullptr, 0, localeIdentifier(locale).c_str(), nullptr, &status),
        unum_close);
    if (U_FAILURE(status))
        return;
    unum_setAttribute(format_.get(), UNUM_GROUPING_USED, usesGroupingSeparator);
    unum_setAttribute(format_.get(), UNUM_LENIENT_PARSE, 0);
}

String DecimalFormatter::stringFromNumber(double number) const {
    // Room for the largest number with its separators, or for the name of none.
    UChar buffer[512];
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        unum_formatDouble(format_.get(), number, buffer, std::size(buffer), nullptr, &status);
    return U_SUCCESS(status) ? String(buffer, static_cast<std::size_t>(length)) : String();
}

std::optional<double> DecimalFormatter::numberFromString(StringView text) const {
    constexpr std::size_t longestNumber = 1000;
    while (text.starts_with(u' '))
        text.remove_prefix(1);
    while (text.ends_with(u' '))
        text.remove_suffix(1);
    if (text.empty() || text.size() > longestNumber)
        return std::nullopt;
    const auto length = static_cast<int32_t>(text.size());
    int32_t position = 0;
    UErrorCode status = U_ZERO_ERROR;
    const double number = unum_parseDouble(format_.get(), text.data(), length, &position, &status);
    if (U_FAILURE(status) || position != length)
        return std::nullopt;
    return number;
}

} // namespace dresk
