#pragma once

#include <mutex>
#include <vector>

#include "input/Desktop.h"

namespace dresk {

/// Screens and a pointer in memory; one screen of 1920 by 1080 with a panel of 30 at its top. Any
/// thread.
class ScriptedScreens final : public Screens {
  public:
    struct MouseEvent {
        EventType type;
        Point location;
    };

    std::vector<Screen> screens() override;
    Point pointerLocation() override;
    void postMouseEvent(EventType type, Point location) override;

    void setScreens(std::vector<Screen> screens);
    void movePointer(Point location);
    /// Everything posted since the beginning.
    std::vector<MouseEvent> postedMouseEvents() const;

  private:
    mutable std::mutex mutex_;
    std::vector<Screen> screens_{{{0, 0, 1920, 1080}, {0, 30, 1920, 1050}}};
    Point pointer_;
    std::vector<MouseEvent> posted_;
};

} // namespace dresk
