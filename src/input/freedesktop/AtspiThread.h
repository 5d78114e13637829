#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "input/Accessibility.h"
#include "input/freedesktop/AtspiFocus.h"
#include "input/freedesktop/ElementText.h"

namespace dresk {

/// What lives on the accessibility thread, for the questions that are asked there.
struct AtspiState {
    explicit AtspiState(std::function<void(std::uint32_t)> focusMoved)
        : focus(std::move(focusMoved)) {}

    AtspiFocus focus;
    ElementText text;
};

/// Where others ask the accessibility thread. It may outlive the thread; nothing is answered then.
/// Any thread.
class AtspiQueue {
  public:
    /// Answers on the accessibility thread. `deadline` (steadySeconds) is when nobody waits any
    /// more; an answer in several steps gives up there.
    using Question = std::function<AXValue(AtspiState& state, double deadline)>;

    explicit AtspiQueue(GMainContext* context) : context_(context) {}
    AtspiQueue(const AtspiQueue&) = delete;
    AtspiQueue& operator=(const AtspiQueue&) = delete;

    /// Waits 40 ms at most. Neutral at once while the bus is not there, for some seconds after the
    /// process failed to answer in time, and while another one keeps the thread waiting.
    AXValue ask(std::uint32_t process, Question question);
    /// The process tells nothing of a focus, as one does that is not on the bus: it is not asked
    /// again for some seconds, unless the bus tells of it.
    void noteSilent(std::uint32_t process);
    void noteFocus(std::uint32_t process);
    /// Gives a reference back, whatever thread the caller is on.
    void release(AtspiAccessible* accessible);

    // For the thread.
    void open(AtspiState& state);
    void close();

  private:
    struct Task;

    void run(const std::shared_ptr<Task>& task);
    bool mayAsk(std::uint32_t process, double now);
    void noteTimeout(std::uint32_t process, double now);

    GMainContext* const context_;
    std::mutex mutex_;
    std::condition_variable answered_;
    /// Null while there is nobody to answer.
    AtspiState* state_ = nullptr;
    std::shared_ptr<Task> running_;
    std::unordered_map<std::uint32_t, double> silentUntil_;
};

/// The thread that speaks on the accessibility bus. It connects by itself, and sleeps unless the
/// bus has an event or somebody asks. The library is not made for two in a process: the second
/// one answers nothing.
class AtspiThread {
  public:
    AtspiThread();
    AtspiThread(const AtspiThread&) = delete;
    AtspiThread& operator=(const AtspiThread&) = delete;
    ~AtspiThread();

    const std::shared_ptr<AtspiQueue>& queue() const { return queue_; }

  private:
    void run();

    GMainContext* const context_;
    GMainLoop* const loop_;
    const std::shared_ptr<AtspiQueue> queue_;
    std::thread thread_;
};

} // namespace dresk
