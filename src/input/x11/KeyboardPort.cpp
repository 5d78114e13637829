#include "input/x11/KeyboardPort.h"

#include "input/x11/XkbHeader.h"

#include <xcb/xtest.h>

namespace dresk {

KeyboardPort::KeyboardPort(const XConnection& connection)
    : connection_(connection), userKeys_(keysDown()) {}

XEvent KeyboardPort::nextEvent() {
    if (aside_.empty())
        return nextFreshEvent();
    XEvent event = std::move(aside_.front());
    aside_.pop_front();
    return event;
}

XEvent KeyboardPort::nextFreshEvent() {
    return XEvent(xcb_poll_for_event(connection_.get()));
}

void KeyboardPort::roundTrip() {
    const XPointer<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

std::optional<GrabbedPress> KeyboardPort::grabbedPress(const xcb_generic_event_t& event) const {
    const auto& press = reinterpret_cast<const xcb_input_key_press_event_t&>(event);
    if ((event.response_type & 0x7F) != XCB_GE_GENERIC ||
        press.extension != connection_.inputOpcode() || press.event_type != XCB_INPUT_KEY_PRESS)
        return std::nullopt;
    GrabbedPress result;
    result.code = static_cast<xcb_keycode_t>(press.detail);
    result.state = {static_cast<std::uint8_t>(press.mods.base),
                    static_cast<std::uint8_t>(press.mods.latched),
                    static_cast<std::uint8_t>(press.mods.locked),
                    press.group.base,
                    press.group.latched,
                    press.group.locked};
    result.fromTest = press.sourceid == connection_.testKeyboard();
    return result;
}

bool KeyboardPort::isGrabbedRelease(const xcb_generic_event_t& event, xcb_keycode_t& code) const {
    const auto& release = reinterpret_cast<const xcb_input_key_release_event_t&>(event);
    if ((event.response_type & 0x7F) != XCB_GE_GENERIC ||
        release.extension != connection_.inputOpcode() ||
        release.event_type != XCB_INPUT_KEY_RELEASE)
        return false;
    code = static_cast<xcb_keycode_t>(release.detail);
    return true;
}

std::optional<RawKey> KeyboardPort::rawKey(const xcb_generic_event_t& event) {
    const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
    if ((event.response_type & 0x7F) != XCB_GE_GENERIC ||
        raw.extension != connection_.inputOpcode() ||
        (raw.event_type != XCB_INPUT_RAW_KEY_PRESS && raw.event_type != XCB_INPUT_RAW_KEY_RELEASE))
        return std::nullopt;
    RawKey key;
    key.code = static_cast<xcb_keycode_t>(raw.detail);
    key.press = raw.event_type == XCB_INPUT_RAW_KEY_PRESS;
    // On-screen keyboards and remote desktops use the same device, so its keys are told apart by
    // what was made here and not yet seen. The server may leave one out that changes nothing.
    if (raw.sourceid == connection_.testKeyboard())
        for (auto it = expectedRaw_.begin(); it != expectedRaw_.end(); ++it)
            if (it->code == key.code && it->press == key.press) {
                key.own = true;
                expectedRaw_.erase(expectedRaw_.begin(), it + 1);
                break;
            }
    if (!key.own)
        userKeys_.set(key.code, key.press);
    return key;
}

void KeyboardPort::fake(bool press, xcb_keycode_t code) {
    xcb_test_fake_input(connection_.get(), press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, code,
                        XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    expectedRaw_.push_back({code, press});
}

void KeyboardPort::allow(std::uint8_t mode) {
    xcb_input_xi_allow_events(connection_.get(), XCB_CURRENT_TIME, connection_.masterKeyboard(),
                              mode, 0, 0);
}

void KeyboardPort::keepAndEndGrab() {
    xcb_input_xi_ungrab_device(connection_.get(), XCB_CURRENT_TIME, connection_.masterKeyboard());
}

void KeyboardPort::lock(bool capsLock, std::uint8_t group) {
    xcb_xkb_latch_lock_state(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, XCB_MOD_MASK_LOCK,
                             capsLock ? XCB_MOD_MASK_LOCK : 0, 1, group, 0xFF, 0, 0);
}

KeySet KeyboardPort::keysDown() const {
    KeySet keys;
    const XPointer<xcb_query_keymap_reply_t> reply(
        xcb_query_keymap_reply(connection_.get(), xcb_query_keymap(connection_.get()), nullptr));
    if (reply != nullptr)
        for (std::size_t code = 8; code < 256; ++code)
            keys.set(code, (reply->keys[code / 8] >> (code % 8) & 1) != 0);
    return keys;
}

KeyboardState KeyboardPort::currentState() const {
    const XPointer<xcb_xkb_get_state_reply_t> reply(xcb_xkb_get_state_reply(
        connection_.get(), xcb_xkb_get_state(connection_.get(), XCB_XKB_ID_USE_CORE_KBD), nullptr));
    if (reply == nullptr)
        return {};
    return {reply->baseMods,
            reply->latchedMods,
            reply->lockedMods,
            static_cast<std::uint8_t>(reply->baseGroup),
            static_cast<std::uint8_t>(reply->latchedGroup),
            reply->lockedGroup};
}

} // namespace dresk
