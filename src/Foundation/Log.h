#pragma once

#include <functional>
#include <string_view>

namespace dresk {

/// Writes one line (UTF-8, no line end) with date, program and process to standard error. Any
/// thread. Never on the way of an ordinary key press.
void logLine(std::string_view line);

/// Receives the lines instead of standard error, on the thread that logs. An empty function gives
/// the lines back to standard error. For tests; any thread, takes effect at the next line.
void setLogSink(std::function<void(std::string_view)> sink);

} // namespace dresk
