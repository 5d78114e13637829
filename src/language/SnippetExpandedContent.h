#pragma once

#include <variant>
#include <vector>

#include "Foundation/AttributedString.h"

namespace dresk {

class DRScript;
class Snippet;
class SnippetAbbreviationVariable;
class SnippetFieldVariable;
class SnippetKeyVariable;
class SnippetVariable;

/// What one expansion carries from the parser to the sender. One thread at a time has it; it hands
/// over through posted calls and needs no lock.
class SnippetExpandedContent {
  public:
    /// Plain for a plain parse, attributed for a rich one.
    using Content = std::variant<String, AttributedString>;
    using Variables = std::vector<std::shared_ptr<SnippetVariable>>;
    using Scripts = std::vector<std::shared_ptr<DRScript>>;

    const Content& content() const { return content_; }
    void setContent(Content content) { content_ = std::move(content); }
    bool isRichText() const { return std::holds_alternative<AttributedString>(content_); }
    /// The snippet that was expanded; null for text that comes from none.
    const std::shared_ptr<Snippet>& originalSnippet() const { return originalSnippet_; }
    void setOriginalSnippet(std::shared_ptr<Snippet> snippet) {
        originalSnippet_ = std::move(snippet);
    }
    /// In reading order of the text.
    const Variables& variables() const { return variables_; }
    void setVariables(Variables variables) { variables_ = std::move(variables); }
    /// Scripts taken out of the content, in its order; empty until they are split off.
    const Scripts& scripts() const { return scripts_; }
    void setScripts(Scripts scripts) { scripts_ = std::move(scripts); }
    /// Text to put behind the content; null or empty for none.
    const std::optional<String>& suffix() const { return suffix_; }
    void setSuffix(std::optional<String> suffix) { suffix_ = std::move(suffix); }
    bool hasSuffix() const { return suffix_.has_value() && !suffix_->empty(); }

    std::vector<std::shared_ptr<SnippetFieldVariable>> fields() const;
    std::vector<std::shared_ptr<SnippetAbbreviationVariable>> abbreviations() const;
    std::vector<std::shared_ptr<SnippetKeyVariable>> keys() const;
    /// The same list as `keys`.
    std::vector<std::shared_ptr<SnippetKeyVariable>> arrows() const;
    bool hasCaret() const;
    bool hasCaretLocationOrKeys() const;
    bool hasCaretLocationOrArrowKeys() const;
    bool hasDelayedKey() const;
    bool hasCaretOrFields() const;

    /// The content as a plain string.
    const String& string() const;
    std::uint64_t length() const { return string().size(); }
    /// The plain string with a blank for each tab and return key.
    String copyString() const;
    /// Left-arrow presses that bring the caret from the end of the output to its place. Return, Tab
    /// and Enter keys behind the caret put a character each into the target.
    std::uint64_t caretDistanceFromEnding() const;
    std::uint64_t caretDistanceFromEndingIgnoreKeys() const;
    /// The caret's index, counting one for each Return and Tab key anywhere; -1 plus that count
    /// without a caret.
    std::int64_t caretLocation() const;
    /// Appends the suffix, without attributes. The suffix stays set: a second call appends again.
    void applySuffix();

  private:
    Content content_;
    std::shared_ptr<Snippet> originalSnippet_;
    Variables variables_;
    Scripts scripts_;
    std::optional<String> suffix_;
};

} // namespace dresk
