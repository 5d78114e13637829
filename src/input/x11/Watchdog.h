#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include <sys/types.h>

namespace dresk {

/// Sees to it that a busy tap thread never keeps the user's keyboard: `onStall` runs on a thread of
/// its own when the tap thread has been busy for 0.15 to 0.2 seconds without progress. A machine
/// that gives the thread no time is no stall until a second has passed. While no keys are typed the
/// thread of the watchdog sleeps.
class Watchdog {
  public:
    explicit Watchdog(std::function<void()> onStall);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// The tap thread begins to handle something, or goes on with it. Tap thread.
    void arm();
    /// The tap thread is done. Behind the return `onStall` does not run. True if it ran since the
    /// last call. Tap thread.
    bool disarm();

    /// The tap thread waits for the X server, which could not let the keys on either. Tap thread.
    class Pause {
      public:
        explicit Pause(Watchdog& watchdog)
            : watchdog_(watchdog), wasArmed_(watchdog.busySince_.exchange(0) != 0) {}
        ~Pause() {
            if (wasArmed_)
                watchdog_.arm();
        }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

      private:
        Watchdog& watchdog_;
        bool wasArmed_;
    };

  private:
    void run();
    bool stallIsDue();
    bool isStarved() const;
    double processorTime() const;

    std::function<void()> onStall_;
    std::atomic<double> busySince_{0};
    std::atomic<bool> asleep_{false};
    std::atomic<pid_t> watched_{0};
    /// When the tap thread was first seen busy with the same thing, and its processor time then.
    double seenSince_ = 0;
    double processorTimeThen_ = 0;
    std::mutex mutex_;
    std::condition_variable condition_;
    bool fired_ = false;
    bool ends_ = false;
    std::thread thread_;
};

} // namespace dresk
