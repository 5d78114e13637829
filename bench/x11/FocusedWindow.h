#pragma once

#include <cstdint>

#include <xcb/xcb.h>

namespace dresk {

/// A window that has the focus, on a connection of its own.
class FocusedWindow {
  public:
    /// `events` are selected on top of exposures and key presses.
    explicit FocusedWindow(std::uint32_t events = 0);
    FocusedWindow(const FocusedWindow&) = delete;
    FocusedWindow& operator=(const FocusedWindow&) = delete;
    ~FocusedWindow() { xcb_disconnect(connection_); }

    xcb_connection_t* connection() const { return connection_; }
    xcb_window_t window() const { return window_; }
    /// Ends the program when nothing of that type comes within some seconds.
    void await(std::uint8_t type);

  private:
    xcb_connection_t* connection_;
    xcb_window_t window_ = 0;
};

} // namespace dresk
