#pragma once

#include "input/Desktop.h"
#include "input/x11/XConnection.h"

namespace dresk {

/// Monitors as the server tells them, the primary one first; pointer and button by XTest.
class X11Screens final : public Screens {
  public:
    /// `connection` outlives it.
    explicit X11Screens(const XConnection& connection);

    std::vector<Screen> screens() override;
    Point pointerLocation() override;
    void postMouseEvent(EventType type, Point location) override;

  private:
    std::vector<Rect> frames() const;
    Rect inWorkArea(Rect frame) const;
    std::vector<Rect> panels() const;
    std::vector<Rect> workAreasOfScreens() const;

    const XConnection& connection_;
    bool hasMonitors_ = false;
    xcb_atom_t workArea_;
    xcb_atom_t currentDesktop_;
    xcb_atom_t clientList_;
    xcb_atom_t strut_;
};

} // namespace dresk
