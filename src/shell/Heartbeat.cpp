#include "shell/Heartbeat.h"

#include <unistd.h>

namespace dresk {

void Heartbeat::beat(RunLoop& loop) {
    lastBeat_ = steadySeconds();
    write(Beat);
    loop.callAfter(Interval, {this, "beat"}, [this, &loop] { beat(loop); });
}

void Heartbeat::beatIfDue() {
    const double time = steadySeconds();
    if (time - lastBeat_ < Interval)
        return;
    lastBeat_ = time;
    write(Beat);
}

void Heartbeat::pause() {
    write(Pause);
}

// A full pipe means that the supervisor is stopped; it has enough to read when it goes on.
void Heartbeat::write(char byte) const {
    if (descriptor_ >= 0) [[maybe_unused]]
        const ssize_t count = ::write(descriptor_, &byte, 1);
}

} // namespace dresk
