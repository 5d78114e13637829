#pragma once

#include <functional>
#include <utility>

#include "input/Desktop.h"
#include "input/x11/ApplicationPing.h"
#include "input/x11/FocusGrab.h"
#include "input/x11/KeyboardPort.h"
#include "input/x11/SpareKeys.h"
#include "input/x11/Watchdog.h"

namespace dresk {

/// A key that the user pressed or released while text went out; it is handled when that is done.
struct StashedKey {
    xcb_keycode_t code = 0;
    bool press = false;
    KeyboardState state;
    /// False for a press that was seen on the keyboard and has not come through the grab.
    bool hasArrived = true;
    /// Pressed while the same own key may have been down: the server drops such a press.
    bool mayBeDropped = false;
};

/// Writes keys into the application in front while the user may go on typing. The grab stays: each
/// own key comes back through it, is recognised, and let on, so that it is known to have arrived
/// in the right state; a key of the user's is taken out and waits in the stash. Nothing is lost
/// and nothing overtakes the text. Tap thread.
class KeyWriter {
  public:
    KeyWriter(const XConnection& connection, KeyboardPort& port, FocusGrab& grab,
              SpareKeys& spareKeys, ApplicationPing& ping, Watchdog& watchdog)
        : connection_(connection), port_(port), grab_(grab), spareKeys_(spareKeys), ping_(ping),
          watchdog_(watchdog) {}

    void setKeymap(std::shared_ptr<const Keymap> keymap) { keymap_ = std::move(keymap); }

    /// Begins to write. `pending` is the key that waits for an answer and is kept, or null;
    /// `grabKey` is the kept key whose grab is still on, 0 for none. Held keys are let go, Caps
    /// Lock is put aside.
    void begin(const GrabbedPress* pending, xcb_keycode_t grabKey);
    /// Ends the writing: Caps Lock, group and the modifiers that are still held come back.
    void end();

    /// Writes one posted event. `now` is in seconds on the run loop's clock. Waits for what the
    /// event awaits: for five seconds at most while the application is behind with its events, a
    /// quarter of one when it has read them; and half a second at most behind that.
    void write(const DesktopEvent& event, double now);
    /// Writes a key of the user's as it was typed, press and release.
    void writeStroke(xcb_keycode_t code, const KeyboardState& state);

    /// Waits until applications have read all that was sent to them, five seconds from the sending
    /// at most; whether they have. The user's keys wait too: in the stash while writing, else in
    /// the server.
    bool awaitRead();

    bool hasStashed() const { return !stash_.empty(); }
    /// Oldest key in the stash; false if it is empty. Drops what went to another program.
    bool takeStashed(StashedKey& key);
    /// State of the keyboard as the user set it, without what is held or locked for writing.
    KeyboardState userState() const;
    /// Lets go a modifier that was pressed again for the user, once the user lets go.
    void noteUserRelease(xcb_keycode_t code);
    /// Whether the focus moved while writing.
    bool takeFocusMoved() { return std::exchange(focusMoved_, false); }
    /// Called at each answer of the server.
    void setProgressHandler(std::function<void()> handler) { onProgress_ = std::move(handler); }

  private:
    enum class Arrival { Delivered, Elsewhere, WrongState, Lost };
    /// What the events that have come in hold.
    struct Batch {
        std::optional<GrabbedPress> ownPress;
        bool userPress = false;
        bool grabEnded = false;
        bool focusMoved = false;
    };

    void writeKey(const DesktopEvent& event, bool down);
    bool await(const std::atomic<double>& last);
    void awaitCommands();
    void awaitEvents() const;
    void holdUntil(const std::function<bool()>& done);
    void writeText(StringView text, double now);
    void writeCharacter(char32_t character, double now);
    bool press(xcb_keycode_t code, bool release);
    Arrival awaitPress(xcb_keycode_t code);
    Arrival judge(const GrabbedPress& press);
    Batch readBatch(xcb_keycode_t ownCode, xcb_keycode_t grabKey);
    void endGrabOf(xcb_keycode_t grabKey);
    void stashUserPress(const GrabbedPress& press);
    void noteRaw(const RawKey& key);
    bool takeOutUserKeys();
    bool noteState(const xcb_generic_event_t& event);
    void setState(std::uint8_t modifiers, bool capsLock, std::uint8_t group);
    void setModifiers(std::uint8_t modifiers);
    void restoreState();
    std::uint8_t modifiersForFlags(std::uint64_t flags) const;
    void restoreHeldModifiers();

    const XConnection& connection_;
    KeyboardPort& port_;
    FocusGrab& grab_;
    SpareKeys& spareKeys_;
    ApplicationPing& ping_;
    Watchdog& watchdog_;
    std::shared_ptr<const Keymap> keymap_;
    std::function<void()> onProgress_ = [] {};

    bool writing_ = false;
    bool focusMoved_ = false;
    /// What the writer itself holds and locks.
    std::uint8_t modifiers_ = 0;
    /// Of modifier keys that were posted as pressed and not yet as released.
    std::uint8_t postedModifiers_ = 0;
    bool capsLock_ = false;
    std::uint8_t group_ = 0;
    bool userCapsLock_ = false;
    std::uint8_t userLocks_ = 0;
    std::uint8_t userGroup_ = 0;
    /// Keys of the user's that went down since the beginning: a press of these is dropped.
    KeySet blocked_;
    /// Own keys that are down: the server drops a press of these by the user.
    KeySet ownDown_;
    /// Modifiers pressed again at the end for a user who still holds them.
    KeySet restored_;
    std::deque<StashedKey> stash_;
    /// Of the application that was written to last, and how many commands it may still owe.
    bool commandsLag_ = false;
    unsigned lateCommands_ = 0;
    char16_t pendingSurrogate_ = 0;
    bool carriageReturn_ = false;
};

} // namespace dresk
