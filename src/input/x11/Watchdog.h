#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace dresk {

/// Sees to it that a busy tap thread never keeps the user's keyboard: `onStall` runs on a thread of
/// its own when the tap thread has been busy for 0.15 to 0.2 seconds without progress. While no
/// keys are typed the thread sleeps.
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

  private:
    void run();
    bool stallIsDue() const;

    std::function<void()> onStall_;
    std::atomic<double> busySince_{0};
    std::atomic<bool> asleep_{false};
    std::mutex mutex_;
    std::condition_variable condition_;
    bool fired_ = false;
    bool ends_ = false;
    std::thread thread_;
};

} // namespace dresk
