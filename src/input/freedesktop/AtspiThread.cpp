#include "input/freedesktop/AtspiThread.h"

#include <atomic>
#include <chrono>
#include <csignal>

#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

constexpr double AnswerWithin = 0.04;
constexpr double SilenceAfterTimeout = 5.0;
constexpr double SilenceWithoutFocus = 3.0;

// The library keeps its connection, and with it the context, for the life of the process.
GMainContext* accessibilityContext() {
    static GMainContext* const context = g_main_context_new();
    return context;
}

/// A call on its way to the context's thread. The library hands it over with locks that no thread
/// sanitizer sees; the flag says the same in C++.
struct Errand {
    std::function<void()> call;
    std::atomic<bool> isReady{false};
};

/// Runs the call on the context's thread.
void invoke(GMainContext* context, std::function<void()> call) {
    auto* errand = new Errand{std::move(call)};
    errand->isReady = true;
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_HIGH);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            const auto* errand = static_cast<Errand*>(data);
            if (errand->isReady)
                errand->call();
            return G_SOURCE_REMOVE;
        },
        errand, [](gpointer data) { delete static_cast<Errand*>(data); });
    g_source_attach(source, context);
    g_source_unref(source);
}

} // namespace

struct AtspiQueue::Task {
    std::uint32_t process;
    Question question;
    double deadline;
    AXValue answer = {};
    bool isDone = false;
    /// The focus was seen to move in the process meanwhile, so that it is worth asking again.
    bool isFocusTold = false;
};

bool AtspiQueue::mayAsk(std::uint32_t process, double now) {
    if (state_ == nullptr || (running_ != nullptr && now > running_->deadline))
        return false;
    const auto silent = silentUntil_.find(process);
    if (silent == silentUntil_.end())
        return true;
    if (now < silent->second)
        return false;
    silentUntil_.erase(silent);
    return true;
}

// The process that the thread waits for is to blame, whichever was asked.
void AtspiQueue::noteTimeout(std::uint32_t process, double now) {
    if (const auto running = running_)
        process = running->process;
    silentUntil_.insert_or_assign(process, now + SilenceAfterTimeout);
}

void AtspiQueue::noteSilent(std::uint32_t process) {
    const std::lock_guard lock(mutex_);
    silentUntil_.insert_or_assign(process, steadySeconds() + SilenceWithoutFocus);
}

void AtspiQueue::noteFocus(std::uint32_t process) {
    const std::lock_guard lock(mutex_);
    silentUntil_.erase(process);
    if (running_ != nullptr && running_->process == process)
        running_->isFocusTold = true;
}

AXValue AtspiQueue::ask(std::uint32_t process, Question question) {
    const double now = steadySeconds();
    // Let go of without the lock: the question may hold the last share of an element.
    const auto task =
        std::make_shared<Task>(Task{process, std::move(question), now + AnswerWithin});
    std::unique_lock lock(mutex_);
    if (!mayAsk(process, now))
        return {};
    invoke(context_, [this, task] { run(task); });
    answered_.wait_for(lock, std::chrono::duration<double>(AnswerWithin),
                       [&] { return task->isDone || state_ == nullptr; });
    if (task->isDone)
        return std::move(task->answer);
    if (state_ != nullptr)
        noteTimeout(process, steadySeconds());
    return {};
}

// The queue outlives its loop's calls: whoever ends the loop holds it until then.
void AtspiQueue::run(const std::shared_ptr<Task>& task) {
    std::unique_lock lock(mutex_);
    if (state_ == nullptr || steadySeconds() >= task->deadline)
        return;
    AtspiState& state = *state_;
    running_ = task;
    lock.unlock();
    AXValue answer = task->question(state, task->deadline);
    lock.lock();
    // On a busy machine whoever asked may wake up so late that it takes this for an answer in time.
    const bool isMissing = std::holds_alternative<std::monostate>(answer) && !task->isFocusTold;
    if (const double now = steadySeconds(); isMissing && now >= task->deadline)
        noteTimeout(task->process, now);
    task->answer = std::move(answer);
    task->isDone = true;
    running_ = nullptr;
    answered_.notify_all();
}

void AtspiQueue::release(AtspiAccessible* accessible) {
    const std::lock_guard lock(mutex_);
    // Behind the end of the thread the library must not be touched any more.
    if (state_ != nullptr)
        invoke(context_, [accessible] { g_object_unref(accessible); });
}

void AtspiQueue::open(AtspiState& state) {
    const std::lock_guard lock(mutex_);
    state_ = &state;
}

void AtspiQueue::close() {
    const std::lock_guard lock(mutex_);
    state_ = nullptr;
    answered_.notify_all();
}

// Signals belong to the thread that waits for them, so this one takes none.
AtspiThread::AtspiThread()
    : context_(accessibilityContext()), loop_(g_main_loop_new(context_, FALSE)),
      queue_(std::make_shared<AtspiQueue>(context_)) {
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &previous);
    thread_ = std::thread([this] { run(); });
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

AtspiThread::~AtspiThread() {
    queue_->close();
    // As a call of the loop it is heard even if the loop does not run yet.
    invoke(context_,
           [loop = std::shared_ptr<GMainLoop>(g_main_loop_ref(loop_), &g_main_loop_unref)] {
               g_main_loop_quit(loop.get());
           });
    thread_.join();
    g_main_loop_unref(loop_);
}

void AtspiThread::run() {
    // Another one has the library.
    if (g_main_context_acquire(context_) == FALSE)
        return;
    g_main_context_push_thread_default(context_);
    if (connectToAccessibilityBus(context_)) {
        AtspiState state([this](std::uint32_t process) { queue_->noteFocus(process); });
        queue_->open(state);
        g_main_loop_run(loop_);
        queue_->close();
        // Calls that came behind the end give back what they hold.
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
    }
    g_main_context_pop_thread_default(context_);
    g_main_context_release(context_);
}

} // namespace dresk
