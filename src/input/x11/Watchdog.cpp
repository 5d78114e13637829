#include "input/x11/Watchdog.h"

#include <chrono>
#include <fstream>
#include <string>
#include <utility>

#include <unistd.h>

#include "Foundation/RunLoop.h"
#include "input/x11/QuietThread.h"

namespace dresk {

namespace {

constexpr double StallSeconds = 0.15;
constexpr auto CheckInterval = std::chrono::milliseconds(50);
constexpr int QuietChecksBeforeSleep = 20;
/// Longest time that a thread without processor time is waited for.
constexpr double LongestStarvation = 1;
/// Processor time in seconds by which a thread that runs in circles is known.
constexpr double BusyTime = 0.05;

} // namespace

Watchdog::Watchdog(std::function<void()> onStall) : onStall_(std::move(onStall)) {
    thread_ = startQuietThread([this] { run(); });
}

Watchdog::~Watchdog() {
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    condition_.notify_one();
    thread_.join();
}

void Watchdog::arm() {
    static thread_local const pid_t thread = gettid();
    watched_ = thread;
    busySince_ = steadySeconds();
    if (asleep_) {
        { const std::lock_guard lock(mutex_); }
        condition_.notify_one();
    }
}

bool Watchdog::disarm() {
    const std::lock_guard lock(mutex_);
    busySince_ = 0;
    return std::exchange(fired_, false);
}

bool Watchdog::stallIsDue() {
    const double since = busySince_;
    if (since == 0)
        return false;
    if (since != seenSince_) {
        seenSince_ = since;
        processorTimeThen_ = processorTime();
    }
    const double time = steadySeconds() - since;
    return time >= StallSeconds && (time >= LongestStarvation || !isStarved());
}

// It would run, and does not get to it.
bool Watchdog::isStarved() const {
    std::ifstream file("/proc/self/task/" + std::to_string(watched_) + "/stat");
    std::string status;
    std::getline(file, status);
    // Behind the name, which may hold anything.
    const std::size_t name = status.rfind(')');
    return name != std::string::npos && status.compare(name, 3, ") R") == 0 &&
           processorTime() - processorTimeThen_ < BusyTime;
}

// Seconds that the tap thread has been on a processor.
double Watchdog::processorTime() const {
    std::ifstream file("/proc/self/task/" + std::to_string(watched_) + "/schedstat");
    double nanoseconds = 0;
    file >> nanoseconds;
    return nanoseconds * 1e-9;
}

void Watchdog::run() {
    std::unique_lock lock(mutex_);
    int quietChecks = 0;
    while (!ends_) {
        if (quietChecks >= QuietChecksBeforeSleep) {
            asleep_ = true;
            condition_.wait(lock, [this] { return ends_ || busySince_ != 0; });
            asleep_ = false;
            quietChecks = 0;
        } else {
            condition_.wait_for(lock, CheckInterval);
        }
        quietChecks = busySince_ != 0 ? 0 : quietChecks + 1;
        if (!ends_ && !fired_ && stallIsDue()) {
            onStall_();
            fired_ = true;
        }
    }
}

} // namespace dresk
