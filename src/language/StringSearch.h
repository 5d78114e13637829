#pragma once

#include <vector>

#include "Foundation/Unicode.h"

namespace dresk {

/// Searches one text for another in time linear in both, whatever they hold. Without case it
/// compares by simple case folding. Not for sharing: a search keeps its place.
class StringSearch {
  public:
    /// Both outlive the search. An empty needle occurs nowhere.
    StringSearch(StringView text, StringView needle, CompareOptions options);

    /// The next occurrence behind the last one; a range at NotFound at the end.
    Range next();

  private:
    char16_t unitAt(StringView text, std::size_t index) const;

    StringView text_;
    String needle_;
    bool folds_;
    /// For each prefix of the needle, the length of the longest part that it begins and ends with.
    std::vector<std::size_t> borders_;
    std::size_t position_ = 0;
};

} // namespace dresk
