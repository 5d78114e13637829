#include "input/x11/FocusWindow.h"

namespace dresk {

FocusWindow::~FocusWindow() {
    if (window_ == XCB_WINDOW_NONE)
        return;
    xcb_destroy_window(connection_.get(), window_);
    connection_.flush();
}

// No window manager has a say in it, and it is mapped at once.
void FocusWindow::takeFocus() {
    const std::lock_guard lock(mutex_);
    if (window_ == XCB_WINDOW_NONE) {
        window_ = xcb_generate_id(connection_.get());
        constexpr std::uint32_t overrideRedirect = 1;
        xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window_, connection_.root(), -1,
                          -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
    }
    xcb_map_window(connection_.get(), window_);
    xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window_, XCB_CURRENT_TIME);
    connection_.flush();
}

void FocusWindow::leave() {
    const std::lock_guard lock(mutex_);
    if (window_ == XCB_WINDOW_NONE)
        return;
    xcb_unmap_window(connection_.get(), window_);
    connection_.flush();
}

} // namespace dresk
