#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Foundation/String.h"

struct URegularExpression;

namespace dresk {

/// A compiled pattern in ICU's dialect. Time and memory of a search are limited, so that a pattern
/// that would take for ever fails instead; a pattern with a back reference searches 4,096 units at
/// most. One thread at a time.
class RegularExpression {
  public:
    /// The match, then its groups; a group that took no part is at NotFound.
    using Groups = std::vector<Range>;

    /// Null for a pattern that cannot be compiled.
    static std::optional<RegularExpression> compile(StringView pattern, bool caseInsensitive);

    /// Every match, left to right, until `handler` answers false. False if it did, or if a limit
    /// was reached before the end.
    bool enumerateMatches(StringView text, const std::function<bool(const Groups&)>& handler) const;

    /// A replacement with its references: "$" and digits stand for a group of `groups`, read from
    /// `source`, a backslash takes the next character as it is. A group that does not exist, or
    /// that `source` does not reach, is empty.
    static String replacementString(StringView replacementTemplate, const Groups& groups,
                                    StringView source);

  private:
    RegularExpression(std::shared_ptr<URegularExpression> expression, bool hasBackReference)
        : expression_(std::move(expression)), hasBackReference_(hasBackReference) {}

    std::shared_ptr<URegularExpression> expression_;
    bool hasBackReference_;
};

} // namespace dresk
