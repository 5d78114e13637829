#include <algorithm>

#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

bool later(const CallQueue::Entry& a, const CallQueue::Entry& b) {
    return a.deadline != b.deadline ? a.deadline > b.deadline : a.order > b.order;
}

} // namespace

void CallQueue::add(double deadline, std::uint64_t order, CallName name, RunLoop::Call call) {
    const std::lock_guard lock(mutex_);
    heap_.push_back({deadline, order, name, std::move(call)});
    std::push_heap(heap_.begin(), heap_.end(), later);
}

// The dropped calls are destroyed after the lock is released: what they own may use the loop.
template <class Predicate>
void CallQueue::removeIf(Predicate predicate) {
    std::vector<Entry> dropped;
    const std::lock_guard lock(mutex_);
    const auto kept = std::partition(heap_.begin(), heap_.end(),
                                     [&](const Entry& entry) { return !predicate(entry.name); });
    if (kept == heap_.end())
        return;
    std::move(kept, heap_.end(), std::back_inserter(dropped));
    heap_.erase(kept, heap_.end());
    std::make_heap(heap_.begin(), heap_.end(), later);
}

void CallQueue::cancel(CallName name) {
    removeIf([&](const CallName& other) { return other == name; });
}

void CallQueue::cancelAll(const void* target) {
    removeIf([&](const CallName& other) { return other.target == target; });
}

bool CallQueue::takeDue(double now, Entry& entry) {
    const std::lock_guard lock(mutex_);
    if (heap_.empty() || heap_.front().deadline > now)
        return false;
    std::pop_heap(heap_.begin(), heap_.end(), later);
    entry = std::move(heap_.back());
    heap_.pop_back();
    return true;
}

bool CallQueue::peek(double& deadline, std::uint64_t& order) const {
    const std::lock_guard lock(mutex_);
    if (heap_.empty())
        return false;
    deadline = heap_.front().deadline;
    order = heap_.front().order;
    return true;
}

} // namespace dresk
