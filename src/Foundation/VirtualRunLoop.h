#pragma once

#include "Foundation/Date.h"
#include "Foundation/RunLoop.h"

namespace dresk {

class VirtualRunLoop;

/// Time that moves only when it is told to, shared by any number of run loops on one thread. It is
/// a clock of the day as well, so that dates and delays agree.
class VirtualTime final : public Clock {
  public:
    /// Starts at the given date; nothing moves until `advance`.
    explicit VirtualTime(Date start = {}) : start_(start) {}

    Date now() const override { return {start_.seconds + elapsed_}; }
    /// Seconds since the beginning.
    double elapsed() const { return elapsed_; }

    /// Runs everything that is due now, in the order armed, whatever loop it stands on; calls that
    /// arm further calls without delay have these run as well. Ends after `limit` calls, so that a
    /// call that arms itself for ever cannot hang a test; false in that case.
    bool runPending(std::size_t limit = 1'000'000);
    /// Moves the time on by `seconds`, running each call at its deadline.
    bool advance(double seconds);

  private:
    friend class VirtualRunLoop;

    VirtualRunLoop* earliest(double& deadline) const;

    Date start_;
    double elapsed_ = 0;
    std::uint64_t order_ = 0;
    std::vector<VirtualRunLoop*> loops_;
    const VirtualRunLoop* current_ = nullptr;
};

/// A run loop in virtual time. It counts as current while one of its calls runs, and inside
/// `perform`.
class VirtualRunLoop final : public RunLoop {
  public:
    explicit VirtualRunLoop(VirtualTime& time);
    ~VirtualRunLoop() override;

    void callAfter(double seconds, CallName name, Call call) override;
    void cancel(CallName name) override { queue_.cancel(name); }
    void cancelAll(const void* target) override { queue_.cancelAll(target); }
    bool isCurrent() const override { return time_.current_ == this; }
    double now() const override { return time_.elapsed(); }

    /// Runs `call` at once as if this loop had served it.
    void perform(const Call& call);

  private:
    friend class VirtualTime;

    VirtualTime& time_;
    CallQueue queue_;
};

} // namespace dresk
