#pragma once

#include "engine/SuggestionRows.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// The rules of matching written down plainly: every snippet of every group is looked at, each
/// text by its hash first. The engine must find exactly the same in the same order.
class LinearMatcher {
  public:
    std::optional<String> bundleIdentifier;
    std::optional<String> inputSource;

    SnippetMatches find(const SnippetGroupArray& groups, StringView letters, char16_t trigger,
                        StringView lettersWithoutSeparator) const;

  private:
    void checkGroup(const SnippetGroup& group, StringView letters, Range prefixRange,
                    bool checkExpandAfter, SnippetMatches& pairs) const;
    std::optional<String> check(StringView abbreviation, std::uint64_t hash,
                                const SnippetGroup& group, StringView letters, bool caseSensitive,
                                bool checkExpandAfter) const;
    bool mayStandAt(const SnippetGroup& group, StringView letters, std::int64_t index) const;

    CharacterSet defaults_{DefaultDelimiters};
};

} // namespace dresk
