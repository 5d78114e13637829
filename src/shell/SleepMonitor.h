#pragma once

#include <functional>
#include <memory>

#include "Foundation/RunLoop.h"

struct sd_bus;

namespace dresk {

/// Tells when the machine goes to sleep and when it wakes up, by the login manager on the system
/// bus. Without one, nothing is told. Main thread.
class SleepMonitor {
  public:
    /// `changed` gets true before sleep and false behind it, on the loop. Both outlive the monitor.
    SleepMonitor(MainRunLoop& loop, std::function<void(bool asleep)> changed);
    SleepMonitor(const SleepMonitor&) = delete;
    SleepMonitor& operator=(const SleepMonitor&) = delete;
    ~SleepMonitor();

    bool isConnected() const { return bus_ != nullptr; }

  private:
    struct BusCloser {
        void operator()(sd_bus* bus) const;
    };

    bool subscribe();
    void process();
    void disconnect();

    MainRunLoop& loop_;
    std::function<void(bool)> changed_;
    std::unique_ptr<sd_bus, BusCloser> bus_;
    int descriptor_ = -1;
};

} // namespace dresk
