#include "shell/SleepMonitor.h"

#include <systemd/sd-bus.h>

namespace dresk {

namespace {

constexpr const char* Sender = "org.freedesktop.login1";
constexpr const char* Path = "/org/freedesktop/login1";
constexpr const char* Interface = "org.freedesktop.login1.Manager";
constexpr const char* Signal = "PrepareForSleep";

int prepareForSleep(sd_bus_message* message, void* changed, sd_bus_error* /*error*/) {
    int asleep = 0;
    if (sd_bus_message_read_basic(message, 'b', &asleep) > 0)
        (*static_cast<std::function<void(bool)>*>(changed))(asleep != 0);
    return 0;
}

} // namespace

void SleepMonitor::BusCloser::operator()(sd_bus* bus) const {
    sd_bus_close_unref(bus);
}

SleepMonitor::SleepMonitor(MainRunLoop& loop, std::function<void(bool)> changed)
    : loop_(loop), changed_(std::move(changed)) {
    if (!subscribe()) {
        disconnect();
        return;
    }
    descriptor_ = sd_bus_get_fd(bus_.get());
    loop_.addDescriptor(descriptor_, [this] { process(); });
    process();
}

SleepMonitor::~SleepMonitor() {
    disconnect();
}

bool SleepMonitor::subscribe() {
    sd_bus* bus = nullptr;
    if (sd_bus_open_system(&bus) < 0)
        return false;
    bus_.reset(bus);
    // Everything is written here, so that only reading is left to the loop.
    return sd_bus_match_signal_async(bus, nullptr, Sender, Path, Interface, Signal, prepareForSleep,
                                     nullptr, &changed_) >= 0 &&
           sd_bus_flush(bus) >= 0;
}

void SleepMonitor::process() {
    int result = 0;
    do
        result = sd_bus_process(bus_.get(), nullptr);
    while (result > 0);
    if (result < 0) // The bus has gone; a readable descriptor would keep the loop busy.
        disconnect();
}

void SleepMonitor::disconnect() {
    if (descriptor_ >= 0)
        loop_.removeDescriptor(descriptor_);
    descriptor_ = -1;
    bus_.reset();
}

} // namespace dresk
