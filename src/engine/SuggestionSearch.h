#pragma once

#include "engine/SuggestionRows.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// Finds the abbreviations that the letters may be the beginning of. Works on the groups that it is
/// given, under the shared data lock.
class SuggestionSearch {
  public:
    /// `letters` outlives the search.
    explicit SuggestionSearch(StringView letters) : letters_(letters) {}

    /// Rows for the list: those of groups with a prefix as they are found, then the others, where
    /// more of the abbreviation was typed first. Of each row the second is what was typed.
    SnippetMatches find(const SnippetGroupArray& groups);

  private:
    void searchGroupWithPrefix(const SnippetGroup& group);
    void searchGroup(const SnippetGroup& group);
    std::size_t typedLength(const SnippetGroup& group, const Snippet& snippet) const;
    bool mayStandBehind(const SnippetGroup& group, std::size_t index) const;

    StringView letters_;
    SnippetMatches rows_;
    SnippetMatches sortedRows_;
};

} // namespace dresk
