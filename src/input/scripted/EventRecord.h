#pragma once

#include <string>
#include <vector>

#include "input/Desktop.h"

namespace dresk {

/// A posted event, and when.
struct RecordedEvent {
    /// Seconds since the desktop began.
    double time = 0;
    /// Posted without the place of a tap.
    bool atSession = false;
    DesktopEvent event;
};

/// One line for the events of each moment, the time first: `0.04 Delete x3, "Kind regards"`. A
/// press with its release is one entry; equal entries are counted. A release or press alone is
/// `up 9` or `down 9`, and what went to the session stands in parentheses.
std::vector<std::string> recordedLines(const std::vector<RecordedEvent>& events);

/// The event without its time: `down 0 "s"`, `up Return`, `flags Control-`, `mouse 1`.
std::string eventText(const DesktopEvent& event);

/// The text in double quotes, with \n, \r, \t, \" and \uXXXX for what does not print.
std::string quotedText(StringView text);

} // namespace dresk
