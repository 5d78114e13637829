#include "input/x11/X11KeyboardFocus.h"

#include <utility>

namespace dresk {

xcb_window_t X11KeyboardFocus::focusWindow() const {
    const XPointer<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    return reply != nullptr ? reply->focus : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

// The present time, not that of an event: a time older than the last change of the focus would have
// the request ignored.
bool X11KeyboardFocus::setFocus(xcb_window_t window) const {
    const XPointer<xcb_generic_error_t> error(xcb_request_check(
        connection_.get(), xcb_set_input_focus_checked(connection_.get(), XCB_INPUT_FOCUS_PARENT,
                                                       window, XCB_CURRENT_TIME)));
    return error == nullptr && connection_.isAlive();
}

bool X11KeyboardFocus::take(std::uint64_t window) {
    const auto panel = static_cast<xcb_window_t>(window);
    const std::lock_guard lock(mutex_);
    const xcb_window_t focus = focusWindow();
    if (focus == panel && taken_ == panel)
        return true;
    applications_.setPanelWindow(panel);
    if (!setFocus(panel)) {
        applications_.setPanelWindow(XCB_WINDOW_NONE);
        return false;
    }
    previous_ = focus;
    taken_ = panel;
    return true;
}

bool X11KeyboardFocus::giveBack() {
    const std::lock_guard lock(mutex_);
    const xcb_window_t taken = std::exchange(taken_, XCB_WINDOW_NONE);
    if (taken == XCB_WINDOW_NONE)
        return false;
    const xcb_window_t focus = focusWindow();
    const bool isNowhere = focus == XCB_WINDOW_NONE || focus == XCB_INPUT_FOCUS_POINTER_ROOT ||
                           focus == connection_.root();
    if (focus != taken && !isNowhere)
        return true;
    return previous_ > XCB_INPUT_FOCUS_POINTER_ROOT && setFocus(previous_);
}

} // namespace dresk
