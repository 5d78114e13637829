#pragma once

#include "Foundation/PollRunLoop.h"
#include "input/Desktop.h"
#include "input/x11/KeyWriter.h"
#include "input/x11/RootHotKeys.h"

namespace dresk {

/// Taps on the X server: the grab of the focus window for keys, raw events for bare modifiers,
/// releases and the mouse. Made on any thread; all else on the tap thread unless said otherwise.
class X11EventTaps final : public EventTaps {
  public:
    explicit X11EventTaps(const XConnection& connection);
    ~X11EventTaps() override;

    std::unique_ptr<EventTap> createEventTap(Location location, Options options, std::uint32_t mask,
                                             RunLoop& loop, Callback callback) override;
    void postEvent(EventTapProxy proxy, const DesktopEvent& event) override;
    void postEvent(Location location, const DesktopEvent& event) override;
    bool prepareToType(StringView text) override;
    bool keyState(std::uint16_t keyCode) const override;
    std::optional<std::vector<EventTapInformation>> eventTapList() override { return std::nullopt; }
    bool isSecureEventInputEnabled() const override;
    void setProgressHandler(const std::function<void()>& handler) override;

    /// The loop that reads the connection from now on; null when its thread ends.
    void setLoop(PollRunLoop* loop);
    /// The layout now in force; null if the server does not tell. Any thread.
    std::shared_ptr<const Keymap> keymap() const;
    /// Group now in force. Any thread.
    std::uint8_t group() const { return group_; }
    /// Called on the tap thread when layout or group changed.
    void setInputSourceChangedHandler(std::function<void()> handler);
    /// Chords that go to this program itself and not to the grab. Any thread.
    void setRootChords(std::vector<RootChord> chords);
    /// Called on the tap thread with the window that has received the focus, 0 for none.
    void setFocusChangedHandler(std::function<void(xcb_window_t)> handler);

  private:
    class Tap;

    PollRunLoop* currentLoop() const { return loop_; }
    void readEvents();
    void dispatch(const xcb_generic_event_t& event);
    void handlePress(const GrabbedPress& press);
    void handleRelease(xcb_keycode_t code);
    void handleRaw(const RawKey& key);
    void handleStateNotice(const xcb_generic_event_t& event);
    void handleButton(std::uint32_t button);
    void handleFocus();
    void reloadKeymap();

    DesktopEvent keyEvent(EventType type, xcb_keycode_t code, const KeyboardState& state);
    bool deliver(const DesktopEvent& event);
    void deliverFlags(std::uint8_t modifiers, xcb_keycode_t code);
    bool deliverPress(xcb_keycode_t code, const KeyboardState& state);
    bool deliverRelease(xcb_keycode_t code, const KeyboardState& state,
                        std::optional<std::uint64_t> flags);
    void writePosted();
    void handleStash();
    void reportStall();
    void noteMissedKey();
    bool isRootChord(xcb_keycode_t code) const;
    void checkExpectedKey();
    void write(const GrabbedPress* pending, bool swallow);
    void writeAnswer(xcb_keycode_t code, const KeyboardState& state, bool swallow);
    void postEraseFirst(std::size_t count);
    void selectEvents(bool on);
    bool wantsKeys();
    void updateGrab();
    void retryGrab();
    void keepSpareKeysUntilRead();
    void unbindSpareKeysLater();

    const XConnection& connection_;
    std::atomic<PollRunLoop*> loop_{nullptr};
    KeyboardPort port_;
    FocusGrab grab_;
    SpareKeys spareKeys_;
    ApplicationPing ping_;
    Watchdog watchdog_;
    KeyWriter writer_;
    KeyTranslator translator_;
    mutable std::mutex keymapMutex_;
    std::shared_ptr<const Keymap> keymap_;
    mutable std::mutex rootChordsMutex_;
    std::vector<RootChord> rootChords_;
    bool keymapIsStale_ = false;
    bool grabIsRefused_ = false;
    std::atomic<std::uint8_t> group_{0};

    /// Held while a callback runs, so that a tap can be destroyed on another thread.
    std::recursive_mutex tapsMutex_;
    std::vector<Tap*> taps_;
    std::vector<DesktopEvent> posted_;
    std::uint64_t lastFlags_ = 0;
    /// The kept key whose grab is on until it is released; 0 for none.
    xcb_keycode_t keptCode_ = 0;
    /// Keys whose press was delivered and whose release was not yet.
    KeySet deliveredKeys_;
    /// Whether the last key released is to stay away from the application.
    bool releaseIsKept_ = false;
    /// Characters that the last key added by completing a sequence; 0 for a key that did not.
    std::size_t composedLength_ = 0;
    /// A key seen on the keyboard that has not reached the grab yet; 0 for none.
    xcb_keycode_t expectedCode_ = 0;
    std::atomic<double> missingSince_{0};

    std::function<void()> inputSourceChanged_;
    std::function<void(xcb_window_t)> focusChanged_;
};

} // namespace dresk
