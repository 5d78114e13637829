#pragma once

#include "Foundation/Geometry.h"
#include "Foundation/ZPEvent.h"
#include "seam/DROutput.h"
#include "seam/ZPEventArgs.h"
#include "store/BundleIdentifierResolver.h"

namespace dresk {

/// The platform as the engine sees it: keys come in as events, jobs go out through sendOutput. The
/// whole engine runs against a scripted replacement.
///
/// Threads. "Tap thread" is the thread on which the service reads keys; everything from a key to
/// the text that leaves happens there, inside the handler that the key waits for, so handlers are
/// short and pass all window work to the main thread. Observers subscribe before enableEvents.
/// While the service itself sends, it raises no key events: its own output is never seen.
class SystemInputService : public ZPObject {
  public:
    /// A plain key press. ZPKeyEventArgs; tap thread. `cancel` drops the press and its release.
    virtual ZPEvent& keyDownEvent() = 0;
    /// A key release. ZPKeyEventArgs; posted to the main thread, so `cancel` does nothing.
    virtual ZPEvent& keyUpEvent() = 0;
    /// A mouse button went down anywhere. No argument; tap or main thread.
    virtual ZPEvent& mouseDownEvent() = 0;
    /// What was typed no longer continues at the same place. No argument; tap thread, before the
    /// key that showed it.
    virtual ZPEvent& inputContextChangedEvent() = 0;
    /// Registered hot keys were pressed. ZPHotKeysPressedEventArgs; tap thread. `cancel` drops the
    /// press and its release.
    virtual ZPEvent& hotKeysPressed() = 0;
    /// Starts delivering, on a new tap thread; returns at once.
    virtual void enableEvents() = 0;
    /// Stops delivering. Main thread.
    virtual void disableEvents() = 0;

    /// A Control or Command chord that no hot key claimed. ZPUnregisteredHotKeyPressedEventArgs;
    /// tap thread. `cancel` drops it; otherwise inputContextChangedEvent follows.
    virtual ZPEvent& unregisteredHotKeyPressedEvent() = 0;
    /// Secure keyboard entry was switched on or off. The service; main or tap thread.
    virtual ZPEvent& secureInputChangedEvent() = 0;

    /// The last key went to this program's own windows. Any thread.
    virtual bool isSameProcess() const = 0;
    /// KeyModifier set held at the moment of the current key. Tap thread.
    virtual std::int32_t keyModifier() const = 0;
    /// What the current key typed; null when none. Valid from the start of its handler to the next
    /// event. Tap thread.
    virtual std::optional<String> lastKeyString() const = 0;
    /// Process that last received a key. Any thread.
    virtual ProcessSerialNumber lastProcessReceivedKeyEvent() const = 0;
    /// Brings the process to the front as far as the desktop allows. Any thread.
    virtual void setFrontProcess(ProcessSerialNumber process) = 0;
    /// The last units before the caret of the focused text, at most so many; null when the
    /// application does not tell. Waits for it for a moment. Any thread.
    virtual std::optional<String> getTextBeforeCaretWithMaxLength(std::int64_t length) = 0;

    /// Finds the delivery rules for the application in front. Any thread.
    virtual void refreshContextInputSetting() = 0;
    /// The rules so found; never null. Any thread.
    virtual std::shared_ptr<ContextInputSetting> contextInputSetting() const = 0;
    /// Identifier of the application in front as of the last refresh; null when it has none. Any
    /// thread.
    virtual std::optional<String> contextBundleIdentifier() const = 0;

    /// Takes one job and carries it out on the tap thread: before it returns as far as one batch
    /// goes when called there, otherwise later. The caller keeps the job alive until `finished`;
    /// `cancelTrigger` may have been raised when it returns. A job that cannot be delivered as a
    /// whole is `rejected` with `cancelTrigger` false. Any thread, without the data lock.
    virtual void sendOutput(const std::shared_ptr<DROutput>& output) = 0;

    /// What a key types under the current keyboard layout with the given event flags, one unit;
    /// null when it types nothing. Any thread.
    virtual std::optional<String> stringForKeyCode(std::int64_t keyCode, std::uint64_t flags) = 0;
    /// Identifier of the selected keyboard input source; null when unknown. Any thread.
    virtual std::optional<String> inputSourceIdentifier() const = 0;
    /// The selected input source changed. No argument; tap or main thread.
    virtual ZPEvent& inputSourceChangedEvent() = 0;
    /// Pointer position on the screen, origin top left. Any thread.
    virtual Point mouseLocation() const = 0;
};

} // namespace dresk
