#pragma once

#include <compare>

namespace dresk {

/// A moment, in seconds since 2001-01-01 00:00:00 UTC.
struct Date {
    double seconds = 0;

    friend auto operator<=>(const Date&, const Date&) = default;
};

/// Seconds from 1970-01-01 to 2001-01-01, both UTC.
inline constexpr double SecondsFrom1970To2001 = 978307200.0;

/// Where the time of day comes from; passed in, so that tests fix it. Any thread.
class Clock {
  public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;
    virtual Date now() const = 0;
};

/// The machine's clock.
const Clock& systemClock();

} // namespace dresk
