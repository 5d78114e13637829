#include "input/x11/ApplicationPing.h"

#include <algorithm>
#include <utility>

#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

constexpr double DeadAfter = 30;

} // namespace

ApplicationPing::ApplicationPing(const XConnection& connection)
    : connection_(connection), protocols_(connection.atom("WM_PROTOCOLS")),
      ping_(connection.atom("_NET_WM_PING")) {}

std::uint32_t ApplicationPing::send(xcb_window_t window) {
    const xcb_window_t pinged = windowToPing(window);
    if (pinged == XCB_WINDOW_NONE)
        return 0;
    if (unanswered_.empty())
        listen(true);
    if (++lastSerial_ == 0)
        ++lastSerial_;
    unanswered_.push_back({lastSerial_, steadySeconds()});
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = pinged;
    message.type = protocols_;
    message.data.data32[0] = ping_;
    message.data.data32[1] = lastSerial_;
    message.data.data32[2] = pinged;
    xcb_send_event(connection_.get(), 0, pinged, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
    connection_.flush();
    return lastSerial_;
}

bool ApplicationPing::isAnswered(std::uint32_t serial) const {
    return std::none_of(unanswered_.begin(), unanswered_.end(),
                        [&](const Sent& sent) { return sent.serial == serial; });
}

double ApplicationPing::unansweredSince() {
    if (unanswered_.empty())
        return 0;
    const double time = steadySeconds();
    std::erase_if(unanswered_, [&](const Sent& sent) { return time - sent.time > DeadAfter; });
    if (!unanswered_.empty())
        return unanswered_.front().time;
    listen(false);
    return 0;
}

// The answer is the message itself, sent on to the root window.
bool ApplicationPing::takeAnswer(const xcb_generic_event_t& event) {
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    if ((event.response_type & 0x7F) != XCB_CLIENT_MESSAGE || message.type != protocols_ ||
        message.format != 32 || message.data.data32[0] != ping_)
        return false;
    const auto removed = std::erase_if(
        unanswered_, [&](const Sent& sent) { return sent.serial == message.data.data32[1]; });
    if (removed != 0 && unanswered_.empty())
        listen(false);
    return true;
}

xcb_window_t ApplicationPing::windowToPing(xcb_window_t window) {
    if (window == std::exchange(window_, window))
        return pingedWindow_;
    pingedWindow_ = XCB_WINDOW_NONE;
    if (window == XCB_WINDOW_NONE)
        return XCB_WINDOW_NONE;
    const xcb_window_t topLevel = connection_.topLevelWindow(window);
    const auto protocols = connection_.property32(topLevel, protocols_, XCB_ATOM_ATOM);
    if (std::find(protocols.begin(), protocols.end(), ping_) != protocols.end())
        pingedWindow_ = topLevel;
    return pingedWindow_;
}

// All other news of the top-level windows come along with that, so only while it is needed.
void ApplicationPing::listen(bool on) {
    connection_.selectRootEvents(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, on);
}

} // namespace dresk
