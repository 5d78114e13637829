#include "ui/qt/QtRunLoop.h"

#include <algorithm>
#include <cmath>

#include <QCoreApplication>
#include <QThread>

namespace dresk {

QtRunLoop::QtRunLoop() = default;

QtRunLoop::~QtRunLoop() {
    QCoreApplication::removePostedEvents(this);
}

void QtRunLoop::callAfter(double seconds, CallName name, Call call) {
    queue_.add(seconds > 0 ? now() + seconds : 0, order_.fetch_add(1), name, std::move(call));
    wake();
}

bool QtRunLoop::isCurrent() const {
    return QThread::currentThread() == thread();
}

void QtRunLoop::wake() {
    if (!wakePosted_.exchange(true))
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool QtRunLoop::event(QEvent* event) {
    if (event->type() != QEvent::User)
        return QObject::event(event);
    wakePosted_ = false;
    armTimer();
    return true;
}

// Calls run from the timer and not from the posted event: Qt serves what is posted meanwhile in the
// same round, so that a call that arms itself again would keep the descriptors from being served.
void QtRunLoop::timerEvent(QTimerEvent* /*event*/) {
    timer_.stop();
    serveDueCalls();
}

void QtRunLoop::armTimer() {
    double deadline = 0;
    std::uint64_t order = 0;
    if (!queue_.peek(deadline, order)) {
        timer_.stop();
        return;
    }
    constexpr double longest = 3600;
    const double seconds = std::clamp(deadline - now(), 0.0, longest);
    timer_.start(static_cast<int>(std::ceil(seconds * 1000)), Qt::PreciseTimer, this);
}

// The timer is armed for the rest before each call, which may run a loop of its own.
void QtRunLoop::serveDueCalls() {
    const std::uint64_t end = order_.load();
    const double time = now();
    double deadline = 0;
    std::uint64_t order = 0;
    CallQueue::Entry entry{};
    while (!stopped_ && queue_.peek(deadline, order) && deadline <= time && order < end &&
           queue_.takeDue(time, entry)) {
        armTimer();
        entry.call();
        entry.call = nullptr;
    }
    armTimer();
}

void QtRunLoop::addDescriptor(int descriptor, std::function<void()> handler) {
    auto notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, this, std::move(handler));
    removeDescriptor(descriptor);
    notifiers_[descriptor] = std::move(notifier);
}

// A handler may remove its own descriptor.
void QtRunLoop::removeDescriptor(int descriptor) {
    const auto found = notifiers_.find(descriptor);
    if (found == notifiers_.end())
        return;
    found->second->setEnabled(false);
    found->second.release()->deleteLater();
    notifiers_.erase(found);
}

void QtRunLoop::run() {
    if (!stopped_)
        QCoreApplication::exec();
    stopped_ = false;
    // What is left waits for the next time, as any call that came while nothing ran.
    wake();
}

void QtRunLoop::stop() {
    stopped_ = true;
    // The call may find that run has returned already, or runs anew.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (stopped_)
                QCoreApplication::exit();
        },
        Qt::QueuedConnection);
}

} // namespace dresk
