#pragma once

#include <future>
#include <string>
#include <thread>

#include "Foundation/PollRunLoop.h"
#include "input/Desktop.h"
#include "input/x11/Keymap.h"

namespace dresk {

/// A chord that is grabbed on the root: its key, and the EventFlag modifiers it is pressed with.
struct RootChord {
    xcb_keycode_t code = 0;
    std::uint64_t flags = 0;
    friend bool operator==(const RootChord&, const RootChord&) = default;
};

/// Chords of the desktop as a whole, on a connection and a thread of their own: taps come and go,
/// and what the tap holds back must not hold these back. A chord counts whatever locks are on. It
/// follows its physical key through changes of the layout. Main thread.
class RootHotKeys {
  public:
    using ChordsChanged = std::function<void(std::vector<RootChord>)>;

    /// `displayName` null means $DISPLAY. `chordsChanged` is told of the chords that are grabbed
    /// from now on, on any thread. Nothing is connected before the first chord.
    RootHotKeys(const char* displayName, ChordsChanged chordsChanged);
    RootHotKeys(const RootHotKeys&) = delete;
    RootHotKeys& operator=(const RootHotKeys&) = delete;
    ~RootHotKeys();

    /// As Desktop::registerEventHotKey. The result does not outlive this.
    std::unique_ptr<EventHotKey> registerHotKey(std::uint16_t keyCode, std::uint64_t flags,
                                                RunLoop& loop, std::function<void()> pressed);

  private:
    struct HotKey;
    class Handle;

    bool start();
    void onThread(const std::function<void()>& call);
    void readEvents();
    void handlePress(const xcb_key_press_event_t& press);
    void followLayout();
    bool grab(HotKey& hotKey);
    void ungrab(HotKey& hotKey);
    bool grabWithLocks(const HotKey& hotKey, bool on);
    void tellChords();

    const std::string displayName_;
    const ChordsChanged chordsChanged_;
    std::unique_ptr<XConnection> connection_;
    PollRunLoop loop_;
    std::thread thread_;

    // The thread of these keys.
    std::shared_ptr<const Keymap> keymap_;
    std::vector<std::shared_ptr<HotKey>> hotKeys_;
    /// The chord's key that is down, to tell its repeats apart; 0 for none.
    xcb_keycode_t heldCode_ = 0;
};

} // namespace dresk
