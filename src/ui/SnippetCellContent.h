#pragma once

#include "language/SnippetFormatter.h"

namespace dresk {

/// What a SnippetCell shows of a snippet or a group: texts only, so that drawing needs no lock.
struct SnippetCellContent {
    /// Label or content in one line, or the name of the group.
    String title;
    /// The part of the title that is marked as a hit; length 0 for none.
    Range titleMatch;
    /// The prefix of the snippet's group and the abbreviation, shown one behind the other; empty
    /// for a group and for a snippet without abbreviation.
    String abbreviationPrefix;
    String abbreviation;
    /// The part of prefix and abbreviation together that is underlined; length 0 for none.
    Range abbreviationMatch;
    /// Another snippet has the same abbreviation.
    bool duplicatedAbbreviation = false;
    bool isGroup = false;
    bool isDisabled = false;
};

/// `formatter` gives the title and marks its own filter there; `filter` is what is underlined in
/// the abbreviation, null or empty for nothing. Titles are cut to what a row can show. Under the
/// shared data lock.
SnippetCellContent cellContentOfSnippet(const Snippet& snippet, const SnippetFormatter& formatter,
                                        const std::optional<String>& filter);
SnippetCellContent cellContentOfGroup(const SnippetGroup& group, const SnippetFormatter& formatter);

} // namespace dresk
