#include "input/x11/X11Screens.h"

#include <algorithm>
#include <string>

#include <xcb/randr.h>
#include <xcb/xtest.h>

namespace dresk {

namespace {

constexpr std::uint8_t LeftButton = 1;
constexpr double Outermost = 32767;

Rect common(const Rect& a, const Rect& b) {
    const double x = std::max(a.x, b.x);
    const double y = std::max(a.y, b.y);
    return {x, y, std::min(a.x + a.width, b.x + b.width) - x,
            std::min(a.y + a.height, b.y + b.height) - y};
}

bool isEmpty(const Rect& rect) {
    return rect.width <= 0 || rect.height <= 0;
}

bool holds(const Rect& outer, const Rect& inner) {
    return common(outer, inner) == inner;
}

std::vector<Rect> rects(const std::vector<std::uint32_t>& numbers) {
    std::vector<Rect> result;
    for (std::size_t i = 0; i + 3 < numbers.size(); i += 4)
        result.push_back({static_cast<double>(numbers[i]), static_cast<double>(numbers[i + 1]),
                          static_cast<double>(numbers[i + 2]),
                          static_cast<double>(numbers[i + 3])});
    return result;
}

/// What is left of the frame when a panel takes the side of it that it covers.
Rect without(const Rect& frame, const Rect& panel) {
    const Rect covered = common(frame, panel);
    if (isEmpty(covered))
        return frame;
    Rect left = frame;
    if (covered.width >= covered.height) {
        left.height -= covered.height;
        if (covered.y <= frame.y)
            left.y += covered.height;
    } else {
        left.width -= covered.width;
        if (covered.x <= frame.x)
            left.x += covered.width;
    }
    return isEmpty(left) ? frame : left;
}

} // namespace

X11Screens::X11Screens(const XConnection& connection)
    : connection_(connection), workArea_(connection.atom("_NET_WORKAREA")),
      currentDesktop_(connection.atom("_NET_CURRENT_DESKTOP")),
      clientList_(connection.atom("_NET_CLIENT_LIST")),
      strut_(connection.atom("_NET_WM_STRUT_PARTIAL")) {
    const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_randr_id);
    if (extension == nullptr || extension->present == 0)
        return;
    const XPointer<xcb_randr_query_version_reply_t> version(xcb_randr_query_version_reply(
        connection_.get(), xcb_randr_query_version(connection_.get(), 1, 5), nullptr));
    hasMonitors_ =
        version != nullptr && (version->major_version > 1 ||
                               (version->major_version == 1 && version->minor_version >= 5));
}

std::vector<Rect> X11Screens::frames() const {
    std::vector<Rect> result;
    const XPointer<xcb_randr_get_monitors_reply_t> reply(
        hasMonitors_
            ? xcb_randr_get_monitors_reply(
                  connection_.get(),
                  xcb_randr_get_monitors(connection_.get(), connection_.root(), 1), nullptr)
            : nullptr);
    if (reply != nullptr)
        for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem > 0;
             xcb_randr_monitor_info_next(&it)) {
            const Rect frame{static_cast<double>(it.data->x), static_cast<double>(it.data->y),
                             static_cast<double>(it.data->width),
                             static_cast<double>(it.data->height)};
            if (isEmpty(frame))
                continue;
            result.insert(it.data->primary != 0 ? result.begin() : result.end(), frame);
        }
    if (!result.empty())
        return result;
    const XPointer<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(
        connection_.get(), xcb_get_geometry(connection_.get(), connection_.root()), nullptr));
    if (root != nullptr)
        result.push_back(
            {0, 0, static_cast<double>(root->width), static_cast<double>(root->height)});
    return result;
}

Rect X11Screens::inWorkArea(Rect frame) const {
    const auto areas =
        rects(connection_.property32(connection_.root(), workArea_, XCB_ATOM_CARDINAL));
    const auto desktop =
        connection_.property32(connection_.root(), currentDesktop_, XCB_ATOM_CARDINAL);
    const std::size_t index = desktop.empty() ? 0 : desktop.front();
    if (index >= areas.size() || isEmpty(common(frame, areas[index])))
        return frame;
    return common(frame, areas[index]);
}

// Some window managers tell the area of each screen, under a name that ends in the desktop.
std::vector<Rect> X11Screens::workAreasOfScreens() const {
    const auto desktop =
        connection_.property32(connection_.root(), currentDesktop_, XCB_ATOM_CARDINAL);
    const xcb_atom_t name = connection_.atom("_GTK_WORKAREAS_D" +
                                             std::to_string(desktop.empty() ? 0 : desktop.front()));
    return rects(connection_.property32(connection_.root(), name, XCB_ATOM_CARDINAL));
}

// What windows keep for themselves at the edges of the desktop.
std::vector<Rect> X11Screens::panels() const {
    const XPointer<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(
        connection_.get(), xcb_get_geometry(connection_.get(), connection_.root()), nullptr));
    if (root == nullptr)
        return {};
    const double width = root->width;
    const double height = root->height;
    std::vector<Rect> result;
    for (const xcb_window_t window :
         connection_.property32(connection_.root(), clientList_, XCB_ATOM_WINDOW)) {
        const auto numbers = connection_.property32(window, strut_, XCB_ATOM_CARDINAL);
        if (numbers.size() < 12)
            continue;
        std::vector<double> at(numbers.begin(), numbers.end());
        const Rect sides[] = {
            {0, at[4], at[0], at[5] - at[4] + 1},
            {width - at[1], at[6], at[1], at[7] - at[6] + 1},
            {at[8], 0, at[9] - at[8] + 1, at[2]},
            {at[10], height - at[3], at[11] - at[10] + 1, at[3]},
        };
        std::copy_if(std::begin(sides), std::end(sides), std::back_inserter(result),
                     [](const Rect& side) { return !isEmpty(side); });
    }
    return result;
}

// The work area of the desktop is that of a screen only while there is one.
std::vector<Screen> X11Screens::screens() {
    const std::vector<Rect> all = frames();
    if (all.size() == 1)
        return {{all.front(), inWorkArea(all.front())}};
    const auto areas = workAreasOfScreens();
    const auto taken = panels();
    std::vector<Screen> result;
    for (const Rect& frame : all) {
        Screen screen{frame, frame};
        for (const Rect& panel : taken)
            screen.visibleFrame = without(screen.visibleFrame, panel);
        for (const Rect& area : areas)
            if (!isEmpty(area) && holds(frame, area))
                screen.visibleFrame = common(screen.visibleFrame, area);
        result.push_back(screen);
    }
    return result;
}

Point X11Screens::pointerLocation() {
    const XPointer<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
        connection_.get(), xcb_query_pointer(connection_.get(), connection_.root()), nullptr));
    if (reply == nullptr)
        return {};
    return {static_cast<double>(reply->root_x), static_cast<double>(reply->root_y)};
}

void X11Screens::postMouseEvent(EventType type, Point location) {
    const auto place = [](double value) {
        return static_cast<std::int16_t>(std::clamp(value, 0.0, Outermost));
    };
    constexpr std::uint8_t absolute = 0;
    xcb_test_fake_input(connection_.get(), XCB_MOTION_NOTIFY, absolute, XCB_CURRENT_TIME,
                        connection_.root(), place(location.x), place(location.y), 0);
    xcb_test_fake_input(connection_.get(),
                        type == EventType::LeftMouseDown ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE,
                        LeftButton, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    connection_.flush();
}

} // namespace dresk
