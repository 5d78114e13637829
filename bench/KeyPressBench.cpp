#include <random>

#include <benchmark/benchmark.h>

#include "Foundation/KeyCode.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

/// Snippets with made-up abbreviations of 3 to 9 letters, each behind a mark that the typed text
/// does not have, so that nothing matches while lengths and endings are those of real data.
void fill(EngineRig& rig, std::int64_t snippets, std::int64_t groups) {
    std::mt19937 random(1);
    for (std::int64_t i = 0; i < groups; ++i)
        rig.addGroup(i % 2 == 0 ? ExpandTrigger::AtDelimiter : ExpandTrigger::Immediately);
    for (std::int64_t i = 0; i < snippets; ++i) {
        String abbreviation = u"~";
        for (std::size_t length = 2 + random() % 7; abbreviation.size() <= length;)
            abbreviation += static_cast<char16_t>(u'a' + random() % 26);
        rig.addSnippet(*rig.list.groups[static_cast<std::size_t>(i % groups)], abbreviation, u"x");
    }
}

/// Letters and spaces as in running text, different from round to round.
String text() {
    std::mt19937 random(2);
    String result;
    while (result.size() < 4096) {
        for (std::size_t length = 1 + random() % 9; length > 0; --length)
            result += static_cast<char16_t>(u'a' + random() % 26);
        result += u' ';
    }
    return result;
}

void keyWithoutMatch(benchmark::State& state) {
    EngineRig rig;
    fill(rig, state.range(0), state.range(1));
    const String keys = text();
    ZPKeyEventArgs args;
    std::size_t i = 0;
    for (auto _ : state) {
        if (i == keys.size()) {
            i = 0;
            rig.engine.clear();
        }
        args.c = keys[i++];
        args.key = args.c == u' ' ? KeyCode::Space : 0;
        args.s = String(1, args.c);
        rig.engine.onSystemInputServiceKeyDown(&args);
    }
    if (!rig.service.jobs.empty())
        state.SkipWithError("something matched");
}
BENCHMARK(keyWithoutMatch)
    ->ArgNames({"snippets", "groups"})
    ->ArgsProduct({{100, 1'000, 10'000, 100'000}, {1, 50}});

void indexRebuild(benchmark::State& state) {
    EngineRig rig;
    fill(rig, state.range(0), 1);
    const SnippetGroup& group = *rig.list.groups.front();
    for (auto _ : state) {
        group.link()->abbreviationsChanged = true;
        benchmark::DoNotOptimize(&group.abbreviationIndex());
    }
}
BENCHMARK(indexRebuild)->ArgName("snippets")->Arg(1'000)->Arg(100'000);

} // namespace
} // namespace dresk
