#pragma once

#include "input/x11/Applications.h"

namespace dresk {

/// Sets the X input focus directly: a window manager would not give it to a window that it does not
/// manage.
class X11KeyboardFocus final : public KeyboardFocus {
  public:
    /// Both outlive it.
    X11KeyboardFocus(const XConnection& connection, Applications& applications)
        : connection_(connection), applications_(applications) {}

    bool take(std::uint64_t window) override;
    bool giveBack() override;

  private:
    /// None when the server does not tell.
    xcb_window_t focusWindow() const;
    bool setFocus(xcb_window_t window) const;

    const XConnection& connection_;
    Applications& applications_;
    std::mutex mutex_;
    xcb_window_t taken_ = XCB_WINDOW_NONE;
    xcb_window_t previous_ = XCB_WINDOW_NONE;
};

} // namespace dresk
