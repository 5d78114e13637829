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
    Point pointerLocation() override { return desktop_.pointerLocation(); }
    std::unique_ptr<TapThread> startTapThread(std::function<void(RunLoop&)> body) override;

  private:
    Desktop& desktop_;
    Heartbeat& heartbeat_;
};

} // namespace dresk
