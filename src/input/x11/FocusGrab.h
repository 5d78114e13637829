#pragma once

#include <atomic>

#include "input/x11/XConnection.h"

namespace dresk {

/// Follows the window that has the keyboard focus and keeps the passive grab of every key on it.
/// The grab stands on that window and not on the root: a root grab would take the window manager's
/// bindings and send every toolkit out of focus and back at each key. Tap thread, save `drop`.
class FocusGrab {
  public:
    explicit FocusGrab(const XConnection& connection);
    ~FocusGrab();
    FocusGrab(const FocusGrab&) = delete;
    FocusGrab& operator=(const FocusGrab&) = delete;

    /// Whether the grab is wanted. Turning it on asks for the focus; false when the window is
    /// grabbed by another program.
    bool enable(bool wanted);
    /// Whether the event tells that the focus may have moved.
    bool concernsFocus(const xcb_generic_event_t& event) const;
    /// Asks the server for the focus and moves the grab there. True if the window is another one.
    bool refresh();
    /// Tries again after another program's grab was in the way; true if the grab stands.
    bool retry();

    /// Window with the focus; 0 when there is none, or when it follows the pointer.
    xcb_window_t window() const { return window_; }
    bool isHeld() const { return held_; }
    /// Gives the grab up at once; `enable` and `retry` bring it back. Any thread.
    void drop();

  private:
    bool grab();
    void watch(xcb_window_t window, bool on);

    const XConnection& connection_;
    xcb_atom_t activeWindow_;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    std::atomic<bool> wanted_{false};
    std::atomic<bool> held_{false};
    std::atomic<xcb_window_t> grabbedWindow_{XCB_WINDOW_NONE};
};

} // namespace dresk
