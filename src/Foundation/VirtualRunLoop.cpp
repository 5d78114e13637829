#include "Foundation/VirtualRunLoop.h"

#include <algorithm>
#include <limits>

namespace dresk {

VirtualRunLoop* VirtualTime::earliest(double& deadline) const {
    VirtualRunLoop* result = nullptr;
    std::uint64_t bestOrder = 0;
    deadline = std::numeric_limits<double>::infinity();
    for (VirtualRunLoop* loop : loops_) {
        double loopDeadline = 0;
        std::uint64_t loopOrder = 0;
        if (!loop->queue_.peek(loopDeadline, loopOrder))
            continue;
        if (loopDeadline < deadline || (loopDeadline == deadline && loopOrder < bestOrder)) {
            result = loop;
            deadline = loopDeadline;
            bestOrder = loopOrder;
        }
    }
    return result;
}

bool VirtualTime::runPending(std::size_t limit) {
    double deadline = 0;
    for (std::size_t count = 0;; ++count) {
        VirtualRunLoop* loop = earliest(deadline);
        if (loop == nullptr || deadline > elapsed_)
            return true;
        if (count == limit)
            return false;
        CallQueue::Entry entry{};
        if (loop->queue_.takeDue(elapsed_, entry))
            loop->perform(entry.call);
    }
}

bool VirtualTime::advance(double seconds) {
    const double end = elapsed_ + seconds;
    double deadline = 0;
    for (;;) {
        if (!runPending())
            return false;
        if (earliest(deadline) == nullptr || deadline > end)
            break;
        elapsed_ = deadline;
    }
    elapsed_ = end;
    return true;
}

VirtualRunLoop::VirtualRunLoop(VirtualTime& time) : time_(time) {
    time_.loops_.push_back(this);
}

VirtualRunLoop::~VirtualRunLoop() {
    std::erase(time_.loops_, this);
}

void VirtualRunLoop::callAfter(double seconds, CallName name, Call call) {
    queue_.add(time_.elapsed_ + std::max(0.0, seconds), time_.order_++, name, std::move(call));
}

void VirtualRunLoop::perform(const Call& call) {
    const VirtualRunLoop* previous = time_.current_;
    time_.current_ = this;
    call();
    time_.current_ = previous;
}

} // namespace dresk
