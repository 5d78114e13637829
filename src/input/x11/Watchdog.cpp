#include "input/x11/Watchdog.h"

#include <chrono>
#include <utility>

#include "Foundation/RunLoop.h"
#include "input/x11/QuietThread.h"

namespace dresk {

namespace {

constexpr double StallSeconds = 0.15;
constexpr auto CheckInterval = std::chrono::milliseconds(50);
constexpr int QuietChecksBeforeSleep = 20;

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

bool Watchdog::stallIsDue() const {
    const double since = busySince_;
    return since != 0 && steadySeconds() - since >= StallSeconds;
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
