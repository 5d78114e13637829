#pragma once

#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

#include <xcb/xcb.h>

namespace dresk {

/// Follows the title of the window that came up last, without asking again and again. One thread.
class WindowTitle {
  public:
    WindowTitle();
    WindowTitle(const WindowTitle&) = delete;
    WindowTitle& operator=(const WindowTitle&) = delete;
    ~WindowTitle() { xcb_disconnect(connection_); }

    /// Waits until the title pleases; null if it does not within `seconds`.
    std::optional<std::string> await(const std::function<bool(const std::string&)>& pleases,
                                     double seconds);

    /// Brings the window to the front.
    void activate() const;
    /// The process that the window belongs to, as the window says; 0 when it does not.
    pid_t process() const;

  private:
    /// The last number in a list.
    std::uint32_t number(xcb_window_t window, xcb_atom_t name) const;
    std::string property(xcb_window_t window, xcb_atom_t name) const;
    void watch(xcb_window_t window) const;

    xcb_connection_t* connection_;
    xcb_window_t root_;
    xcb_atom_t windowListName_;
    xcb_atom_t titleName_;
    xcb_atom_t processName_;
    xcb_window_t window_ = XCB_WINDOW_NONE;
};

} // namespace dresk
