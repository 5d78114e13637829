#pragma once

#include "input/Desktop.h"
#include "shell/Heartbeat.h"

namespace dresk {

/// A desktop whose tap threads beat: the supervisor sees whether keys are served. Everything else
/// is the desktop behind it.
class HeartbeatDesktop final : public Desktop {
  public:
    /// Both outlive it.
    HeartbeatDesktop(Desktop& desktop, Heartbeat& heartbeat)
        : desktop_(desktop), heartbeat_(heartbeat) {}

    EventTaps& eventTaps() override { return desktop_.eventTaps(); }
    KeyboardLayouts& keyboardLayouts() override { return desktop_.keyboardLayouts(); }
    Processes& processes() override { return desktop_.processes(); }
    Accessibility& accessibility() override { return desktop_.accessibility(); }
    Pasteboard& pasteboard() override { return desktop_.pasteboard(); }
    Screens& screens() override { return desktop_.screens(); }
    KeyboardFocus& keyboardFocus() override { return desktop_.keyboardFocus(); }
    Sounds& sounds() override { return desktop_.sounds(); }
    std::unique_ptr<EventHotKey> registerEventHotKey(std::uint16_t keyCode, std::uint64_t flags,
                                                     RunLoop& loop,
                                                     std::function<void()> pressed) override {
        return desktop_.registerEventHotKey(keyCode, flags, loop, std::move(pressed));
    }
    std::unique_ptr<TapThread> startTapThread(std::function<void(RunLoop&)> body) override;

  private:
    Desktop& desktop_;
    Heartbeat& heartbeat_;
};

} // namespace dresk
