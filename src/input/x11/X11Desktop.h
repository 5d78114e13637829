#pragma once

#include <string>

#include "input/Desktop.h"

namespace dresk {

/// The desktop behind an X server. `displayName` null means $DISPLAY. Null when the server cannot
/// be reached or lacks what is needed; `error` then says why, in one line. Main thread.
std::unique_ptr<Desktop> makeX11Desktop(const char* displayName, std::string& error);

} // namespace dresk
