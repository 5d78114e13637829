#pragma once

#include <atomic>
#include <thread>
#include <unordered_map>

#include "Foundation/RunLoop.h"

namespace dresk {

/// A run loop on poll(), for the tap thread and for programs without windows. `run` binds it to the
/// calling thread until it returns.
class PollRunLoop final : public MainRunLoop {
  public:
    PollRunLoop();
    ~PollRunLoop() override;

    void callAfter(double seconds, CallName name, Call call) override;
    void cancel(CallName name) override { queue_.cancel(name); }
    void cancelAll(const void* target) override { queue_.cancelAll(target); }
    bool isCurrent() const override;
    double now() const override;

    void addDescriptor(int descriptor, std::function<void()> handler) override {
        addDescriptor(descriptor, std::move(handler), {});
    }
    /// The same for a library that reads ahead: `beforeWaiting` runs each time the loop is about to
    /// wait and returns true when the library still has something; `handler` is then called at
    /// once.
    void addDescriptor(int descriptor, std::function<void()> handler,
                       std::function<bool()> beforeWaiting);
    void removeDescriptor(int descriptor) override;

    void run() override;
    /// Serves what is due and waits at most `seconds` for something to become due. For tests and
    /// for programs that end after one job.
    void runOnce(double seconds);
    void stop() override;

  private:
    struct Source {
        std::function<void()> handler;
        std::function<bool()> beforeWaiting;
    };

    void serveDueCalls();
    bool serveReadAhead();
    void waitForDescriptors(double maxSeconds);
    void wake();

    CallQueue queue_;
    std::atomic<std::uint64_t> order_{0};
    std::unordered_map<int, Source> sources_;
    int wakeDescriptor_;
    std::atomic<bool> stopped_{false};
    std::atomic<std::thread::id> thread_{};
};

} // namespace dresk
