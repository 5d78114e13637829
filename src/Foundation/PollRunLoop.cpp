#include "Foundation/PollRunLoop.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace dresk {

double steadySeconds() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(time).count();
}

PollRunLoop::PollRunLoop() : wakeDescriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (wakeDescriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

PollRunLoop::~PollRunLoop() {
    close(wakeDescriptor_);
}

void PollRunLoop::callAfter(double seconds, CallName name, Call call) {
    queue_.add(seconds > 0 ? now() + seconds : 0, order_.fetch_add(1), name, std::move(call));
    if (!isCurrent())
        wake();
}

bool PollRunLoop::isCurrent() const {
    return thread_.load() == std::this_thread::get_id();
}

double PollRunLoop::now() const {
    return steadySeconds();
}

void PollRunLoop::addDescriptor(int descriptor, std::function<void()> handler,
                                std::function<bool()> beforeWaiting) {
    sources_[descriptor] = {std::move(handler), std::move(beforeWaiting)};
}

void PollRunLoop::removeDescriptor(int descriptor) {
    sources_.erase(descriptor);
}

void PollRunLoop::run() {
    thread_ = std::this_thread::get_id();
    while (!stopped_)
        runOnce(std::numeric_limits<double>::infinity());
    stopped_ = false;
    thread_ = std::thread::id{};
}

void PollRunLoop::runOnce(double seconds) {
    const bool nested = isCurrent();
    thread_ = std::this_thread::get_id();
    serveDueCalls();
    if (!stopped_) {
        const bool served = serveReadAhead();
        waitForDescriptors(served || stopped_ ? 0 : seconds);
        serveDueCalls();
    }
    if (!nested)
        thread_ = std::thread::id{};
}

void PollRunLoop::stop() {
    stopped_ = true;
    wake();
}

// A call that arms itself again without delay must not keep the descriptors from being served, so
// only what stood in the queue at the beginning is run.
void PollRunLoop::serveDueCalls() {
    const std::uint64_t end = order_.load();
    const double time = now();
    double deadline = 0;
    std::uint64_t order = 0;
    CallQueue::Entry entry{};
    while (!stopped_ && queue_.peek(deadline, order) && deadline <= time && order < end &&
           queue_.takeDue(time, entry))
        entry.call();
}

bool PollRunLoop::serveReadAhead() {
    std::vector<int> ready;
    for (const auto& [descriptor, source] : sources_)
        if (source.beforeWaiting && source.beforeWaiting())
            ready.push_back(descriptor);
    for (const int descriptor : ready)
        if (const auto found = sources_.find(descriptor); found != sources_.end()) {
            const auto handler = found->second.handler;
            handler();
        }
    return !ready.empty();
}

void PollRunLoop::waitForDescriptors(double maxSeconds) {
    double deadline = 0;
    std::uint64_t order = 0;
    if (queue_.peek(deadline, order))
        maxSeconds = std::min(maxSeconds, std::max(0.0, deadline - now()));
    constexpr double longest = 3600;
    const int milliseconds =
        std::isinf(maxSeconds) ? -1
                               : static_cast<int>(std::ceil(std::min(maxSeconds, longest) * 1000));

    std::vector<pollfd> descriptors{{wakeDescriptor_, POLLIN, 0}};
    for (const auto& [descriptor, source] : sources_)
        descriptors.push_back({descriptor, POLLIN, 0});
    if (poll(descriptors.data(), descriptors.size(), milliseconds) <= 0)
        return;
    if (descriptors[0].revents != 0) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t size = read(wakeDescriptor_, &count, sizeof count);
    }
    for (std::size_t i = 1; i < descriptors.size(); ++i) {
        const auto found = sources_.find(descriptors[i].fd);
        if (descriptors[i].revents != 0 && found != sources_.end()) {
            const auto handler = found->second.handler;
            handler();
        }
    }
}

void PollRunLoop::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t size = write(wakeDescriptor_, &one, sizeof one);
}

} // namespace dresk
