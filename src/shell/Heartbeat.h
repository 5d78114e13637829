#pragma once

#include "Foundation/RunLoop.h"

namespace dresk {

/// The worker's sign of life to its supervisor: a byte on a pipe, written from the run loop that
/// serves the keys. The supervisor watches from the first beat to a pause.
class Heartbeat {
  public:
    static constexpr char Beat = 'b';
    /// No keys are taken from now on, so no answer is expected either.
    static constexpr char Pause = 'p';
    /// Seconds between two beats.
    static constexpr double Interval = 0.25;

    /// Writes to `descriptor`, which stays open and is not owned; negative writes nowhere.
    explicit Heartbeat(int descriptor) : descriptor_(descriptor) {}
    Heartbeat(const Heartbeat&) = delete;
    Heartbeat& operator=(const Heartbeat&) = delete;

    /// Beats now and then for as long as `loop` runs. The loop's thread, or before it runs; the
    /// heartbeat outlives the loop.
    void beat(RunLoop& loop);
    /// A beat from within a call that takes long, unless the last one was just now. The loop's
    /// thread.
    void beatIfDue();
    /// Any thread.
    void pause();

  private:
    void write(char byte) const;

    int descriptor_;
    double lastBeat_ = 0;
};

} // namespace dresk
