#pragma once

#include "Foundation/Geometry.h"

namespace dresk {

/// A small window without borders, above ordinary ones, that accepts a click and thereby takes the
/// focus from a virtual machine. Whoever makes windows provides it. Main thread; places have their
/// origin at the top left of the desktop.
class VMHelperWindow {
  public:
    virtual ~VMHelperWindow() = default;
    virtual Rect frame() const = 0;
    /// Moves the top-left corner.
    virtual void setFrameOrigin(Point origin) = 0;
    /// Shows it above other windows without making this program the active one.
    virtual void orderFrontRegardless() = 0;
    virtual void orderOut() = 0;
};

} // namespace dresk
