#pragma once

namespace dresk {

/// In the desktop's unit, pixels on X11, unless told otherwise; so is where the origin lies.
struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

/// The right edge and the one opposite the origin lie outside.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    friend bool operator==(const Rect&, const Rect&) = default;

    /// All four values are 0: nothing is known.
    bool isZero() const { return *this == Rect{}; }
    bool contains(Point point) const {
        return point.x >= x && point.x < x + width && point.y >= y && point.y < y + height;
    }
};

} // namespace dresk
