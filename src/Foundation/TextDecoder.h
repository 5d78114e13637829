#pragma once

#include <map>
#include <memory>
#include <optional>

#include "Foundation/String.h"

namespace dresk {

/// Decodes bytes of Windows and Macintosh code pages, known by number, and of encodings by name.
/// Keeps its converters; one thread at a time.
class TextDecoder {
  public:
    /// The code page that Macintosh Roman goes by.
    static constexpr unsigned MacRoman = 10000;
    static constexpr unsigned WesternEuropean = 1252;

    TextDecoder();
    TextDecoder(const TextDecoder&) = delete;
    TextDecoder& operator=(const TextDecoder&) = delete;
    ~TextDecoder();

    /// An unknown code page is taken as Western European; undecodable bytes become U+FFFD.
    String decode(std::string_view bytes, unsigned codePage);

    /// `encoding` is a name of the IANA registry. Null for an unknown one.
    std::optional<String> decode(std::string_view bytes, const std::string& encoding);

  private:
    struct Converter;
    std::map<std::string, std::unique_ptr<Converter>> converters_;
};

} // namespace dresk
