#include "input/x11/FocusGrab.h"

#include <xcb/xinput.h>

namespace dresk {

namespace {

constexpr std::uint32_t AnyKey = 0;
constexpr std::uint32_t AnyModifier = 1U << 31;
constexpr std::uint32_t KeyMask =
    XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE;

} // namespace

FocusGrab::FocusGrab(const XConnection& connection)
    : connection_(connection), activeWindow_(connection.atom("_NET_ACTIVE_WINDOW")) {
    connection_.selectRootEvents(XCB_EVENT_MASK_PROPERTY_CHANGE, true);
}

FocusGrab::~FocusGrab() {
    drop();
    watch(window_, false);
}

void FocusGrab::watch(xcb_window_t window, bool on) {
    if (window == XCB_WINDOW_NONE)
        return;
    const std::uint32_t mask =
        on ? XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY : 0;
    xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &mask);
}

bool FocusGrab::enable(bool wanted) {
    wanted_ = wanted;
    if (!wanted) {
        drop();
        return true;
    }
    refresh();
    return window_ == XCB_WINDOW_NONE || isHeld() || grab();
}

bool FocusGrab::concernsFocus(const xcb_generic_event_t& event) const {
    switch (event.response_type & 0x7F) {
    case XCB_FOCUS_OUT: {
        const auto& focus = reinterpret_cast<const xcb_focus_out_event_t&>(event);
        return focus.mode == XCB_NOTIFY_MODE_NORMAL || focus.mode == XCB_NOTIFY_MODE_WHILE_GRABBED;
    }
    case XCB_DESTROY_NOTIFY:
        return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == window_;
    case XCB_PROPERTY_NOTIFY:
        return reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == activeWindow_;
    default:
        return false;
    }
}

bool FocusGrab::refresh() {
    const XPointer<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    xcb_window_t focus = XCB_WINDOW_NONE;
    if (reply != nullptr)
        focus = reply->focus;
    if (focus == XCB_INPUT_FOCUS_POINTER_ROOT || focus == connection_.root())
        focus = XCB_WINDOW_NONE;
    if (focus == window_)
        return false;
    drop();
    watch(window_, false);
    window_ = focus;
    watch(window_, true);
    if (wanted_ && window_ != XCB_WINDOW_NONE)
        grab();
    return true;
}

bool FocusGrab::retry() {
    if (!wanted_ || window_ == XCB_WINDOW_NONE || isHeld())
        return isHeld();
    return grab();
}

bool FocusGrab::grab() {
    const XPointer<xcb_input_xi_passive_grab_device_reply_t> reply(
        xcb_input_xi_passive_grab_device_reply(
            connection_.get(),
            xcb_input_xi_passive_grab_device(
                connection_.get(), XCB_CURRENT_TIME, window_, XCB_CURSOR_NONE, AnyKey,
                connection_.masterKeyboard(), 1, 1, XCB_INPUT_GRAB_TYPE_KEYCODE,
                XCB_INPUT_GRAB_MODE_22_SYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
                XCB_INPUT_GRAB_OWNER_NO_OWNER, &KeyMask, &AnyModifier),
            nullptr));
    // The reply lists the modifiers for which the grab was refused.
    const bool granted = reply != nullptr && reply->num_modifiers == 0;
    if (granted)
        grabbedWindow_ = window_;
    held_ = granted;
    return granted;
}

void FocusGrab::drop() {
    held_ = false;
    const xcb_window_t window = grabbedWindow_.exchange(XCB_WINDOW_NONE);
    if (window == XCB_WINDOW_NONE)
        return;
    xcb_input_xi_passive_ungrab_device(connection_.get(), window, AnyKey,
                                       connection_.masterKeyboard(), 1, XCB_INPUT_GRAB_TYPE_KEYCODE,
                                       &AnyModifier);
    connection_.flush();
}

} // namespace dresk
