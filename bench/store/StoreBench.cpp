#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include "store/SnippetArchive.h"

namespace {

using namespace dresk;

/// Groups of a hundred snippets, each with label, two aliases and a content of 120 units; every
/// tenth is rich.
SnippetArchive sample(std::size_t count) {
    SnippetArchive archive;
    archive.version = u"1";
    archive.dateInstalled = Date{0};
    archive.groups.emplace();
    for (std::size_t i = 0; i < count; ++i) {
        if (i % 100 == 0)
            archive.groups->push_back(std::make_shared<SnippetGroup>());
        const String number = fromUTF8(std::to_string(i));
        auto snippet = Snippet::initWithAbbreviation(u"abbr" + number, String(120, u'x') + number);
        snippet->setLabel(u"Label of " + number);
        snippet->setAliases(std::vector<String>{u"alias" + number, u"second" + number});
        if (i % 10 == 0)
            snippet->setContentType(SnippetContentType::RichText);
        archive.groups->back()->addItem(std::move(snippet));
    }
    return archive;
}

void save(benchmark::State& state) {
    const SnippetArchive archive = sample(static_cast<std::size_t>(state.range(0)));
    std::size_t size = 0;
    for (auto _ : state)
        size = archive.archiveAllData().binaryData().size();
    state.counters["bytes"] = static_cast<double>(size);
}

/// The part of a save that holds the data lock shared.
void copyUnderLock(benchmark::State& state) {
    const SnippetArchive archive = sample(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(archive.archiveAllData());
}

void load(benchmark::State& state) {
    const std::string bytes =
        sample(static_cast<std::size_t>(state.range(0))).archiveAllData().binaryData();
    for (auto _ : state)
        benchmark::DoNotOptimize(SnippetArchive::unarchive(bytes));
}

/// Bytes that the loaded records hold, beyond what was held before.
void memoryOfLoadedData(benchmark::State& state) {
    const std::string bytes =
        sample(static_cast<std::size_t>(state.range(0))).archiveAllData().binaryData();
    (void)malloc_trim(0);
    const auto before = mallinfo2();
    for (auto _ : state) {
        const auto archive = SnippetArchive::unarchive(bytes);
        const auto after = mallinfo2();
        state.counters["held"] = static_cast<double>((after.uordblks + after.hblkhd) -
                                                     (before.uordblks + before.hblkhd));
    }
}

/// What a key press waits for: the data lock, held shared, with or without saves on another thread.
/// Each measurement stands for one key; the counter is the 99th percentile in nanoseconds.
void lockOfAKeyPress(benchmark::State& state) {
    SnippetGroupList list;
    SnippetArchive archive = sample(10'000);
    list.groups = *archive.groups;
    std::atomic<bool> isDone{false};
    std::thread saving([&] {
        while (!isDone && state.range(0) != 0) {
            PropertyList copy;
            {
                const std::shared_lock shared(list.lock);
                copy = archive.archiveAllData();
            }
            benchmark::DoNotOptimize(copy.binaryData());
        }
    });
    std::vector<double> waits;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        std::size_t count = 0;
        {
            const std::shared_lock shared(list.lock);
            count = list.groups.size();
        }
        benchmark::DoNotOptimize(count);
        const std::chrono::duration<double, std::nano> wait =
            std::chrono::steady_clock::now() - start;
        waits.push_back(wait.count());
    }
    isDone = true;
    saving.join();
    const auto place = waits.begin() + static_cast<std::ptrdiff_t>(waits.size() * 99 / 100);
    std::nth_element(waits.begin(), place, waits.end());
    state.counters["p99ns"] = *place;
}

BENCHMARK(lockOfAKeyPress)->Arg(0)->Arg(1)->Iterations(1'000'000);
BENCHMARK(save)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(copyUnderLock)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(load)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(memoryOfLoadedData)->Arg(10'000)->Arg(100'000)->Iterations(1);

} // namespace
