#include "play/TimeAndLocale.h"

#include <unicode/ucal.h>
#include <unicode/uloc.h>

#include "language/DateTimeFormats.h"
#include "language/LocaleIdentifier.h"

namespace dresk {

namespace {

constexpr std::string_view LocalTimeForm = "0000-00-00T00:00:00";

bool hasLocalTimeForm(std::string_view text) {
    if (text.size() != LocalTimeForm.size())
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (LocalTimeForm[i] == '0' ? !isDigit : text[i] != LocalTimeForm[i])
            return false;
    }
    return true;
}

} // namespace

bool isTimeZone(const String& name) {
    UChar canonical[128];
    UErrorCode status = U_ZERO_ERROR;
    ucal_getCanonicalTimeZoneID(name.data(), static_cast<int32_t>(name.size()), canonical,
                                std::size(canonical), nullptr, &status);
    return U_SUCCESS(status);
}

std::optional<String> localeNamed(const std::string& name) {
    char identifier[ULOC_FULLNAME_CAPACITY];
    char language[ULOC_LANG_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    uloc_canonicalize(name.c_str(), identifier, std::size(identifier), &status);
    uloc_getLanguage(identifier, language, std::size(language), &status);
    if (U_FAILURE(status) || status == U_STRING_NOT_TERMINATED_WARNING)
        return std::nullopt;
    String locale = fromUTF8(identifier);
    if (localeIdentifier(locale) != identifier)
        return std::nullopt;
    for (int32_t i = 0; i < uloc_countAvailable(); ++i)
        if (std::string_view(uloc_getAvailable(i)) == language)
            return locale;
    return std::nullopt;
}

std::optional<Date> dateFromLocalTime(std::string_view text, const String& timeZone) {
    std::string whole(text);
    if (whole.size() == std::string_view("0000-00-00T00:00").size())
        whole += ":00";
    if (!hasLocalTimeForm(whole))
        return std::nullopt;
    const auto number = [&](std::size_t index, std::size_t length) {
        return std::stoll(whole.substr(index, length));
    };
    // A locale with the Gregorian calendar, and none of the user's.
    const DateTimeFormats formats(timeZone, u"en_US_POSIX");
    const Date date = formats.dateFromComponents({.year = number(0, 4),
                                                  .month = number(5, 2),
                                                  .day = number(8, 2),
                                                  .weekday = std::nullopt,
                                                  .hour = number(11, 2),
                                                  .minute = number(14, 2),
                                                  .second = number(17, 2)});
    DateFormatter formatter;
    formatter.pattern = u"yyyy-MM-dd'T'HH:mm:ss";
    // What does not exist, such as the 30th of February, comes back as another time.
    if (formats.stringFromDate(date, formatter) != fromUTF8(whole))
        return std::nullopt;
    return date;
}

} // namespace dresk
