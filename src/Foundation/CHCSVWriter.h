#pragma once

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <span>

#include "Foundation/CharacterSet.h"

struct UConverter;

namespace dresk {

/// Writes separated text. Errors of the stream are not reported while writing; `closeStream` tells
/// whether all went well. One thread at a time.
class CHCSVWriter {
  public:
    /// Overwrites the file. UTF-8, comma.
    static std::unique_ptr<CHCSVWriter> initForWritingToCSVFile(const std::filesystem::path& path);
    /// `encoding` is a name that the converters know, such as "UTF-16"; an unknown one gives UTF-8.
    /// A byte-order mark that the encoding calls for is written at once.
    CHCSVWriter(std::unique_ptr<std::ostream> stream, const std::string& encoding,
                char16_t delimiter);
    CHCSVWriter(const CHCSVWriter&) = delete;
    CHCSVWriter& operator=(const CHCSVWriter&) = delete;
    /// Closes the stream.
    ~CHCSVWriter();

    /// Null writes nothing between the delimiters.
    void writeField(const std::optional<String>& field);
    void finishLine();
    /// Finishes an open line first.
    void writeLineOfFields(std::span<const std::optional<String>> fields);
    /// Finishes an open line first; each line of the comment gets a line of its own.
    void writeComment(StringView comment);
    /// False if anything could not be written. Nothing is written afterwards.
    bool closeStream();

  private:
    struct ConverterCloser {
        void operator()(UConverter* converter) const;
    };

    std::string encode(StringView text) const;
    void writeText(StringView text);
    void finishOpenLine();

    std::unique_ptr<std::ostream> stream_;
    std::unique_ptr<UConverter, ConverterCloser> converter_;
    std::string bom_;
    String delimiter_;
    CharacterSet illegalCharacters_;
    std::uint64_t currentField_ = 0;
};

} // namespace dresk
