#pragma once

#include <map>
#include <unordered_set>

#include "language/SnippetParser.h"
#include "language/SnippetScanText.h"

namespace dresk {

/// One run of the parser over a snippet and all that it refers to. Lives for that run.
class SnippetExpansion {
  public:
    /// Both outlive the expansion.
    SnippetExpansion(const SnippetEnvironment& environment, const SnippetGroupArray& groups)
        : environment_(environment), groups_(groups) {}

    /// Null when a reference leads nowhere.
    std::shared_ptr<SnippetExpandedContent> parse(const Snippet& snippet,
                                                  const AttributedString& content, bool isRichText);

  private:
    using Variables = SnippetExpandedContent::Variables;

    /// One scan; nested scripts have scans of their own.
    struct Scan {
        const Snippet& snippet;
        bool isRichText;
        SnippetScanText text;
        Variables variables;
        /// In the order in which the guard met the references; the first is the snippet itself.
        std::vector<bool> circularReferences;
        std::size_t referenceCounter = 0;
    };

    bool checkEmbeddedSnippets(std::vector<bool>& flags, const Snippet& snippet);
    bool descendAllowed(const Snippet& target);
    void expandToken(Scan& scan);
    void expandBareToken(Scan& scan);
    void expandReference(Scan& scan, const std::shared_ptr<SnippetAbbreviationVariable>& variable);
    void expandScript(Scan& scan, const std::shared_ptr<SnippetAbbreviationVariable>& variable,
                      const std::shared_ptr<Snippet>& target);
    void expandNested(Scan& scan, const Snippet& target);
    void expandClipboard(Scan& scan, const SnippetClipboardVariable& variable);
    std::optional<AttributedString> richClipboard(const SnippetClipboardVariable& variable);
    std::optional<String> plainClipboard(const SnippetClipboardVariable& variable);
    std::optional<AttributedString> readRichPasteboard() const;
    std::shared_ptr<Snippet> find(const SnippetAbbreviationVariable& variable,
                                  const Snippet& inSnippet);

    const SnippetEnvironment& environment_;
    const SnippetGroupArray& groups_;
    bool isAbandoned_ = false;

    std::uint64_t references_ = 0;
    std::uint64_t guardedUnits_ = 0;
    std::uint64_t nestedUnits_ = 0;
    std::uint64_t clipboardUnits_ = 0;
    /// Snippets with a scan under way, the outermost first.
    std::vector<const Snippet*> running_;

    using ReferenceKey = std::tuple<const SnippetGroup*, std::optional<String>, String>;
    std::map<ReferenceKey, std::shared_ptr<Snippet>> found_;
    /// What the pasteboard gave at the first question.
    std::optional<std::optional<String>> pasteboardString_;
    std::optional<std::optional<AttributedString>> pasteboardRichText_;
};

} // namespace dresk
