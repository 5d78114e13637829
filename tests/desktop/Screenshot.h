#pragma once

#include <string>

namespace dresk {

/// Writes a picture of the display named in DISPLAY as PNG; false if that failed.
bool saveScreenshot(const std::string& path);

} // namespace dresk
