#pragma once

#include <atomic>
#include <map>
#include <memory>

#include "Foundation/RunLoop.h"

#include <QBasicTimer>
#include <QObject>
#include <QSocketNotifier>

namespace dresk {

/// The main thread's run loop on Qt's event loop: calls are served wherever events are, in nested
/// loops of menus and dialogs too, and nothing wakes up while there is nothing to do. Made and
/// destroyed on the thread of the QCoreApplication, which lives longer.
class QtRunLoop final : public QObject, public MainRunLoop {
  public:
    QtRunLoop();
    ~QtRunLoop() override;

    void callAfter(double seconds, CallName name, Call call) override;
    void cancel(CallName name) override { queue_.cancel(name); }
    void cancelAll(const void* target) override { queue_.cancelAll(target); }
    /// True on that thread whether the loop runs or not.
    bool isCurrent() const override;
    double now() const override { return steadySeconds(); }

    void addDescriptor(int descriptor, std::function<void()> handler) override;
    void removeDescriptor(int descriptor) override;
    void run() override;
    void stop() override;

  protected:
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

  private:
    void wake();
    void armTimer();
    void serveDueCalls();

    CallQueue queue_;
    std::atomic<std::uint64_t> order_{0};
    std::atomic<bool> wakePosted_{false};
    std::atomic<bool> stopped_{false};
    QBasicTimer timer_;
    std::map<int, std::unique_ptr<QSocketNotifier>> notifiers_;
};

} // namespace dresk
