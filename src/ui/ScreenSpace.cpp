#include "ui/ScreenSpace.h"

#include <algorithm>

namespace dresk {

ScreenSpace::ScreenSpace(const std::vector<Screen>& screens) {
    if (!screens.empty())
        height_ = screens.front().frame.height;
    for (const Screen& screen : screens) {
        frames_.push_back(fromDesktop(screen.frame));
        visibleFrames_.push_back(fromDesktop(screen.visibleFrame));
    }
}

Rect ScreenSpace::flipped(Rect frame) const {
    frame.y = height_ - frame.y - frame.height;
    return frame;
}

Rect ScreenSpace::visibleFrameAt(std::optional<Point> place) const {
    if (frames_.empty())
        return {};
    if (place.has_value())
        for (std::size_t i = 0; i < frames_.size(); ++i)
            if (frames_[i].contains(*place))
                return visibleFrames_[i];
    return visibleFrames_.front();
}

Rect intersection(const Rect& a, const Rect& b) {
    const double left = std::max(a.x, b.x);
    const double bottom = std::max(a.y, b.y);
    const double right = std::min(a.x + a.width, b.x + b.width);
    const double top = std::min(a.y + a.height, b.y + b.height);
    if (right <= left || top <= bottom)
        return {};
    return {left, bottom, right - left, top - bottom};
}

Rect movedInside(Rect frame, const Rect& bounds) {
    frame.x = std::max(bounds.x, std::min(frame.x, bounds.x + bounds.width - frame.width));
    frame.y = std::min(bounds.y + bounds.height - frame.height, std::max(frame.y, bounds.y));
    return frame;
}

Rect centred(Size size, const Rect& bounds) {
    return {bounds.x + (bounds.width - size.width) / 2,
            bounds.y + (bounds.height - size.height) / 2, size.width, size.height};
}

} // namespace dresk
