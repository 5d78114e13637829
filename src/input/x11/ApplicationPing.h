#pragma once

#include "input/x11/XConnection.h"

namespace dresk {

/// Finds out whether applications have read what was sent to them: a ping, as window managers send
/// it, stands behind the keys in the application's queue and is answered when its turn comes. Tap
/// thread.
class ApplicationPing {
  public:
    explicit ApplicationPing(const XConnection& connection);

    /// Pings the application that the window belongs to. 0 when it does not answer pings.
    std::uint32_t send(xcb_window_t window);
    bool isAnswered(std::uint32_t serial) const;
    /// Whether an answer is still waited for. An application that does not come to it within half a
    /// minute counts as dead.
    bool hasUnanswered() { return unansweredSince() != 0; }
    /// When the oldest of those was sent, on the clock of steadySeconds; 0 for none.
    double unansweredSince();
    /// Takes an answer in; false if the event is something else.
    bool takeAnswer(const xcb_generic_event_t& event);

  private:
    struct Sent {
        std::uint32_t serial;
        double time;
    };

    xcb_window_t windowToPing(xcb_window_t window);
    void listen(bool on);

    const XConnection& connection_;
    xcb_atom_t protocols_;
    xcb_atom_t ping_;
    std::uint32_t lastSerial_ = 0;
    std::vector<Sent> unanswered_;
    /// The last window asked about, and what to ping for it; 0 for nothing.
    xcb_window_t window_ = XCB_WINDOW_NONE;
    xcb_window_t pingedWindow_ = XCB_WINDOW_NONE;
};

} // namespace dresk
