#pragma once

#include <mutex>

#include "input/Desktop.h"

namespace dresk {

/// A keyboard focus in memory. 0 is no window, the one that every program begins with. Any thread.
class ScriptedKeyboardFocus final : public KeyboardFocus {
  public:
    bool take(std::uint64_t window) override {
        const std::lock_guard lock(mutex_);
        if (focused_ != window)
            previous_ = focused_;
        focused_ = taken_ = window;
        return true;
    }
    bool giveBack() override {
        const std::lock_guard lock(mutex_);
        if (taken_ == 0)
            return false;
        if (focused_ == taken_)
            focused_ = previous_;
        taken_ = 0;
        return true;
    }

    std::uint64_t focusedWindow() const {
        const std::lock_guard lock(mutex_);
        return focused_;
    }
    /// The user gives the keyboard to a window.
    void setFocusedWindow(std::uint64_t window) {
        const std::lock_guard lock(mutex_);
        focused_ = window;
    }

  private:
    mutable std::mutex mutex_;
    std::uint64_t focused_ = 0;
    std::uint64_t previous_ = 0;
    std::uint64_t taken_ = 0;
};

} // namespace dresk
