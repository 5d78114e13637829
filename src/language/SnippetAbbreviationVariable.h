#pragma once

#include "language/SnippetVariable.h"

namespace dresk {

class Snippet;

/// A reference to another snippet. What stands under script is set by the parser, and only where
/// the target is one.
class SnippetAbbreviationVariable final : public SnippetVariable {
  public:
    SnippetAbbreviationVariable() = default;
    explicit SnippetAbbreviationVariable(const SnippetVariableParams& params);
    std::optional<String> toString() const override;

    const std::optional<String>& abbreviation() const { return abbreviation_; }
    void setAbbreviation(std::optional<String> text) { abbreviation_ = std::move(text); }
    /// Identity of the target; it counts before the abbreviation.
    const std::optional<String>& uuid() const { return uuid_; }
    void setUuid(std::optional<String> uuid) { uuid_ = std::move(uuid); }

    /// Length of the script's source in the text.
    std::uint64_t scriptLength() const { return scriptLength_; }
    void setScriptLength(std::uint64_t length) { scriptLength_ = length; }
    std::uint64_t end() const { return location() + scriptLength_; }
    bool isAppleScript() const { return isAppleScript_; }
    void setIsAppleScript(bool value) { isAppleScript_ = value; }
    const std::shared_ptr<Snippet>& snippet() const { return snippet_; }
    void setSnippet(std::shared_ptr<Snippet> snippet) { snippet_ = std::move(snippet); }

  private:
    std::optional<String> abbreviation_;
    std::optional<String> uuid_;
    std::uint64_t scriptLength_ = 0;
    bool isAppleScript_ = false;
    std::shared_ptr<Snippet> snippet_;
};

} // namespace dresk
