#include <benchmark/benchmark.h>

#include "Foundation/ZPEvent.h"
#include "seam/ZPEventArgs.h"

namespace dresk {
namespace {

struct Counter {
    void onEvent(ZPCancelEventArgs* /*args*/) { benchmark::DoNotOptimize(++count); }
    std::uint64_t count = 0;
};

void raise(benchmark::State& state) {
    ZPEvent event;
    std::vector<Counter> observers(static_cast<std::size_t>(state.range(0)));
    for (Counter& observer : observers)
        event.addObserver(&observer, &Counter::onEvent);
    ZPCancelEventArgs args;
    for (auto _ : state)
        event.raise(&args);
}
BENCHMARK(raise)->Arg(0)->Arg(1)->Arg(8)->ArgName("observers");

} // namespace
} // namespace dresk
