#pragma once

#include "language/SnippetVariable.h"

namespace dresk {

/// The text of the clipboard, with find and replace.
class SnippetClipboardVariable final : public SnippetVariable {
  public:
    enum MatchingOption : std::int64_t { Anywhere, BeginningOfWord, WholeWord, EndOfWord };

    SnippetClipboardVariable() = default;
    explicit SnippetClipboardVariable(const SnippetVariableParams& params);
    std::optional<String> toString() const override;

    /// What to look for; null or empty for nothing.
    const std::optional<String>& find() const { return find_; }
    void setFind(std::optional<String> find) { find_ = std::move(find); }
    /// Null deletes what is found.
    const std::optional<String>& replacement() const { return replacement_; }
    void setReplacement(std::optional<String> text) { replacement_ = std::move(text); }
    /// Whether `find` is a regular expression.
    bool regularExpressions() const { return regularExpressions_; }
    void setRegularExpressions(bool value) { regularExpressions_ = value; }
    std::int64_t matchingOption() const { return matchingOption_; }
    void setMatchingOption(std::int64_t option) { matchingOption_ = option & 3; }
    bool matchCase() const { return matchCase_; }
    void setMatchCase(bool value) { matchCase_ = value; }
    /// Whether rich text takes the style of the token.
    bool matchSnippetStyle() const { return matchSnippetStyle_; }
    void setMatchSnippetStyle(bool value) { matchSnippetStyle_ = value; }

  private:
    std::optional<String> find_;
    std::optional<String> replacement_;
    bool regularExpressions_ = false;
    std::int64_t matchingOption_ = Anywhere;
    bool matchCase_ = false;
    bool matchSnippetStyle_ = false;
};

} // namespace dresk
