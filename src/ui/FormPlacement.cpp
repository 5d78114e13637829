#include "ui/FormPlacement.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Foundation/StringNumbers.h"

namespace dresk {

namespace {

// Between the text and the window.
constexpr double Gap = 6;

String text(double number) {
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
    return fromUTF8({buffer, static_cast<std::size_t>(end - buffer)});
}

double numberBehind(StringView text, StringView mark) {
    const auto at = text.find(mark);
    const double number = at == StringView::npos ? 0 : doubleValue(text.substr(at + mark.size()));
    return std::isfinite(number) ? number : 0;
}

const Screen* screenWith(Point point, const std::vector<Screen>& screens) {
    const auto found = std::find_if(screens.begin(), screens.end(), [point](const Screen& screen) {
        return screen.frame.contains(point);
    });
    return found != screens.end() ? &*found : screens.empty() ? nullptr : &screens.front();
}

/// The near edge wins where there is no room for all.
double within(double value, double low, double high) {
    return std::max(low, std::min(value, high));
}

} // namespace

Point centredOrigin(Size frame, const std::vector<Screen>& screens) {
    if (screens.empty())
        return {};
    const Screen& screen = screens.front();
    // The place of the visible part on the screen does not count; that is meant.
    const double x = (screen.visibleFrame.width - frame.width) / 2;
    const double fromBelow = (screen.visibleFrame.height - frame.height) / 2;
    return {std::max(0.0, x), std::max(0.0, screen.frame.height - fromBelow - frame.height)};
}

Point popoverOrigin(const Rect& selectedTextBound, Size frame, const std::vector<Screen>& screens) {
    const double height = screens.empty() ? 0 : screens.front().frame.height;
    const double top = height - selectedTextBound.y;
    const double bottom = top + selectedTextBound.height;
    const double middle = selectedTextBound.x + selectedTextBound.width / 2;
    Point origin{middle - frame.width / 2, bottom + Gap};
    const Screen* screen = screenWith({middle, top}, screens);
    if (screen == nullptr)
        return origin;
    const Rect& room = screen->visibleFrame;
    if (origin.y + frame.height > room.y + room.height && top - Gap - frame.height >= room.y)
        origin.y = top - Gap - frame.height;
    return {within(origin.x, room.x, room.x + room.width - frame.width),
            within(origin.y, room.y, room.y + room.height - frame.height)};
}

String stringFromSize(Size size) {
    return u"{" + text(size.width) + u", " + text(size.height) + u"}";
}

Size sizeFromString(StringView text) {
    return {numberBehind(text, u"{"), numberBehind(text, u",")};
}

} // namespace dresk
