#include "language/SnippetDateTimeVariable.h"

#include <algorithm>
#include <array>

#include "language/SnippetVariableUtils.h"

namespace dresk {

namespace {

// Offsets beyond this are cut to it before they are added.
constexpr std::int64_t LargestOffset = 1'000'000'000;

void addOffset(std::optional<std::int64_t>& component, std::int64_t offset) {
    *component += std::clamp(offset, -LargestOffset, LargestOffset);
}

void addIfSet(SnippetParamsText& text, StringView name, std::int64_t offset) {
    if (offset != 0)
        text.add(name, offset);
}

} // namespace

SnippetDateTimeVariable::SnippetDateTimeVariable(const SnippetVariableParams& params,
                                                 StringView formatName)
    : SnippetVariable(params), format_(stringForKey(params, formatName).value_or(String())),
      locale_(stringForKey(params, u"locale")) {}

std::optional<String> SnippetDateTimeVariable::value(const SnippetEnvironment& environment) const {
    return environment.formats->stringFromDate(date(environment), dateFormatter());
}

DateFormatter SnippetDateTimeVariable::dateFormatterWithFormat(const String& format,
                                                               DateFormatter::Kind kind) {
    constexpr std::array<StringView, 4> styles = {u"short", u"medium", u"long", u"full"};
    const auto* const style = std::find(styles.begin(), styles.end(), format);
    DateFormatter formatter;
    if (style == styles.end()) {
        formatter.pattern = format;
    } else {
        formatter.kind = kind;
        formatter.style = static_cast<int>(style - styles.begin()) + 1;
    }
    return formatter;
}

void SnippetDateTimeVariable::addCommonParams(SnippetParamsText& text) const {
    if (locale_.has_value())
        text.add(u"locale", SnippetVariableUtils::escapeParam(*locale_));
    if (isOptional())
        text.addParams(SnippetVariable::toString());
}

SnippetDateVariable::SnippetDateVariable(const SnippetVariableParams& params)
    : SnippetDateTimeVariable(params, u"date"),
      valueType_(integerForKey(params, u"valueType", Today)),
      year_(integerForKey(params, u"year", 0)), month_(integerForKey(params, u"month", 0)),
      day_(integerForKey(params, u"day", 0)), weekday_(integerForKey(params, u"weekday", 0)) {}

std::optional<String> SnippetDateVariable::toString() const {
    SnippetParamsText text;
    text.add(u"date", SnippetVariableUtils::escapeParam(format()));
    if (valueIsToday()) {
        addIfSet(text, u"year", year_);
        addIfSet(text, u"month", month_);
        addIfSet(text, u"day", day_);
    } else {
        text.add(u"valueType", valueType_);
        text.add(u"weekday", weekday_);
    }
    addCommonParams(text);
    return text.text();
}

Date SnippetDateVariable::date(const SnippetEnvironment& environment) const {
    const Date now = environment.clock->now();
    if (valueIsToday() && year_ == 0 && month_ == 0 && day_ == 0)
        return now;
    DateComponents components = environment.formats->componentsFromDate(now);
    components.hour = components.minute = components.second = std::nullopt;
    if (valueIsToday()) {
        addOffset(components.year, year_);
        addOffset(components.month, month_);
        addOffset(components.day, day_);
    } else {
        const std::int64_t weekday = std::clamp(weekday_, -LargestOffset, LargestOffset);
        const std::int64_t target = weekday + 1;
        const std::int64_t today = *components.weekday;
        if (valueType_ == NextWeekday)
            addOffset(components.day, target - today + (today > weekday ? 7 : 0));
        else
            addOffset(components.day, target - today - (today <= target ? 7 : 0));
    }
    return environment.formats->dateFromComponents(components);
}

DateFormatter SnippetDateVariable::dateFormatter() const {
    DateFormatter formatter = dateFormatterWithFormat(format());
    formatter.locale = locale();
    return formatter;
}

DateFormatter SnippetDateVariable::dateFormatterWithFormat(const String& format) {
    return SnippetDateTimeVariable::dateFormatterWithFormat(format, DateFormatter::Kind::DateStyle);
}

SnippetTimeVariable::SnippetTimeVariable(const SnippetVariableParams& params)
    : SnippetDateTimeVariable(params, u"time"), hour_(integerForKey(params, u"hour", 0)),
      minute_(integerForKey(params, u"minute", 0)), second_(integerForKey(params, u"second", 0)) {}

std::optional<String> SnippetTimeVariable::toString() const {
    SnippetParamsText text;
    text.add(u"time", SnippetVariableUtils::escapeParam(format()));
    addIfSet(text, u"hour", hour_);
    addIfSet(text, u"minute", minute_);
    addIfSet(text, u"second", second_);
    addCommonParams(text);
    return text.text();
}

// With an offset the moment has no day of its own and falls on the calendar's first one, so a
// pattern that shows a date shows that. This is meant.
Date SnippetTimeVariable::date(const SnippetEnvironment& environment) const {
    const Date now = environment.clock->now();
    if (hour_ == 0 && minute_ == 0 && second_ == 0)
        return now;
    DateComponents components = environment.formats->componentsFromDate(now);
    components.year = components.month = components.day = std::nullopt;
    addOffset(components.hour, hour_);
    addOffset(components.minute, minute_);
    addOffset(components.second, second_);
    return environment.formats->dateFromComponents(components);
}

DateFormatter SnippetTimeVariable::dateFormatter() const {
    DateFormatter formatter = dateFormatterWithFormat(format());
    formatter.locale = locale();
    return formatter;
}

DateFormatter SnippetTimeVariable::dateFormatterWithFormat(const String& format) {
    return SnippetDateTimeVariable::dateFormatterWithFormat(format, DateFormatter::Kind::TimeStyle);
}

} // namespace dresk
