#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dresk {

/// Writes a picture of the display named in DISPLAY as PNG; false if that failed.
bool saveScreenshot(const std::string& path);

/// The pixels of a part of that display, row by row, colours only; empty if that failed.
std::vector<std::uint32_t> pixelsAt(int x, int y, int width, int height);

} // namespace dresk
