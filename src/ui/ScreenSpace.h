#pragma once

#include <optional>
#include <vector>

#include "input/Desktop.h"

namespace dresk {

/// Screens measured as accessibility measures, from the lower left: y grows upwards from the lower
/// edge of the first screen, and the origin of a frame is its lower-left corner. The desktop itself
/// counts from its top left corner, in the same units. Here alone the two meet.
class ScreenSpace {
  public:
    explicit ScreenSpace(const std::vector<Screen>& screens);

    Rect fromDesktop(Rect frame) const { return flipped(frame); }
    Rect toDesktop(Rect frame) const { return flipped(frame); }

    /// The part that panels leave free of the screen where `place` lies, else of the first one.
    Rect visibleFrameAt(std::optional<Point> place) const;

  private:
    Rect flipped(Rect frame) const;

    double height_ = 0;
    std::vector<Rect> frames_;
    std::vector<Rect> visibleFrames_;
};

/// The common part; zero if there is none.
Rect intersection(const Rect& a, const Rect& b);
/// Moves the frame only as far as needed to lie inside the bounds; where it is larger than they
/// are, its upper-left corner is inside.
Rect movedInside(Rect frame, const Rect& bounds);
/// A frame of the given size in the middle of the bounds.
Rect centred(Size size, const Rect& bounds);

} // namespace dresk
