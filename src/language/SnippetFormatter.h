#pragma once

#include "Foundation/TextAttributes.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// How groups and snippets show in lists; tokens show in their raw form. It only shows: nothing is
/// read back. Belongs to one list; called under the shared data lock.
class SnippetFormatter {
  public:
    /// The present search text; null or empty for none.
    const std::optional<String>& filter() const { return filter_; }
    void setFilter(std::optional<String> filter) { filter_ = std::move(filter); }
    const TextColor& filteredTextColor() const { return filteredTextColor_; }

    String stringForObjectValue(const SnippetGroup& group) const;
    /// The label, or else the content in one line.
    String stringForObjectValue(const Snippet& snippet) const;
    /// The content in one line with the first hit of the filter marked, also where the snippet has
    /// a label; null where nothing is to be marked.
    std::optional<AttributedString>
    attributedStringForObjectValue(const Snippet& snippet,
                                   const AttributedString::Attributes& defaultAttributes) const;

  private:
    std::optional<String> filter_;
    TextColor filteredTextColor_{0.01, 0.01, 0.01, 1};
};

} // namespace dresk
