#pragma once

#include "Foundation/VirtualRunLoop.h"
#include "input/scripted/ScriptedEventTaps.h"
#include "input/scripted/ScriptedKeyboardFocus.h"
#include "input/scripted/ScriptedPasteboard.h"
#include "input/scripted/ScriptedScreens.h"
#include "input/scripted/ScriptedSounds.h"

namespace dresk {

/// A desktop in memory: keyboard, applications with a text field each, and a stream of events. With
/// a virtual time everything happens on one thread and nothing waits; without one, tap threads are
/// real, and what the user does is done by them a little later. The user's operations belong to
/// the thread that made the desktop. It begins with a text editor, "editor", in front.
class ScriptedDesktop final : public Desktop {
  public:
    /// `time` outlives the desktop.
    explicit ScriptedDesktop(VirtualTime& time) : ScriptedDesktop(&time) {}
    /// With real time and real tap threads.
    ScriptedDesktop() : ScriptedDesktop(nullptr) {}
    ~ScriptedDesktop() override;

    // Desktop
    ScriptedEventTaps& eventTaps() override { return eventTaps_; }
    ScriptedKeyboard& keyboardLayouts() override { return keyboard_; }
    ScriptedApplications& processes() override { return applications_; }
    Accessibility& accessibility() override { return applications_; }
    ScriptedPasteboard& pasteboard() override { return pasteboard_; }
    ScriptedScreens& screens() override { return screens_; }
    ScriptedKeyboardFocus& keyboardFocus() override { return keyboardFocus_; }
    ScriptedSounds& sounds() override { return sounds_; }
    std::unique_ptr<EventHotKey> registerEventHotKey(std::uint16_t keyCode, std::uint64_t flags,
                                                     RunLoop& loop,
                                                     std::function<void()> pressed) override;
    /// One at a time.
    std::unique_ptr<TapThread> startTapThread(std::function<void(RunLoop&)> body) override;

    // What the user does.
    /// Presses the keys for each character of the text, or commits what no key types.
    void typeText(StringView text);
    /// Presses the key with exactly these EventFlag modifiers held, which stay held.
    void pressKey(std::uint16_t keyCode, std::uint64_t flags = 0);
    void releaseKey(std::uint16_t keyCode);
    /// Presses and releases the key, and lets go of the modifiers.
    void typeKey(std::uint16_t keyCode, std::uint64_t flags = 0);
    void holdModifiers(std::uint64_t flags);
    void pressMouse(EventType button = EventType::LeftMouseDown);
    void movePointer(Point location) { screens_.movePointer(location); }
    /// "us", "de" or "us(dvorak)"; others change nothing.
    void selectLayout(String identifier);
    /// Does the same on the tap thread as the user's operations do: at once in virtual time.
    void performOnTapThread(RunLoop::Call call);

    /// The editor that is there from the start.
    ProcessSerialNumber editor() const { return editor_; }
    /// Text of the application in front.
    String text();
    /// `recordedLines` of everything posted.
    std::vector<std::string> postedLines() const {
        return recordedLines(eventTaps_.postedEvents());
    }

  private:
    class PerformingThread;
    class VirtualTapThread;
    class RealTapThread;

    explicit ScriptedDesktop(VirtualTime* time);
    double now() const;

    VirtualTime* time_;
    double start_ = 0;
    ScriptedKeyboard keyboard_;
    ScriptedPasteboard pasteboard_;
    ScriptedApplications applications_;
    ScriptedEventTaps eventTaps_;
    ProcessSerialNumber editor_;
    PerformingThread* tapThread_ = nullptr;
    ScriptedScreens screens_;
    ScriptedKeyboardFocus keyboardFocus_;
    ScriptedSounds sounds_;
};

} // namespace dresk
