#include "input/scripted/ScriptedScreens.h"

namespace dresk {

std::vector<Screen> ScriptedScreens::screens() {
    const std::lock_guard lock(mutex_);
    return screens_;
}

Point ScriptedScreens::pointerLocation() {
    const std::lock_guard lock(mutex_);
    return pointer_;
}

void ScriptedScreens::postMouseEvent(EventType type, Point location) {
    const std::lock_guard lock(mutex_);
    posted_.push_back({type, location});
}

void ScriptedScreens::setScreens(std::vector<Screen> screens) {
    const std::lock_guard lock(mutex_);
    screens_ = std::move(screens);
}

void ScriptedScreens::movePointer(Point location) {
    const std::lock_guard lock(mutex_);
    pointer_ = location;
}

std::vector<ScriptedScreens::MouseEvent> ScriptedScreens::postedMouseEvents() const {
    const std::lock_guard lock(mutex_);
    return posted_;
}

} // namespace dresk
