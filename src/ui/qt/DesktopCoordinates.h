#pragma once

#include "Foundation/Geometry.h"

#include <QRect>

namespace dresk {

/// Between the desktop's measure, in device pixels, and Qt's, which on a dense screen counts
/// several of them as one. Screens begin at the same place in both. Main thread.
namespace DesktopCoordinates {
/// Device pixels in one of Qt's on the screen at that place of the desktop, else on the first.
double pixelRatioAt(Point place);
/// A frame on the screen where its top left corner lies; edges fall on whole units of Qt.
QRect toQt(const Rect& frame);
QPoint toQt(Point place);
} // namespace DesktopCoordinates

} // namespace dresk
