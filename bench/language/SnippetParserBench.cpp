#include <benchmark/benchmark.h>

#include "language/SnippetParser.h"

namespace dresk {
namespace {

struct World {
    SnippetGroupArray groups{std::make_shared<SnippetGroup>()};
    SnippetParser parser;

    std::shared_ptr<Snippet> add(const String& abbreviation, const String& content) {
        auto snippet = Snippet::initWithAbbreviation(abbreviation, content);
        groups[0]->addItem(snippet);
        return snippet;
    }
    void run(benchmark::State& state, const Snippet& snippet) {
        while (state.KeepRunning())
            benchmark::DoNotOptimize(parser.parseSnippet(snippet, groups));
    }
};

String number(std::int64_t value) {
    return fromUTF8(std::to_string(value));
}

String repeated(std::int64_t count, StringView text) {
    String result;
    for (std::int64_t i = 0; i < count; ++i)
        result.append(text);
    return result;
}

// Must stay under 5 microseconds.
void plainContent(benchmark::State& state) {
    World world;
    world.run(state, *world.add(u"x", String(200, u'a')));
}
BENCHMARK(plainContent);

// Must stay under 200 microseconds.
void tenDates(benchmark::State& state) {
    World world;
    world.run(state, *world.add(u"x", repeated(10, u"on 【date:\"yyyy-MM-dd HH:mm\" day:1】, ")));
}
BENCHMARK(tenDates);

// The time for each token must not grow with their number: 100 units of text for each.
void longContent(benchmark::State& state) {
    World world;
    world.add(u"n", u"nested");
    const String piece = String(70, u'a') + u"【snippet:n】【field:f】【|】";
    const auto snippet = world.add(u"x", repeated(state.range(0), piece));
    if (state.range(1) != 0)
        snippet->setContentType(SnippetContentType::RichText);
    world.run(state, *snippet);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(longContent)->ArgsProduct({{125, 250, 500, 1000}, {0, 1}})->Complexity(benchmark::oN);

void nestedThirtyDeep(benchmark::State& state) {
    World world;
    for (int i = 1; i < 30; ++i)
        world.add(number(i), u"a【snippet:" + number(i + 1) + u"】b");
    world.add(u"30", u"end");
    world.run(state, *world.add(u"x", u"【snippet:1】"));
}
BENCHMARK(nestedThirtyDeep);

// Each level refers twice to the next one.
void nestedThirtyDeepTwice(benchmark::State& state) {
    World world;
    for (int i = 1; i < 30; ++i)
        world.add(number(i), repeated(2, u"a【snippet:" + number(i + 1) + u"】b"));
    world.add(u"30", u"end");
    world.run(state, *world.add(u"x", u"【snippet:1】"));
}
BENCHMARK(nestedThirtyDeepTwice)->Unit(benchmark::kMillisecond);

void selfReferences(benchmark::State& state) {
    World world;
    world.run(state, *world.add(u"x", repeated(1000, u"【snippet:x】")));
}
BENCHMARK(selfReferences);

// A search by regular expression in a large clipboard, and one that would not end.
void clipboardSearch(benchmark::State& state, StringView find, StringView text) {
    SnippetClipboardVariable variable;
    variable.setFind(String(find));
    variable.setRegularExpressions(true);
    const SnippetParser::Content content = repeated(100000, text);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(SnippetParser::processClipboardVariable(variable, content));
}
BENCHMARK_CAPTURE(clipboardSearch, words, u"\\bfoo\\b", u"a foo ")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clipboardSearch, nestedLoops, u"(a*)*b", u"a")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clipboardSearch, manyLoops, u"a*a*a*a*b", u"a")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clipboardSearch, backReference, u"(a*)\\1b", u"a")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clipboardSearch, lookAhead, u"(?=(a+))\\1*b", u"a")
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace dresk
