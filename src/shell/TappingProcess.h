#pragma once

#include "input/Desktop.h"

namespace dresk {

/// A program that filters the user's keys. What is not known reads "(null)".
struct TappingProcess {
    std::uint32_t identifier = 0;
    String localizedName;
    String bundleIdentifier;
    String executableURL;
};

/// Who filters keys besides this program and the desktop itself, in the order of the taps; a
/// process with two taps twice. Null when the desktop does not tell.
std::optional<std::vector<TappingProcess>> findTappingProcesses(EventTaps& eventTaps,
                                                                Processes& processes);

} // namespace dresk
