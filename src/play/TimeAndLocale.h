#pragma once

#include "Foundation/Date.h"
#include "Foundation/String.h"

namespace dresk {

/// Whether this names a time zone, as "Europe/Berlin" and "UTC" do.
bool isTimeZone(const String& name);

/// The identifier under which the locale data know a locale, also one named as the shell's
/// variables do, with a character set behind it. Null where they do not know its language.
std::optional<String> localeNamed(const std::string& name);

/// A moment written as 2026-01-31T12:30, with seconds or without, in the Gregorian calendar; an
/// empty time zone is the machine's. Of a time that comes twice it is the second. Null for any
/// other form and for a time that the zone does not have.
std::optional<Date> dateFromLocalTime(std::string_view text, const String& timeZone);

} // namespace dresk
