#pragma once

#include "input/Desktop.h"

namespace dresk {

/// Asks whether the desktop lets the program see keys. Taps belong to a tap thread, so it takes one
/// for the question. Main thread; while the input service has none.
class AccessTest {
  public:
    /// Both outlive it.
    AccessTest(Desktop& desktop, RunLoop& mainRunLoop)
        : desktop_(desktop), mainRunLoop_(mainRunLoop) {}
    AccessTest(const AccessTest&) = delete;
    AccessTest& operator=(const AccessTest&) = delete;
    ~AccessTest();

    /// Calls `answer` later, on the main thread. One question at a time: another one is dropped.
    void run(std::function<void(bool granted)> answer);
    /// Behind this the question is not answered and no tap thread is left.
    void cancel();

  private:
    void finish(bool granted);

    Desktop& desktop_;
    RunLoop& mainRunLoop_;
    std::function<void(bool)> answer_;
    std::unique_ptr<TapThread> thread_;
};

} // namespace dresk
