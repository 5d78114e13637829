#include "Foundation/CSVParser.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace dresk {

namespace {

constexpr char16_t Quote = u'"';

[[noreturn]] void failSeparatorAssertion() {
    std::fputs("CSV separator string must not be empty and must not contain the double quote "
               "character or newline characters.\n",
               stderr);
    std::abort();
}

String madeUpName(std::size_t column) {
    return fromUTF8("FIELD_" + std::to_string(column));
}

} // namespace

CSVParser::CSVParser(String csvString, String separator,
                     const std::optional<CharacterSet>& lineSeparator, bool hasHeader,
                     std::vector<String> fieldNames)
    : csvString_(std::move(csvString)), separator_(std::move(separator)),
      lineSeparator_(lineSeparator.value_or(CharacterSet::newlineCharacterSet())),
      hasHeader_(hasHeader), fieldNames_(std::move(fieldNames)) {
    const auto isForbidden = [this](char16_t unit) {
        return unit == Quote || lineSeparator_.contains(unit);
    };
    if (separator_.empty() || std::any_of(separator_.begin(), separator_.end(), isForbidden))
        failSeparatorAssertion();
}

std::optional<std::vector<CSVParser::Row>> CSVParser::arrayOfParsedRows() {
    std::vector<Row> rows;
    if (!parseFile([&rows](Row row) { rows.push_back(std::move(row)); }))
        return std::nullopt;
    return rows;
}

void CSVParser::parseRowsForReceiver(const std::function<void(Row)>& receiver) {
    parseFile(receiver);
}

bool CSVParser::parseFile(const std::function<void(Row)>& receiver) {
    position_ = 0;
    if (hasHeader_) {
        auto header = parseHeader();
        if (!header.has_value() || parseLineSeparator().empty())
            return false;
        fieldNames_ = std::move(*header);
    }
    auto record = parseRecord();
    if (!record.has_value())
        return false;
    while (record.has_value()) {
        receiver(std::move(*record));
        if (parseLineSeparator().empty())
            break;
        record = parseRecord();
    }
    return true;
}

std::optional<std::vector<String>> CSVParser::parseHeader() {
    std::vector<String> names;
    do {
        auto name = parseField();
        if (!name.has_value())
            return std::nullopt;
        names.push_back(std::move(*name));
    } while (parseSeparator());
    return names;
}

std::optional<CSVParser::Row> CSVParser::parseRecord() {
    if (isAtEnd() || !parseLineSeparator().empty())
        return std::nullopt;
    Row row;
    for (std::size_t column = 1;; ++column) {
        auto field = parseField();
        if (!field.has_value()) {
            if (column == 1)
                return std::nullopt;
            return row;
        }
        if (column > fieldNames_.size())
            fieldNames_.push_back(madeUpName(column));
        row.insert_or_assign(fieldNames_[column - 1], std::move(*field));
        if (!parseSeparator())
            return row;
    }
}

std::optional<String> CSVParser::parseField() {
    if (auto escaped = parseEscaped())
        return escaped;
    if (auto text = parseTextData())
        return text;
    const std::size_t start = position_;
    const bool isEmptyField = isAtEnd() || parseSeparator() || !parseLineSeparator().empty();
    position_ = start;
    return isEmptyField ? std::optional<String>(String()) : std::nullopt;
}

// An unclosed quote leaves the position at the end of the text: the field comes out empty and the
// rest is dropped. That is meant.
std::optional<String> CSVParser::parseEscaped() {
    if (isAtEnd() || csvString_[position_] != Quote)
        return std::nullopt;
    ++position_;
    String field;
    while (!isAtEnd()) {
        if (csvString_[position_] != Quote) {
            const std::size_t end = std::min(csvString_.find(Quote, position_), csvString_.size());
            field.append(csvString_, position_, end - position_);
            position_ = end;
        } else if (position_ + 1 < csvString_.size() && csvString_[position_ + 1] == Quote) {
            field.push_back(Quote);
            position_ += 2;
        } else {
            ++position_;
            return field;
        }
    }
    return std::nullopt;
}

std::optional<String> CSVParser::parseTextData() {
    const std::size_t start = position_;
    while (!isAtEnd()) {
        const char16_t unit = csvString_[position_];
        if (endsText(unit) && (unit != separator_.front() ||
                               csvString_.compare(position_, separator_.size(), separator_) == 0))
            break;
        ++position_;
    }
    if (position_ == start)
        return std::nullopt;
    return csvString_.substr(start, position_ - start);
}

bool CSVParser::endsText(char16_t unit) const {
    return unit == Quote || unit == separator_.front() || lineSeparator_.contains(unit);
}

bool CSVParser::parseSeparator() {
    if (csvString_.compare(position_, separator_.size(), separator_) != 0)
        return false;
    position_ += separator_.size();
    return true;
}

StringView CSVParser::parseLineSeparator() {
    const std::size_t start = position_;
    while (!isAtEnd() && lineSeparator_.contains(csvString_[position_]))
        ++position_;
    return StringView(csvString_).substr(start, position_ - start);
}

} // namespace dresk
