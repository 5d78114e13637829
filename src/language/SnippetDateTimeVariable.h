#pragma once

#include "language/SnippetEnvironment.h"
#include "language/SnippetVariable.h"

namespace dresk {

/// A moment, written in a style or by a pattern.
class SnippetDateTimeVariable : public SnippetVariable {
  public:
    /// "short", "medium", "long", "full", or a pattern in the pattern language of Unicode.
    const String& format() const { return format_; }
    void setFormat(String format) { format_ = std::move(format); }
    /// Locale identifier; null is the current locale.
    const std::optional<String>& locale() const { return locale_; }
    void setLocale(std::optional<String> locale) { locale_ = std::move(locale); }

    /// The moment to write.
    virtual Date date(const SnippetEnvironment& environment) const = 0;
    virtual DateFormatter dateFormatter() const = 0;
    /// The text for the token; null if the formatter gives none.
    std::optional<String> value(const SnippetEnvironment& environment) const;

  protected:
    SnippetDateTimeVariable() = default;
    SnippetDateTimeVariable(const SnippetVariableParams& params, StringView formatName);

    static DateFormatter dateFormatterWithFormat(const String& format, DateFormatter::Kind kind);
    /// Adds locale and the base's text.
    void addCommonParams(SnippetParamsText& text) const;

  private:
    String format_;
    std::optional<String> locale_;
};

/// Today with offsets, or the next or last of a weekday.
class SnippetDateVariable final : public SnippetDateTimeVariable {
  public:
    /// Every other value acts as `LastWeekday`.
    enum ValueType : std::int64_t { Today, NextWeekday, LastWeekday };

    SnippetDateVariable() = default;
    explicit SnippetDateVariable(const SnippetVariableParams& params);
    std::optional<String> toString() const override;

    std::int64_t valueType() const { return valueType_; }
    void setValueType(std::int64_t valueType) { valueType_ = valueType; }
    bool valueIsToday() const { return valueType_ == Today; }
    /// Offsets, for today only.
    std::int64_t year() const { return year_; }
    void setYear(std::int64_t year) { year_ = year; }
    std::int64_t month() const { return month_; }
    void setMonth(std::int64_t month) { month_ = month; }
    std::int64_t day() const { return day_; }
    void setDay(std::int64_t day) { day_ = day; }
    /// From 0, Sunday.
    std::int64_t weekday() const { return weekday_; }
    void setWeekday(std::int64_t weekday) { weekday_ = weekday; }

    Date date(const SnippetEnvironment& environment) const override;
    DateFormatter dateFormatter() const override;
    /// For a list of formats: no locale of its own.
    static DateFormatter dateFormatterWithFormat(const String& format);

  private:
    std::int64_t valueType_ = Today;
    std::int64_t year_ = 0;
    std::int64_t month_ = 0;
    std::int64_t day_ = 0;
    std::int64_t weekday_ = 0;
};

/// Now with offsets.
class SnippetTimeVariable final : public SnippetDateTimeVariable {
  public:
    SnippetTimeVariable() = default;
    explicit SnippetTimeVariable(const SnippetVariableParams& params);
    std::optional<String> toString() const override;

    std::int64_t hour() const { return hour_; }
    void setHour(std::int64_t hour) { hour_ = hour; }
    std::int64_t minute() const { return minute_; }
    void setMinute(std::int64_t minute) { minute_ = minute; }
    std::int64_t second() const { return second_; }
    void setSecond(std::int64_t second) { second_ = second; }

    Date date(const SnippetEnvironment& environment) const override;
    DateFormatter dateFormatter() const override;
    /// For a list of formats: the current locale.
    static DateFormatter dateFormatterWithFormat(const String& format);

  private:
    std::int64_t hour_ = 0;
    std::int64_t minute_ = 0;
    std::int64_t second_ = 0;
};

} // namespace dresk
