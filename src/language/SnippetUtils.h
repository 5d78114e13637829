#pragma once

#include "language/SnippetExpandedContent.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// What the letters of a typed abbreviation say about the case of the content.
namespace TextCase {
inline constexpr std::int32_t Mixed = 0;
inline constexpr std::int32_t Capitalized = 1;
inline constexpr std::int32_t Uppercase = 2;
inline constexpr std::int32_t Lowercase = 3;
inline constexpr std::int32_t CapitalizedWords = 4;
} // namespace TextCase

/// Lookups take time linear in the number of snippets and are called under the shared data lock;
/// the rest may run on any thread.
class SnippetUtils {
  public:
    SnippetUtils() = delete;

    /// One of `TextCase`. Bit 0 of `flags`: mixed case that begins with a small letter capitalises
    /// each word, wherever its capitals stand.
    static std::int32_t caseOf(StringView text, std::uint64_t flags);
    /// Adapts the content to the case of the abbreviation as it was typed. Locations of variables
    /// stay, also where upper case is longer.
    static void correctSnippetContentCase(SnippetExpandedContent& content, StringView abbreviation,
                                          std::uint64_t flags);

    /// The first snippet with exactly that abbreviation, or null; with `checkPrefix` a group's
    /// prefix is part of it. `parentGroup`, if given, receives the group that holds the snippet.
    static std::shared_ptr<Snippet>
    findSnippetByAbbreviation(StringView abbreviation, const SnippetGroupArray& groups,
                              bool checkPrefix = false,
                              std::shared_ptr<SnippetGroup>* parentGroup = nullptr);
    /// Null for a text that is no identity.
    static std::shared_ptr<Snippet>
    findSnippetByUUID(StringView uuid, const SnippetGroupArray& groups,
                      std::shared_ptr<SnippetGroup>* parentGroup = nullptr);
};

/// Whether `character` may stand in front of an abbreviation of a group with that `expandAfter`.
bool checkExpandAfterMode(std::uint64_t mode, char16_t character);

} // namespace dresk
