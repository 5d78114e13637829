#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "Foundation/StringNumbers.h"
#include "language/ParserFixture.h"
#include "language/SnippetDateTimeVariable.h"

namespace dresk {
namespace {

TEST(SnippetVariable, WritesBackItsTextForm) {
    const std::pair<StringView, const char*> cases[] = {
        {u"clipboard", "clipboard flags:0"},
        {u"clipboard optional", "clipboard flags:0 optional:0"},
        {u"clipboard optional:2", "clipboard flags:0 optional:0"},
        {u"clipboard readonly", "clipboard flags:0"},
        {u"clipboard readonly optional:1", "clipboard flags:0 optional:1 readonly"},
        {u"clipboard find:\"a b\" replacement: flags:63",
         "clipboard find:\"a b\" replacement: flags:31"},
        {u"clipboard find:\"\"\"\" flags:-1", "clipboard find:\"\"\"\" flags:31"},
        {u"snippet:sig", "snippet:sig"},
        {u"snippet:\":a b\" uuid:X optional:3", "snippet:\":a b\" uuid:X optional:1"},
        {u"snippet:a snippet:b", "snippet:b"},
        {u"snippet:\"open", "snippet:"},
        {u"key:↩ code:36", "key:↩ code:36"},
        {u"key:a count:0", "key:a code:65535"},
        {u"key:a code:65537 modifiers:131072 count:3 delay:1.5",
         "key:a code:1 modifiers:131072 count:3 delay:1.5"},
        {u"key:a code:36 count:-5 delay:-1", "key:a code:36"},
        {u"key:a code:x delay:0.12345 optional", "key:a code:0 delay:0.123"},
        {u"key:a delay:1e999", "key:a code:65535"},
        {u"key:\"a b\" code:1", "key:a b code:1"},
        {u"date:full", "date:full"},
        {u"date:\"HH:mm\" day:1 month:-2 locale:fr", "date:\"HH:mm\" month:-2 day:1 locale:fr"},
        {u"date:x valueType:1 year:1 weekday:3 optional",
         "date:x valueType:1 weekday:3 optional:0"},
        {u"date:x day:99999999999999999999", "date:x day:9223372036854775807"},
        {u"date:HH:mm", "date:HH"},
        {u"time:short hour:1 minute:-2 second:0", "time:short hour:1 minute:-2"},
        {u"field", "field"},
        {u"field:", "field"},
        {u"fieldnotes", "field"},
        {u"field:n type:1 width:40 height:3", "field:n type:1 width:40 height:3"},
        {u"field:n width:0 height:9 defaultIndex:4", "field:n"},
        {u"field:n type:2 defaultIndex:4 value:\"a\nb\" readonly",
         "field:n type:2 width:4 value:a\nb"},
        {u"field:n type:3 value:\"a b\" optional:1 readonly",
         "field:n type:3 value:\"a b\" optional:1"},
        {u"field:n readonly", "field:n readonly"},
        {u"field:n value:a\"b type:3", "field:n value:a"},
    };
    for (const auto& [body, expected] : cases) {
        const auto variable = SnippetVariableUtils::parseVariable(body);
        ASSERT_NE(variable, nullptr) << toUTF8(body);
        EXPECT_EQ(toUTF8(variable->toString().value_or(u"(null)")), expected) << toUTF8(body);
    }
    for (const StringView body : {u"", u"foo:bar", u" date:x", u"snippet", u"key", u"|", u"◀"})
        EXPECT_EQ(SnippetVariableUtils::parseVariable(body), nullptr) << toUTF8(body);
    EXPECT_EQ(SnippetContentCaret().toString(), std::nullopt);
}

TEST(SnippetVariable, KeepsDefaultsApartFromGivenSizes) {
    const auto field = std::dynamic_pointer_cast<SnippetFieldVariable>(
        SnippetVariableUtils::parseVariable(u"field:n type:1 width:0"));
    EXPECT_EQ(field->width(), 30);
    EXPECT_FALSE(field->hasWidth());
    EXPECT_EQ(field->height(), 5);
    EXPECT_EQ(SnippetFieldVariable().width(), 0);

    SnippetKeyVariable key;
    key.setModifiers(0x10);
    key.setShift(true);
    key.setCommand(true);
    key.setShift(false);
    EXPECT_EQ(key.modifiers(), 0x100010U);
    EXPECT_TRUE(key.command() && !key.shift() && !key.option() && !key.control());
    EXPECT_EQ(key.count(), 0U);
}

TEST(SnippetVariable, EscapesParameters) {
    const std::pair<StringView, StringView> cases[] = {
        {u"a\"b", u"\"a\"\"b\""}, {u"a b", u"\"a b\""}, {u"a:b", u"\"a:b\""},
        {u"ab", u"ab"},           {u"", u""},           {u"a\tb\n", u"a\tb\n"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(SnippetVariableUtils::escapeParam(text), expected) << toUTF8(text);
}

TEST(StringNumbers, ReadLeadingNumbers) {
    const std::pair<StringView, std::int64_t> integers[] = {
        {u"12", 12},
        {u" \t-7x", -7},
        {u"+3", 3},
        {u"", 0},
        {u"--1", 0},
        {u"1.9", 1},
        {u"a1", 0},
        {u"9223372036854775808", INT64_MAX},
        {u"-99999999999999999999", INT64_MIN},
        {u"-9223372036854775808", INT64_MIN},
    };
    for (const auto& [text, expected] : integers)
        EXPECT_EQ(integerValue(text), expected) << toUTF8(text);
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<StringView, double> doubles[] = {
        {u"1.5", 1.5},  {u" -2.5e1x", -25}, {u".5", 0.5}, {u"1,5", 1},
        {u"", 0},       {u"inf", 0},        {u"nan", 0},  {u"-", 0},
        {u"0x10", 0},   {u"+.25.5", 0.25},  {u"1e", 1},   {u"-1e999", -infinity},
        {u"1e-999", 0}, {u"1e+2", 100},
    };
    for (const auto& [text, expected] : doubles)
        EXPECT_EQ(doubleValue(text), expected) << toUTF8(text);
    EXPECT_EQ(doubleValue(u"0." + String(400, u'0') + u"1e5"), 0);
    EXPECT_EQ(doubleValue(String(400, u'9') + u"e-10"), infinity);
}

struct MomentCase {
    const char16_t* body;
    const char* expected;
};

void check(const SnippetEnvironment& environment, std::initializer_list<MomentCase> cases) {
    for (const MomentCase& c : cases) {
        const auto variable = std::dynamic_pointer_cast<SnippetDateTimeVariable>(
            SnippetVariableUtils::parseVariable(c.body));
        ASSERT_NE(variable, nullptr) << toUTF8(c.body);
        EXPECT_EQ(toUTF8(variable->value(environment).value_or(u"(null)")), c.expected)
            << toUTF8(c.body);
    }
}

TEST(SnippetDateTimeVariable, WritesStylesAndPatterns) {
    ParserFixture world;
    check(world.environment(), {
                                   {u"date:short", "1/31/26"},
                                   {u"date:medium", "Jan 31, 2026"},
                                   {u"date:long", "January 31, 2026"},
                                   {u"date:full", "Saturday, January 31, 2026"},
                                   {u"date:full locale:fr", "samedi 31 janvier 2026"},
                                   {u"date:full locale:de", "Samstag, 31. Januar 2026"},
                                   {u"date:\"EEEE d MMMM\" locale:ja", "土曜日 31 1月"},
                                   {u"date:yyyy locale:\"no such\"", "2026"},
                                   {u"time:short", "12:30 PM"},
                                   {u"time:medium", "12:30:45 PM"},
                                   {u"time:long locale:de", "12:30:45 MEZ"},
                                   {u"time:full", "12:30:45 PM Central European Standard Time"},
                                   {u"time:short locale:fr", "12:30"},
                                   {u"time:\"hh 'o''clock' a\"", "12 o'clock PM"},
                                   {u"time:\"HH:mm:ss\"", "12:30:45"},
                                   {u"time:HH:mm:ss", "12"},
                                   {u"date:\"EEE, MMM d, ''yy\"", "Sat, Jan 31, '26"},
                                   {u"date:Full", "52026"},
                                   {u"date:nope", ""},
                                   {u"date:", ""},
                               });
    // Unknown places and languages fall back; the time zone decides the day.
    check(world.environment(u"en_US", u"Pacific/Auckland"), {{u"date:yyyy-MM-dd", "2026-02-01"}});
    check(world.environment(u"en_US", u"No/Where"), {{u"time:\"HH:mm zzz\"", "11:30 GMT"}});
    check(world.environment(u"fr"), {{u"date:long", "31 janvier 2026"}});
    check(world.environment(u"th_TH"), {{u"date:yyyy year:1", "2570"}});
    check(world.environment(u"xx\u00E9"), {{u"date:yyyy", "2026"}});
}

TEST(SnippetDateTimeVariable, ShiftsByOffsets) {
    ParserFixture world;
    check(world.environment(), {
                                   {u"date:yyyy-MM-dd month:1", "2026-03-03"},
                                   {u"date:yyyy-MM-dd month:13 day:-30", "2027-02-01"},
                                   {u"date:yyyy-MM-dd year:2 day:29", "2028-02-29"},
                                   {u"date:\"yyyy HH:mm\"", "2026 12:30"},
                                   {u"date:\"yyyy HH:mm\" day:1", "2026 00:00"},
                                   {u"time:\"HH:mm:ss\" hour:12", "00:30:45"},
                                   {u"time:\"HH:mm:ss\" minute:-31 second:15", "12:00:00"},
                                   {u"time:\"HH:mm\" hour:24", "12:30"},
                                   {u"time:yyyy hour:1", "0001"},
                                   // 31 January 2026 is a Saturday.
                                   {u"date:yyyy-MM-dd valueType:1 weekday:6", "2026-02-07"},
                                   {u"date:yyyy-MM-dd valueType:2 weekday:6", "2026-01-24"},
                                   {u"date:yyyy-MM-dd valueType:1 weekday:0", "2026-02-01"},
                                   {u"date:yyyy-MM-dd valueType:2 weekday:0", "2026-01-25"},
                                   {u"date:yyyy-MM-dd valueType:1 weekday:5 year:1", "2026-02-06"},
                                   {u"date:yyyy-MM-dd valueType:7 weekday:5", "2026-01-30"},
                               });
    const FixedClock sunday(Date{ParserFixture::Now + 86400});
    SnippetEnvironment environment = world.environment();
    environment.clock = &sunday;
    check(environment, {
                           {u"date:MM-dd valueType:1 weekday:0", "02-08"},
                           {u"date:MM-dd valueType:2 weekday:0", "01-25"},
                           {u"date:MM-dd valueType:1 weekday:1", "02-02"},
                           {u"date:MM-dd valueType:2 weekday:6", "01-31"},
                       });
}

TEST(SnippetDateTimeVariable, TakesNumbersOutOfRange) {
    ParserFixture world;
    for (const StringView name : {u"year", u"month", u"day", u"hour", u"minute", u"second"})
        for (const StringView value :
             {u"9999999999999999999", u"-9999999999999999999", u"400000000", u"-2147483648"})
            for (const StringView kind : {u"date:\"y-MM-dd\" ", u"time:full "}) {
                const auto variable = std::dynamic_pointer_cast<SnippetDateTimeVariable>(
                    SnippetVariableUtils::parseVariable(String(kind) + String(name) + u":" +
                                                        String(value)));
                const auto text = variable->value(world.environment());
                ASSERT_TRUE(text.has_value());
                EXPECT_LT(text->size(), 100U);
            }
    SnippetDateVariable weekday;
    weekday.setFormat(u"yyyy");
    weekday.setValueType(1);
    weekday.setWeekday(INT64_MIN);
    EXPECT_TRUE(weekday.value(world.environment()).has_value());
    weekday.setFormat(String(100000, u'y'));
    EXPECT_FALSE(weekday.value(world.environment()).has_value());
}

TEST(SnippetDateTimeVariable, KeepsFormattersApart) {
    ParserFixture world;
    const SnippetEnvironment environment = world.environment();
    // More patterns and locales than are kept, twice.
    for (int round = 0; round < 2; ++round)
        for (int i = 1; i <= 50; ++i) {
            SnippetDateVariable variable;
            variable.setFormat(u"yyyy'" + String(static_cast<std::size_t>(i), u'x') + u"'");
            variable.setLocale(i % 2 == 0 ? u"ar_EG" : u"en");
            const String expected = i % 2 == 0 ? u"٢٠٢٦" : u"2026";
            EXPECT_EQ(variable.value(environment),
                      expected + String(static_cast<std::size_t>(i), u'x'));
        }
}

TEST(SnippetDateTimeVariable, FormatsOnSeveralThreads) {
    ParserFixture world;
    const SnippetEnvironment environment = world.environment();
    std::vector<std::thread> threads;
    threads.reserve(4);
    std::atomic<int> wrong = 0;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 200; ++i) {
                SnippetDateVariable variable;
                variable.setFormat(u"d'" + String(static_cast<std::size_t>(i % 40 + 1), u'x') +
                                   u"'");
                variable.setDay(thread);
                const auto text = variable.value(environment);
                const String expected[] = {u"31", u"1", u"2", u"3"};
                wrong += text->substr(0, text->find(u'x')) == expected[thread] ? 0 : 1;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace dresk
