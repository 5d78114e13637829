#pragma once

#include <map>
#include <vector>

#include "Foundation/String.h"

namespace dresk {

/// The parameters of one token, name to value; the value is empty for a name alone.
using SnippetVariableParams = std::map<String, String, std::less<>>;

/// The default counts only if the name is missing; a value that is no number reads as 0.
std::int64_t integerForKey(const SnippetVariableParams& params, StringView key,
                           std::int64_t defaultValue);
double doubleForKey(const SnippetVariableParams& params, StringView key, double defaultValue);
/// Null if the name is missing.
std::optional<String> stringForKey(const SnippetVariableParams& params, StringView key);

/// Collects the text form of a token's body: parameters joined by one blank.
class SnippetParamsText {
  public:
    void add(StringView param);
    void add(StringView name, StringView value);
    void add(StringView name, std::int64_t value);
    /// Null adds nothing.
    void addParams(const std::optional<String>& params);

    const String& text() const { return text_; }

  private:
    String text_;
};

} // namespace dresk
