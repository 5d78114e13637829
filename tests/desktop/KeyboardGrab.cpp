#include "desktop/KeyboardGrab.h"

#include <cstdlib>

#include <xcb/xcb.h>

namespace dresk {

KeyboardGrab::KeyboardGrab() : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_) != 0)
        return;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    xcb_grab_keyboard_reply_t* reply =
        xcb_grab_keyboard_reply(connection_,
                                xcb_grab_keyboard(connection_, 0, root, XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr);
    isHeld_ = reply != nullptr && reply->status == XCB_GRAB_STATUS_SUCCESS;
    std::free(reply);
}

KeyboardGrab::~KeyboardGrab() {
    xcb_disconnect(connection_);
}

} // namespace dresk
