#pragma once

#include <list>
#include <memory>
#include <mutex>

#include "Foundation/Date.h"
#include "Foundation/String.h"

namespace dresk {

/// Parts of a moment in the current calendar; null where left out. Weekdays count from 1, Sunday.
struct DateComponents {
    std::optional<std::int64_t> year;
    std::optional<std::int64_t> month;
    std::optional<std::int64_t> day;
    std::optional<std::int64_t> weekday;
    std::optional<std::int64_t> hour;
    std::optional<std::int64_t> minute;
    std::optional<std::int64_t> second;
};

/// How to write a moment.
struct DateFormatter {
    enum class Kind { DateStyle, TimeStyle, Pattern };
    Kind kind = Kind::Pattern;
    /// For a style: 1 short, 2 medium, 3 long, 4 full.
    int style = 0;
    /// For a pattern, in the pattern language of Unicode.
    String pattern;
    /// Null is the current locale; an unknown one falls back as the locale data say.
    std::optional<String> locale;

    friend bool operator==(const DateFormatter&, const DateFormatter&) = default;
};

/// The calendar, the time zone and the locale of the user, and the formatters already made. Any
/// thread.
class DateTimeFormats {
  public:
    /// Empty is the machine's time zone or locale. Time zones are names such as "Europe/Berlin";
    /// an unknown one is UTC.
    explicit DateTimeFormats(const String& timeZone = {}, const String& locale = {});
    DateTimeFormats(const DateTimeFormats&) = delete;
    DateTimeFormats& operator=(const DateTimeFormats&) = delete;

    const String& locale() const { return locale_; }

    /// All parts.
    DateComponents componentsFromDate(Date date) const;
    /// Overflow runs on into the next larger part, far-off values end at some hundred thousand
    /// years. A missing time is the day's start, a missing day the calendar's first one; the
    /// weekday has no say.
    Date dateFromComponents(const DateComponents& components) const;
    /// Null where the formatter has nothing to say, as for a pattern that is none.
    std::optional<String> stringFromDate(Date date, const DateFormatter& formatter) const;

  private:
    struct KeptFormat {
        DateFormatter key;
        /// The library names its formatters and calendars by untyped pointers.
        std::shared_ptr<void*> format;
    };

    void** formatFor(const DateFormatter& formatter) const;

    String timeZone_;
    String locale_;
    /// Guards what follows: none of it may be used by two threads at once.
    mutable std::mutex mutex_;
    std::shared_ptr<void*> calendar_;
    /// Most recently used first.
    mutable std::list<KeptFormat> formats_;
};

} // namespace dresk
