#include "language/DateTimeFormats.h"

#include <algorithm>
#include <cmath>

#include <unicode/ucal.h>
#include <unicode/udat.h>

#include "language/LocaleIdentifier.h"

namespace dresk {

namespace {

constexpr std::size_t MaximumKeptFormats = 32;
constexpr std::size_t LongestPattern = 1000;
// Keeps the calendar's arithmetic far from its own limits.
constexpr std::int64_t LargestYear = 200'000;
constexpr std::int64_t LargestPart = 100'000'000;

UDate toUDate(Date date) {
    return std::floor((date.seconds + SecondsFrom1970To2001) * 1000);
}

UDateFormatStyle formatStyle(int style) {
    constexpr UDateFormatStyle styles[] = {UDAT_SHORT, UDAT_MEDIUM, UDAT_LONG, UDAT_FULL};
    return styles[std::clamp(style, 1, 4) - 1];
}

std::shared_ptr<void*> makeFormat(const DateFormatter& formatter, const String& timeZone,
                                  StringView currentLocale) {
    const std::string locale = localeIdentifier(formatter.locale.value_or(String(currentLocale)));
    UDateFormatStyle date = UDAT_NONE;
    UDateFormatStyle time = UDAT_NONE;
    StringView pattern;
    if (formatter.kind == DateFormatter::Kind::DateStyle) {
        date = formatStyle(formatter.style);
    } else if (formatter.kind == DateFormatter::Kind::TimeStyle) {
        time = formatStyle(formatter.style);
    } else {
        date = time = UDAT_PATTERN;
        pattern = formatter.pattern;
    }
    UErrorCode status = U_ZERO_ERROR;
    UDateFormat* format = udat_open(time, date, locale.c_str(), timeZone.data(),
                                    static_cast<int32_t>(timeZone.size()), pattern.data(),
                                    static_cast<int32_t>(pattern.size()), &status);
    if (U_FAILURE(status))
        return nullptr;
    return {format, udat_close};
}

String defaultTimeZone() {
    UChar buffer[128];
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ucal_getDefaultTimeZone(buffer, std::size(buffer), &status);
    return U_SUCCESS(status) ? String(buffer, static_cast<std::size_t>(length)) : u"UTC";
}

void setPart(UCalendar* calendar, UCalendarDateFields field,
             const std::optional<std::int64_t>& part, std::int64_t largest) {
    if (part.has_value())
        ucal_set(calendar, field, static_cast<int32_t>(std::clamp(*part, -largest, largest)));
}

} // namespace

DateTimeFormats::DateTimeFormats(const String& timeZone, const String& locale)
    : timeZone_(timeZone.empty() ? defaultTimeZone() : timeZone),
      locale_(fromUTF8(localeIdentifier(locale))) {
    UErrorCode status = U_ZERO_ERROR;
    UCalendar* calendar = ucal_open(timeZone_.data(), static_cast<int32_t>(timeZone_.size()),
                                    localeIdentifier(locale_).c_str(), UCAL_DEFAULT, &status);
    if (U_SUCCESS(status))
        calendar_.reset(calendar, ucal_close);
}

DateComponents DateTimeFormats::componentsFromDate(Date date) const {
    const std::lock_guard lock(mutex_);
    UErrorCode status = U_ZERO_ERROR;
    ucal_setMillis(calendar_.get(), toUDate(date), &status);
    const auto part = [&](UCalendarDateFields field) {
        return static_cast<std::int64_t>(ucal_get(calendar_.get(), field, &status));
    };
    return {.year = part(UCAL_YEAR),
            .month = part(UCAL_MONTH) + 1,
            .day = part(UCAL_DATE),
            .weekday = part(UCAL_DAY_OF_WEEK),
            .hour = part(UCAL_HOUR_OF_DAY),
            .minute = part(UCAL_MINUTE),
            .second = part(UCAL_SECOND)};
}

Date DateTimeFormats::dateFromComponents(const DateComponents& components) const {
    const std::lock_guard lock(mutex_);
    UCalendar* calendar = calendar_.get();
    ucal_clear(calendar);
    setPart(calendar, UCAL_YEAR, components.year.value_or(1), LargestYear);
    setPart(calendar, UCAL_MONTH, components.month.value_or(1) - 1, LargestPart / 100);
    setPart(calendar, UCAL_DATE, components.day.value_or(1), LargestPart);
    setPart(calendar, UCAL_HOUR_OF_DAY, components.hour, LargestPart);
    setPart(calendar, UCAL_MINUTE, components.minute, LargestPart);
    setPart(calendar, UCAL_SECOND, components.second, LargestPart);
    UErrorCode status = U_ZERO_ERROR;
    const UDate milliseconds = ucal_getMillis(calendar, &status);
    return {milliseconds / 1000 - SecondsFrom1970To2001};
}

std::optional<String> DateTimeFormats::stringFromDate(Date date,
                                                      const DateFormatter& formatter) const {
    if (formatter.pattern.size() > LongestPattern)
        return std::nullopt;
    const std::lock_guard lock(mutex_);
    const UDateFormat* const format = formatFor(formatter);
    if (format == nullptr)
        return std::nullopt;
    String text(64, u'\0');
    int32_t length = 0;
    UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
    while (status == U_BUFFER_OVERFLOW_ERROR) {
        text.resize(std::max<std::size_t>(text.size(), static_cast<std::size_t>(length)));
        status = U_ZERO_ERROR;
        length = udat_format(format, toUDate(date), text.data(), static_cast<int32_t>(text.size()),
                             nullptr, &status);
    }
    if (U_FAILURE(status))
        return std::nullopt;
    text.resize(static_cast<std::size_t>(length));
    // Newer locale data put a narrow no-break space before "PM", which few keyboards and fields
    // take; styles are written with the blank that people type.
    if (formatter.kind != DateFormatter::Kind::Pattern)
        std::replace(text.begin(), text.end(), u'\u202F', u' ');
    return text;
}

void** DateTimeFormats::formatFor(const DateFormatter& formatter) const {
    const auto found = std::find_if(formats_.begin(), formats_.end(),
                                    [&](const KeptFormat& kept) { return kept.key == formatter; });
    if (found != formats_.end()) {
        formats_.splice(formats_.begin(), formats_, found);
    } else {
        formats_.push_front({formatter, makeFormat(formatter, timeZone_, locale_)});
        if (formats_.size() > MaximumKeptFormats)
            formats_.pop_back();
    }
    return formats_.front().format.get();
}

} // namespace dresk
