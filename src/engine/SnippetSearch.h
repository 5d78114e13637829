#pragma once

#include <unordered_map>

#include "store/SnippetGroup.h"

namespace dresk {

/// The texts of a snippet that a search looks at, as bits; also the values of the preferences
/// "SnippetQuickSearchSearchBy" and "MainWindowSearchBy".
namespace SearchBy {
/// The abbreviation and the aliases, each with the group's prefix in front.
inline constexpr std::uint64_t Abbreviation = 1;
inline constexpr std::uint64_t Content = 2;
inline constexpr std::uint64_t Label = 4;
} // namespace SearchBy

/// Finds snippets by any of their texts, in the order of their groups. Linear in the length of the
/// texts, whatever the filter. Called under the shared data lock.
class SnippetSearch {
  public:
    using Matches =
        std::unordered_map<std::shared_ptr<SnippetGroup>, std::vector<std::shared_ptr<Snippet>>>;

    SnippetSearch() = delete;

    /// The snippets of each group that match, ignoring case; `orderedGroups` receives the groups
    /// that have any, in group order. Null without a filter, and `orderedGroups` stays as it is.
    ///
    /// A filter with wildcards, "*" for any text and "?" for one character, must fit a whole text,
    /// if `isWildcard` and it has other characters as well; any other filter is looked for anywhere
    /// in the text. `searchBy` is a set of SearchBy; `respectSuggestAbbreviations` leaves groups
    /// out that are not to be suggested.
    static std::optional<Matches> filter(StringView filter, const SnippetGroupArray& groups,
                                         bool isWildcard, std::uint64_t searchBy,
                                         SnippetGroupArray& orderedGroups,
                                         bool respectSuggestAbbreviations);
};

} // namespace dresk
