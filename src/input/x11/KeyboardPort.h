#pragma once

#include <bitset>
#include <deque>

#include "input/x11/Keymap.h"

#include <xcb/xinput.h>

namespace dresk {

using XEvent = XPointer<xcb_generic_event_t>;
using KeySet = std::bitset<256>;

/// A key press that reached the grab. It waits in the server until it is answered.
struct GrabbedPress {
    xcb_keycode_t code = 0;
    KeyboardState state;
    /// Made with XTest, by this program or by another.
    bool fromTest = false;
};

/// A press or release of any key of the desktop, whoever receives it.
struct RawKey {
    xcb_keycode_t code = 0;
    bool press = false;
    /// Made by this program.
    bool own = false;
};

/// The lowest floor of keyboard traffic: reading events, answering grabbed keys, making keys with
/// XTest, and knowing which keys the user holds. Raw events come in the order in which the server
/// handles keys, also while it holds them back for a grab. Tap thread, unless told otherwise.
class KeyboardPort {
  public:
    explicit KeyboardPort(const XConnection& connection);

    /// Next event, one that was put aside before one from the server; null when there is none now.
    XEvent nextEvent();
    /// Next event from the server that has been read already or can be read without waiting.
    XEvent nextFreshEvent();
    void putAside(XEvent event) { aside_.push_back(std::move(event)); }
    /// Waits until the server has handled everything sent so far, the keys made included. Events
    /// that it caused are then ready for nextFreshEvent.
    void roundTrip();

    /// What an event is, as far as keys go; nothing for all others.
    std::optional<GrabbedPress> grabbedPress(const xcb_generic_event_t& event) const;
    bool isGrabbedRelease(const xcb_generic_event_t& event, xcb_keycode_t& code) const;
    /// Also keeps `userKeys` up to date: to be called once for each event, in order.
    std::optional<RawKey> rawKey(const xcb_generic_event_t& event);

    /// Makes a press or release. Sent with the next flush or round trip.
    void fake(bool press, xcb_keycode_t code);
    /// Ends the grab and lets the application have the key. Any thread.
    void replay() { allow(XCB_INPUT_EVENT_MODE_REPLAY_DEVICE); }
    /// Keeps the key. The grab goes on until that key is released; until then all keys come here,
    /// releases included, and each waits for an answer.
    void keepAndHoldNext() { allow(XCB_INPUT_EVENT_MODE_SYNC_DEVICE); }
    /// Keeps the key and ends the grab.
    void keepAndEndGrab();

    /// Caps Lock on or off, and the group; no key event is made.
    void lock(bool capsLock, std::uint8_t group);
    /// Keys that the user holds, on whatever device.
    const KeySet& userKeys() const { return userKeys_; }
    /// Keys that the server takes for held. Waits for the server.
    KeySet keysDown() const;
    /// The server's present state. Waits for the server.
    KeyboardState currentState() const;

  private:
    void allow(std::uint8_t mode);

    const XConnection& connection_;
    std::deque<XEvent> aside_;
    struct Fake {
        xcb_keycode_t code;
        bool press;
    };
    std::deque<Fake> expectedRaw_;
    KeySet userKeys_;
};

} // namespace dresk
