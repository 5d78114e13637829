#pragma once

#include <unordered_map>

#include "input/x11/XConnection.h"

namespace dresk {

/// Asks for news of other programs' windows: changed properties, and their end. Each window for as
/// long as somebody has a use for it. One thread.
class WindowWatch {
  public:
    explicit WindowWatch(const XConnection& connection) : connection_(connection) {}

    void add(xcb_window_t window) {
        if (++uses_[window] == 1)
            select(window, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    }
    void remove(xcb_window_t window) {
        const auto found = uses_.find(window);
        if (found != uses_.end() && --found->second == 0) {
            uses_.erase(found);
            select(window, XCB_EVENT_MASK_NO_EVENT);
        }
    }

  private:
    void select(xcb_window_t window, std::uint32_t mask) const {
        xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &mask);
    }

    const XConnection& connection_;
    std::unordered_map<xcb_window_t, int> uses_;
};

} // namespace dresk
