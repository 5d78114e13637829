#pragma once

#include <mutex>

#include "input/x11/XConnection.h"

namespace dresk {

/// A window of this program that nobody sees and that takes the focus, so that the application in
/// front loses it although no window of ours is shown. Any thread.
class FocusWindow {
  public:
    /// `connection` outlives it.
    explicit FocusWindow(const XConnection& connection) : connection_(connection) {}
    FocusWindow(const FocusWindow&) = delete;
    FocusWindow& operator=(const FocusWindow&) = delete;
    ~FocusWindow();

    void takeFocus();
    /// Goes away again. Whoever is to have the focus next has been asked before.
    void leave();

  private:
    const XConnection& connection_;
    std::mutex mutex_;
    xcb_window_t window_ = XCB_WINDOW_NONE;
};

} // namespace dresk
