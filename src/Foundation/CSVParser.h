#pragma once

#include <functional>
#include <map>
#include <vector>

#include "Foundation/CharacterSet.h"

namespace dresk {

/// Reads separated text into rows of named fields, with the quoting of RFC 4180. It never fails
/// loudly: reading ends at the first place that it cannot read, and what was read stands. Time is
/// linear in the text. One thread at a time.
class CSVParser {
  public:
    /// Field name to field. A column that a row lacks is absent, not empty.
    using Row = std::map<String, String, std::less<>>;

    /// `separator` must not be empty and must hold neither a double quote nor a character of
    /// `lineSeparator`; a null `lineSeparator` means the newline characters. `fieldNames` names the
    /// columns; further ones get made-up names.
    CSVParser(String csvString, String separator, const std::optional<CharacterSet>& lineSeparator,
              bool hasHeader, std::vector<String> fieldNames);

    /// Null when there is no first row: an empty text, or one that begins with a line end.
    std::optional<std::vector<Row>> arrayOfParsedRows();
    /// Hands each row over as it is read instead of collecting them.
    void parseRowsForReceiver(const std::function<void(Row)>& receiver);

    /// Grows as rows with more columns are read.
    const std::vector<String>& fieldNames() const { return fieldNames_; }

  private:
    bool parseFile(const std::function<void(Row)>& receiver);
    std::optional<std::vector<String>> parseHeader();
    std::optional<Row> parseRecord();
    std::optional<String> parseField();
    std::optional<String> parseEscaped();
    std::optional<String> parseTextData();
    bool parseSeparator();
    StringView parseLineSeparator();

    bool isAtEnd() const { return position_ >= csvString_.size(); }
    bool endsText(char16_t unit) const;

    String csvString_;
    String separator_;
    CharacterSet lineSeparator_;
    bool hasHeader_;
    std::vector<String> fieldNames_;
    std::size_t position_ = 0;
};

} // namespace dresk
