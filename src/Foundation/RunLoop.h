#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>
#include <vector>

namespace dresk {

/// Seconds on a clock that never goes back and that every thread shares; only differences mean
/// anything. PollRunLoop::now is this clock.
double steadySeconds();

/// Names a call so that it can be cancelled: whom it touches, and which operation it runs. The
/// operation must be a string literal.
struct CallName {
    const void* target = nullptr;
    std::string_view operation;

    friend bool operator==(const CallName&, const CallName&) = default;
};

/// A thread's queue of calls. Whoever posts a call that touches an object names that object as the
/// target and calls cancelAll with it before the object goes, on the loop's own thread or while the
/// loop is not running. Calls of equal deadline run in the order in which they were armed. A call
/// must not throw.
class RunLoop {
  public:
    using Call = std::function<void()>;

    RunLoop() = default;
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    virtual ~RunLoop() = default;

    /// Runs the call soon, behind what is due already. Any thread; never waits.
    void post(CallName name, Call call) { callAfter(0, name, std::move(call)); }
    /// Runs the call once, `seconds` from now (0 or less: soon). Any thread; never waits.
    virtual void callAfter(double seconds, CallName name, Call call) = 0;
    /// Drops every pending call of that target and operation. Any thread.
    virtual void cancel(CallName name) = 0;
    /// Drops every pending call of that target. Any thread.
    virtual void cancelAll(const void* target) = 0;
    /// Cancels the pending calls of that name and arms it anew: the one way to coalesce. Any
    /// thread.
    void cancelAndCallAfter(double seconds, CallName name, Call call) {
        cancel(name);
        callAfter(seconds, name, std::move(call));
    }
    /// Whether the caller runs on this loop. Any thread.
    virtual bool isCurrent() const = 0;
    /// Seconds on a clock that never goes back; only differences mean anything. Any thread.
    virtual double now() const = 0;
};

/// The loop of a whole program, which waits for descriptors too. A toolkit that brings its own loop
/// implements this on it.
class MainRunLoop : public RunLoop {
  public:
    /// Calls `handler` on the loop's thread whenever `descriptor` is readable or has failed. One
    /// handler for each descriptor, which stays open until it is removed. Loop's thread, or before
    /// `run`.
    virtual void addDescriptor(int descriptor, std::function<void()> handler) = 0;
    /// Loop's thread, or while the loop is not running. Allowed inside a handler; nothing for a
    /// descriptor that was not added.
    virtual void removeDescriptor(int descriptor) = 0;
    /// Serves calls and descriptors until `stop`. One thread at a time.
    virtual void run() = 0;
    /// Makes `run` return behind the call being served. Any thread; also before `run`.
    virtual void stop() = 0;
};

/// The ordered store of pending calls behind every run loop. Any thread.
class CallQueue {
  public:
    struct Entry {
        double deadline;
        std::uint64_t order;
        CallName name;
        RunLoop::Call call;
    };

    void add(double deadline, std::uint64_t order, CallName name, RunLoop::Call call);
    void cancel(CallName name);
    void cancelAll(const void* target);
    /// Takes the earliest call whose deadline is at or before `now`; false if there is none.
    bool takeDue(double now, Entry& entry);
    /// Deadline and order of the earliest call; false if the queue is empty.
    bool peek(double& deadline, std::uint64_t& order) const;

  private:
    template <class Predicate>
    void removeIf(Predicate predicate);

    mutable std::mutex mutex_;
    std::vector<Entry> heap_;
};

} // namespace dresk
