#include "desktop/WindowTitle.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "desktop/Deadline.h"
#include "desktop/TextTarget.h"

namespace dresk {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

xcb_atom_t atomOf(xcb_connection_t* connection, std::string_view name) {
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

WindowTitle::WindowTitle()
    : connection_(xcb_connect(nullptr, nullptr)),
      root_(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root),
      windowListName_(atomOf(connection_, "_NET_CLIENT_LIST")),
      titleName_(atomOf(connection_, "_NET_WM_NAME")),
      processName_(atomOf(connection_, "_NET_WM_PID")) {
    watch(root_);
}

std::optional<std::string>
WindowTitle::await(const std::function<bool(const std::string&)>& pleases, double seconds) {
    const Deadline deadline(seconds);
    for (;;) {
        // What has changed up to here is read below.
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
            std::free(event);
        }
        if (const xcb_window_t window = number(root_, windowListName_); window != window_) {
            window_ = window;
            watch(window);
        }
        std::string title = property(window_, titleName_);
        if (pleases(title)) {
            return title;
        }
        xcb_generic_event_t* event = xcb_poll_for_queued_event(connection_);
        const bool isMore = event != nullptr;
        std::free(event);
        if (!isMore && !deadline.awaitReadable(xcb_get_file_descriptor(connection_))) {
            return std::nullopt;
        }
    }
}

void WindowTitle::activate() const {
    activateWindow(window_);
}

pid_t WindowTitle::process() const {
    return static_cast<pid_t>(number(window_, processName_));
}

std::uint32_t WindowTitle::number(xcb_window_t window, xcb_atom_t name) const {
    const std::string bytes = property(window, name);
    std::uint32_t number = 0;
    if (bytes.size() >= sizeof(number)) {
        std::memcpy(&number, bytes.data() + bytes.size() - sizeof(number), sizeof(number));
    }
    return number;
}

std::string WindowTitle::property(xcb_window_t window, xcb_atom_t name) const {
    constexpr std::uint32_t LongestInWords = 65536;
    const std::unique_ptr<xcb_get_property_reply_t, Free> reply(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, window, name, XCB_ATOM_ANY, 0, LongestInWords), nullptr));
    if (reply == nullptr) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

void WindowTitle::watch(xcb_window_t window) const {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);
}

} // namespace dresk
