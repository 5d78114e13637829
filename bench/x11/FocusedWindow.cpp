#include "FocusedWindow.h"

#include <cstdio>
#include <cstdlib>

#include <poll.h>

namespace dresk {

FocusedWindow::FocusedWindow(std::uint32_t events) : connection_(xcb_connect(nullptr, nullptr)) {
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    window_ = xcb_generate_id(connection_);
    const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_EXPOSURE | events};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(connection_, window_);
    xcb_flush(connection_);
    await(XCB_EXPOSE);
    xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, window_, XCB_CURRENT_TIME);
    xcb_flush(connection_);
}

void FocusedWindow::await(std::uint8_t type) {
    constexpr int patience = 5000;
    for (;;) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
            const bool found = (event->response_type & 0x7F) == type;
            std::free(event);
            if (found)
                return;
        }
        pollfd entry{xcb_get_file_descriptor(connection_), POLLIN, 0};
        if (poll(&entry, 1, patience) != 1) {
            std::fprintf(stderr, "no event of type %d came\n", type);
            std::exit(1);
        }
    }
}

} // namespace dresk
