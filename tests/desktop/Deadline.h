#pragma once

#include <cerrno>
#include <chrono>
#include <functional>
#include <thread>

#include <poll.h>

namespace dresk {

/// The latest moment to which a test waits for something.
class Deadline {
  public:
    /// A year; as good as no deadline.
    static constexpr double Never = 3e7;

    explicit Deadline(double seconds)
        : end_(Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                  std::chrono::duration<double>(seconds))) {}

    double remaining() const { return std::chrono::duration<double>(end_ - Clock::now()).count(); }
    bool passed() const { return remaining() <= 0; }

    /// Whether the descriptor became readable (or was closed at the other end) before the deadline.
    bool awaitReadable(int descriptor) const {
        constexpr double LongestPoll = 1000;
        for (;;) {
            const double seconds = remaining() < LongestPoll ? remaining() : LongestPoll;
            pollfd source{descriptor, POLLIN, 0};
            const int count =
                poll(&source, 1, seconds > 0 ? static_cast<int>(seconds * 1e3) + 1 : 0);
            if (count > 0) {
                return true;
            }
            if (passed() && (count == 0 || errno == EINTR)) {
                return false;
            }
        }
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point end_;
};

/// Whether the condition comes true within so many seconds.
inline bool await(const std::function<bool()>& condition, double seconds = 20) {
    const Deadline deadline(seconds);
    while (!condition()) {
        if (deadline.passed())
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace dresk
