#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Foundation/Geometry.h"
#include "Foundation/RunLoop.h"
#include "input/Accessibility.h"
#include "input/Pasteboard.h"
#include "seam/FeedbackSound.h"
#include "store/BundleIdentifierResolver.h"

/// The platform as MacInputService sees it. A back end implements these classes and nothing else;
/// all rules (what is swallowed, how a job is cut and timed, what an application needs) stand above
/// them. tests/input/DesktopContract.h tells by example what every back end must do.
namespace dresk {

/// Event numbers as the logic compares them.
enum class EventType : std::int32_t {
    /// What was typed may no longer continue at the same place, although the process in front is
    /// the same: another window has the focus, or keys went elsewhere. Nothing else is filled.
    ContextLost = -3,
    TapDisabledByTimeout = -2,
    TapDisabledByUserInput = -1,
    LeftMouseDown = 1,
    LeftMouseUp = 2,
    RightMouseDown = 3,
    KeyDown = 10,
    KeyUp = 11,
    FlagsChanged = 12,
};

/// Bit of an event type in the mask of a tap; types below 0 always arrive.
inline constexpr std::uint32_t eventMask(EventType type) {
    return std::uint32_t{1} << static_cast<std::uint32_t>(type);
}

namespace EventFlag {
inline constexpr std::uint64_t Shift = 0x20000;
inline constexpr std::uint64_t Control = 0x40000;
inline constexpr std::uint64_t Option = 0x80000;
inline constexpr std::uint64_t Command = 0x100000;
inline constexpr std::uint64_t Modifiers = Shift | Control | Option | Command;
} // namespace EventFlag

/// One event, captured or to be posted.
struct DesktopEvent {
    EventType type = EventType::KeyDown;
    /// Virtual key code by physical position (36 Return, 51 Delete, ...), whatever the layout; for
    /// FlagsChanged the modifier key. A key without such a code has one from 256 on, the same for
    /// as long as the program runs.
    std::uint16_t keyCode = 0;
    /// EventFlag bits. Captured: the modifiers in effect at the event, for FlagsChanged those
    /// behind the change. Level choosers (AltGr, Caps Lock, Num Lock) are no modifiers.
    std::uint64_t flags = 0;
    /// Captured: what the key types, composed, at most 10 units; empty for a dead key and for keys
    /// that type nothing (navigation keys included). Return types U+000D, Enter U+0003, Tab U+0009,
    /// Delete U+0008, Escape U+001B. Posted: the text to type whatever the key code says; empty to
    /// press the key.
    String unicodeString;
    /// Captured: the key belongs to a sequence that is not finished, begun by a dead key or by
    /// Compose. It types nothing yet, whatever it would type by itself.
    bool isComposing = false;
    /// Posted: null, or when the application last did what this key asks for, such as taken what it
    /// pastes, on the clock of steadySeconds; 0 as long as it has not. Keys behind it, the user's
    /// too, wait for that, but not for long.
    std::shared_ptr<const std::atomic<double>> awaited = {};
    /// Posted: seconds behind that, the last time counting, for which keys behind it wait still:
    /// some applications take what they paste more than once.
    double pauseBehindAwaited = 0;
    /// Posted: the application carries out commands, such as Backspace and that to paste, a while
    /// after it has read the key, and types characters at once. Those behind wait for the command.
    bool commandsLag = false;
};

/// Names the tap through which an event came. Output posted with it enters the stream at the place
/// of that tap, so that the tap does not see it again. An identity only: with the proxy of a tap
/// that has gone, output is posted as without one.
using EventTapProxy = const void*;

/// A tap, delivering from its making to its destruction while it is enabled. Made, enabled and
/// destroyed on any one thread at a time; its callback runs on the loop it was made with.
class EventTap {
  public:
    EventTap() = default;
    EventTap(const EventTap&) = delete;
    EventTap& operator=(const EventTap&) = delete;
    /// Behind the return the callback neither runs nor starts.
    virtual ~EventTap() = default;
    virtual void enable(bool enabled) = 0;
};

/// What is known of a tap, whoever has it.
struct EventTapInformation {
    /// 0 for one that filters, 1 for a listener.
    std::int32_t options = 0;
    ProcessSerialNumber process;
};

/// Event streams. A key waits for its callback, and a callback that takes longer than about 0.2
/// seconds has its key passed on, the tap disabled, and the event TapDisabledByTimeout delivered
/// next; `enable` brings it back.
class EventTaps {
  public:
    enum class Location { Session = 1, AnnotatedSession = 2 };
    enum class Options { Default = 0, ListenOnly = 1 };
    /// Returns true to swallow the event; ignored for a listener, for mouse events and for the
    /// tap-disabled types. Must not throw.
    using Callback = std::function<bool(EventTapProxy, const DesktopEvent&)>;

    virtual ~EventTaps() = default;

    /// `mask` holds eventMask bits. `loop` is the loop of a TapThread and the one the caller runs
    /// on. Null when the desktop refuses, for instance because another program holds the keys.
    virtual std::unique_ptr<EventTap> createEventTap(Location location, Options options,
                                                     std::uint32_t mask, RunLoop& loop,
                                                     Callback callback) = 0;

    /// Sends an event to the application in front. Events keep their order, and inside a callback
    /// they reach the application before the key that is being handled, even if that is passed.
    /// With a proxy the tap of that proxy does not see them. Tap thread.
    virtual void postEvent(EventTapProxy proxy, const DesktopEvent& event) = 0;
    /// The same without a tap's place. Tap thread.
    virtual void postEvent(Location location, const DesktopEvent& event) = 0;

    /// Makes ready to type `text`, all the text of a job, before its first event is posted. False
    /// if some character of it cannot be typed now; nothing of the job may be typed then. Lone
    /// surrogates are no reason: they are left out. Tap thread.
    virtual bool prepareToType(StringView text) = 0;

    /// Whether the key is held now by the user. Tap thread.
    virtual bool keyState(std::uint16_t keyCode) const = 0;
    /// Whether another program keeps the keyboard to itself, as password prompts do. Any thread.
    virtual bool isSecureEventInputEnabled() const = 0;
    /// Called on the tap thread again and again while one event takes long but gets on. Before the
    /// thread starts.
    virtual void setProgressHandler(const std::function<void()>& /*handler*/) {}
    /// Taps of all programs, in the order in which events pass them; null when the desktop does not
    /// tell. Any thread.
    virtual std::optional<std::vector<EventTapInformation>> eventTapList() = 0;
};

/// The thread on which taps deliver. The destructor ends the loop behind the call being served and
/// waits for the thread, unless it runs on that thread.
class TapThread {
  public:
    TapThread() = default;
    TapThread(const TapThread&) = delete;
    TapThread& operator=(const TapThread&) = delete;
    virtual ~TapThread() = default;
    virtual RunLoop& runLoop() = 0;
};

/// Keyboard layouts and input sources. Any thread.
class KeyboardLayouts {
  public:
    virtual ~KeyboardLayouts() = default;
    /// What the key types with the given EventFlag bits in the current layout: the first unit only,
    /// the glyph itself for a dead key; null when there is none.
    virtual std::optional<String> stringForKeyCode(std::int64_t keyCode, std::uint64_t flags) = 0;
    /// Identifier of the selected input source; null when unknown.
    virtual std::optional<String> currentInputSourceIdentifier() = 0;
    /// `handler` is called on the tap thread when the selected source has changed; empty for none.
    /// Set while no tap exists.
    virtual void setInputSourceChangedHandler(std::function<void()> handler) = 0;
};

/// Processes and the application in front.
class Processes : public RunningApplications {
  public:
    /// This program. Any thread.
    virtual ProcessSerialNumber currentProcess() = 0;
    /// The process that receives keys; zero when there is none. Any thread, no waiting.
    virtual ProcessSerialNumber frontProcess() = 0;
    /// Brings the process to the front as far as the desktop allows. Any thread.
    virtual void setFrontProcess(ProcessSerialNumber process) = 0;
};

/// A screen, origin at the top left of the desktop.
struct Screen {
    Rect frame;
    /// Without panels and docks.
    Rect visibleFrame;
};

/// Screens and pointer; places have their origin at the top left of the desktop, which is that of
/// the first screen unless the user has put other screens above or left of it. Any thread.
class Screens {
  public:
    virtual ~Screens() = default;
    /// The first is the main one; empty when there is none.
    virtual std::vector<Screen> screens() = 0;
    virtual Point pointerLocation() = 0;
    /// Presses or releases the left button at that place: LeftMouseDown or LeftMouseUp.
    virtual void postMouseEvent(EventType type, Point location) = 0;
};

/// The keyboard for a window of this program that no window manager looks after: a panel in which
/// the user types while the application behind it stays in front. Any thread.
class KeyboardFocus {
  public:
    virtual ~KeyboardFocus() = default;
    /// Gives the keyboard to a visible window, by the desktop's own name of it, and remembers which
    /// window had it. False when the desktop refuses. The process in front stays what it was.
    virtual bool take(std::uint64_t window) = 0;
    /// Gives it back to the window that had it; behind the return, what is typed goes there. True
    /// too when the user has given it to another window meanwhile, which keeps it; false when
    /// nothing was taken or the window has gone.
    virtual bool giveBack() = 0;
};

/// A chord registered with the desktop as a whole, until this is destroyed.
class EventHotKey {
  public:
    EventHotKey() = default;
    EventHotKey(const EventHotKey&) = delete;
    EventHotKey& operator=(const EventHotKey&) = delete;
    virtual ~EventHotKey() = default;
};

/// A whole back end. The parts live as long as it does.
class Desktop {
  public:
    virtual ~Desktop() = default;

    virtual EventTaps& eventTaps() = 0;
    virtual KeyboardLayouts& keyboardLayouts() = 0;
    virtual Processes& processes() = 0;
    virtual Accessibility& accessibility() = 0;
    virtual Pasteboard& pasteboard() = 0;
    virtual Screens& screens() = 0;
    virtual KeyboardFocus& keyboardFocus() = 0;
    virtual Sounds& sounds() = 0;
    /// Calls `pressed` on `loop` whenever the chord is pressed, taps or not. `flags` holds
    /// EventFlag modifiers. Null when the desktop refuses, for instance because another program has
    /// the chord. Main thread.
    virtual std::unique_ptr<EventHotKey> registerEventHotKey(std::uint16_t keyCode,
                                                             std::uint64_t flags, RunLoop& loop,
                                                             std::function<void()> pressed) = 0;
    /// Starts a tap thread, which runs `body` first and then its loop.
    virtual std::unique_ptr<TapThread> startTapThread(std::function<void(RunLoop&)> body) = 0;
};

} // namespace dresk
