#include "Foundation/Date.h"

#include <chrono>

namespace dresk {

namespace {

class SystemClock final : public Clock {
  public:
    Date now() const override {
        const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
        return {std::chrono::duration<double>(since1970).count() - SecondsFrom1970To2001};
    }
};

} // namespace

const Clock& systemClock() {
    static const SystemClock clock;
    return clock;
}

} // namespace dresk
