#include "desktop/WindowList.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>

#include <poll.h>

#include "desktop/Deadline.h"

#include <xcb/xcb.h>

namespace dresk {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename Reply>
using ReplyOf = std::unique_ptr<Reply, Free>;

/// One look at all windows of the display.
class WindowTree {
  public:
    WindowTree() : connection_(xcb_connect(nullptr, nullptr)) {}
    WindowTree(const WindowTree&) = delete;
    WindowTree& operator=(const WindowTree&) = delete;
    ~WindowTree() { xcb_disconnect(connection_); }

    std::vector<DesktopWindow> windows() {
        if (!isConnected())
            return {};
        collectBelow(root_, 0);
        return std::move(found_);
    }
    /// Of the window with the keyboard; 0 when there is none.
    pid_t pidWithKeyboard() {
        if (!isConnected())
            return 0;
        const ReplyOf<xcb_get_input_focus_reply_t> focus(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        // The focus may be on a window inside the one that tells.
        xcb_window_t window = focus != nullptr ? focus->focus : XCB_NONE;
        while (window != root_ && window > XCB_INPUT_FOCUS_POINTER_ROOT) {
            if (const auto pid = pidOf(window))
                return static_cast<pid_t>(*pid);
            const ReplyOf<xcb_query_tree_reply_t> tree(
                xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
            window = tree != nullptr ? tree->parent : XCB_NONE;
        }
        return 0;
    }

  private:
    // A window manager puts one frame or two around a window; panels hold icons.
    static constexpr int Depth = 4;

    bool isConnected() {
        if (xcb_connection_has_error(connection_) != 0)
            return false;
        pidAtom_ = atom("_NET_WM_PID");
        nameAtom_ = atom("_NET_WM_NAME");
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        return true;
    }
    xcb_atom_t atom(const std::string& name) {
        const ReplyOf<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            connection_,
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
            nullptr));
        return reply != nullptr ? reply->atom : XCB_NONE;
    }
    ReplyOf<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name) {
        return ReplyOf<xcb_get_property_reply_t>(xcb_get_property_reply(
            connection_,
            xcb_get_property(connection_, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 64),
            nullptr));
    }
    std::optional<std::uint32_t> pidOf(xcb_window_t window) {
        const auto pid = property(window, pidAtom_);
        if (pid == nullptr || pid->format != 32 || pid->length == 0)
            return std::nullopt;
        return *static_cast<std::uint32_t*>(xcb_get_property_value(pid.get()));
    }
    void collectBelow(xcb_window_t parent, int depth) {
        const ReplyOf<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, parent), nullptr));
        if (tree == nullptr || depth == Depth)
            return;
        const xcb_window_t* children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
            collect(children[i], depth);
    }
    void collect(xcb_window_t window, int depth) {
        const ReplyOf<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            connection_, xcb_get_window_attributes(connection_, window), nullptr));
        if (attributes == nullptr || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            return;
        if (const auto pid = pidOf(window))
            add(window, *pid);
        collectBelow(window, depth + 1);
    }
    void add(xcb_window_t window, std::uint32_t pid) {
        DesktopWindow& entry = found_.emplace_back();
        entry.id = window;
        entry.pid = static_cast<pid_t>(pid);
        if (const auto name = property(window, nameAtom_); name != nullptr)
            entry.title.assign(static_cast<const char*>(xcb_get_property_value(name.get())),
                               static_cast<std::size_t>(xcb_get_property_value_length(name.get())));
        const ReplyOf<xcb_get_geometry_reply_t> size(
            xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        const ReplyOf<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
            connection_, xcb_translate_coordinates(connection_, window, root_, 0, 0), nullptr));
        if (size == nullptr || place == nullptr) {
            found_.pop_back();
            return;
        }
        entry.x = place->dst_x;
        entry.y = place->dst_y;
        entry.width = size->width;
        entry.height = size->height;
    }

    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_NONE;
    xcb_atom_t pidAtom_ = XCB_NONE;
    xcb_atom_t nameAtom_ = XCB_NONE;
    std::vector<DesktopWindow> found_;
};

bool contains(const std::vector<DesktopWindow>& windows, const DesktopWindow& wanted) {
    return std::any_of(windows.begin(), windows.end(),
                       [&](const DesktopWindow& window) { return window.id == wanted.id; });
}

} // namespace

bool awaitSight(double seconds, const std::function<bool()>& isThere) {
    constexpr int PauseMilliseconds = 20;
    const Deadline deadline(seconds);
    while (!isThere()) {
        if (deadline.passed())
            return false;
        poll(nullptr, 0, PauseMilliseconds);
    }
    return true;
}

std::vector<DesktopWindow> visibleWindows() {
    return WindowTree().windows();
}

std::optional<DesktopWindow> awaitWindow(pid_t pid, const std::string& title, double seconds) {
    std::optional<DesktopWindow> found;
    awaitSight(seconds, [&] {
        for (const DesktopWindow& window : visibleWindows())
            if (window.pid == pid && window.title == title)
                found = window;
        return found.has_value();
    });
    return found;
}

std::optional<DesktopWindow> awaitNewWindow(pid_t pid, const std::function<void()>& action,
                                            double seconds) {
    const auto before = visibleWindows();
    action();
    std::optional<DesktopWindow> found;
    awaitSight(seconds, [&] {
        for (const DesktopWindow& window : visibleWindows())
            if (window.pid == pid && !contains(before, window))
                found = window;
        return found.has_value();
    });
    return found;
}

bool awaitKeyboardAt(pid_t pid, double seconds) {
    return awaitSight(seconds, [&] { return WindowTree().pidWithKeyboard() == pid; });
}

bool awaitWindowGone(const DesktopWindow& window, double seconds) {
    return awaitSight(seconds, [&] { return !contains(visibleWindows(), window); });
}

} // namespace dresk
