#pragma once

#include "language/DRScript.h"
#include "language/SnippetClipboardVariable.h"
#include "language/SnippetEnvironment.h"
#include "language/SnippetExpandedContent.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// Turns the stored content of a snippet into an expanded content, and finishes that in two later
/// steps. Keeps no state between calls; one thread at a time. Whatever reads snippets is called
/// under the shared data lock.
///
/// Nothing in the mark-up is an error: what cannot be read stays as text, what cannot be resolved
/// goes away. Time and memory are bounded whatever the snippets hold: references beyond 20,000 in
/// one expansion, 100 scripts deep or 32 million units of nested text go away like those that close
/// a loop.
class SnippetParser {
  public:
    using Content = SnippetExpandedContent::Content;

    explicit SnippetParser(SnippetEnvironment environment = {});

    /// Null when the snippet has no content, and when a reference leads nowhere.
    std::shared_ptr<SnippetExpandedContent> parseSnippet(const Snippet& snippet,
                                                         const SnippetGroupArray& groups) const;
    /// The same for another content in the place of the snippet's.
    std::shared_ptr<SnippetExpandedContent> parse(const Snippet& snippet,
                                                  const AttributedString& content, bool isRichText,
                                                  const SnippetGroupArray& groups) const;

    /// Puts the values of the fields into the text.
    void mergeFields(SnippetExpandedContent& content) const;
    /// Takes the sources of nested scripts out of the text.
    void processScripts(SnippetExpandedContent& content) const;

    /// Rewrites the older mark-up, between percent signs, in the snippet's content.
    void convertOldSnippet(Snippet& snippet) const;

    /// By identity, then by abbreviation with prefix, then by the bare one in the group of
    /// `inSnippet`, then by the bare one anywhere. `inSnippet` may be null.
    static std::shared_ptr<Snippet>
    findSnippetBySnippetAbbreviationVariable(const SnippetAbbreviationVariable& variable,
                                             const Snippet* inSnippet,
                                             const SnippetGroupArray& groups);
    /// Removes from `variables`, which are in reading order, the variable and those inside it.
    static std::shared_ptr<DRScript> newScriptWithAbbreviationVariable(
        const std::shared_ptr<SnippetAbbreviationVariable>& variable, StringView snippetContent,
        std::vector<std::shared_ptr<SnippetAbbreviationVariable>>& variables);
    /// Find and replace. The content comes back unchanged where the pattern is none, or takes too
    /// long.
    static Content processClipboardVariable(const SnippetClipboardVariable& variable,
                                            Content clipboardContent);

  private:
    SnippetEnvironment environment_;
};

} // namespace dresk
