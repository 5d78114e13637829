#include <random>

#include <benchmark/benchmark.h>

#include "engine/SnippetSearch.h"
#include "engine/SuggestionSearch.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

/// Snippets with abbreviations of 3 to 9 letters and a sentence of content, in two groups, of which
/// one has a prefix.
void fill(EngineRig& rig, std::int64_t snippets) {
    std::mt19937 random(1);
    const auto word = [&](std::size_t length) {
        String result;
        while (result.size() < length)
            result += static_cast<char16_t>(u'a' + random() % 26);
        return result;
    };
    for (int i = 0; i < 2; ++i)
        rig.addGroup(ExpandTrigger::AtDelimiter, ExpandAfter::Anything);
    rig.list.groups[1]->setAbbreviationPrefix(u";");
    for (std::int64_t i = 0; i < snippets; ++i) {
        String content;
        while (content.size() < 80)
            content += word(1 + random() % 9) + u' ';
        rig.addSnippet(*rig.list.groups[static_cast<std::size_t>(i % 2)], word(3 + random() % 7),
                       content);
    }
}

/// What the main thread does at each key while the list is open. The tap thread does not wait.
void findSuggestions(benchmark::State& state) {
    EngineRig rig;
    fill(rig, state.range(0));
    std::size_t rows = 0;
    for (auto _ : state)
        rows = SuggestionSearch(u"some words typed before ;ab").find(rig.list.groups).size();
    state.counters["rows"] = static_cast<double>(rows);
}
BENCHMARK(findSuggestions)
    ->ArgName("snippets")
    ->Arg(1'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond);

void searchSnippets(benchmark::State& state) {
    EngineRig rig;
    fill(rig, state.range(0));
    const String filter = state.range(1) != 0 ? u"*ab*cd?e*" : u"abcd";
    for (auto _ : state) {
        SnippetGroupArray ordered;
        benchmark::DoNotOptimize(
            SnippetSearch::filter(filter, rig.list.groups, true, 7, ordered, true));
    }
}
BENCHMARK(searchSnippets)
    ->ArgNames({"snippets", "wildcards"})
    ->ArgsProduct({{1'000, 100'000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace dresk
