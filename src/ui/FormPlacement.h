#pragma once

#include <vector>

#include "Foundation/Geometry.h"
#include "Foundation/String.h"
#include "input/Desktop.h"

namespace dresk {

/// Top left corner, with the desktop's origin at the top left, of a window that stands free on the
/// main screen.
Point centredOrigin(Size frame, const std::vector<Screen>& screens);

/// The same for a window that belongs to a piece of text: below it, or above where there is no
/// room, and inside the screen's visible part. `selectedTextBound` has its origin at the lower left
/// of the first screen and names its top left corner.
Point popoverOrigin(const Rect& selectedTextBound, Size frame, const std::vector<Screen>& screens);

/// "{width, height}", as the platform writes a size.
String stringFromSize(Size size);
/// The first two numbers in the text; 0 for what is missing or no finite number.
Size sizeFromString(StringView text);

} // namespace dresk
