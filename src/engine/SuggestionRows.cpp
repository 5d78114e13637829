#include "engine/SuggestionRows.h"

namespace dresk {

void SuggestionRows::assign(SnippetMatches rows, bool selectingSnippet) {
    const std::lock_guard lock(mutex_);
    rows_ = std::move(rows);
    count_ = rows_.size();
    selectingSnippet_ = selectingSnippet;
}

void SuggestionRows::clear() {
    if (empty() && !selectingSnippet())
        return;
    assign({}, false);
}

std::optional<SuggestionRows::Choice> SuggestionRows::take(std::size_t index) {
    const std::lock_guard lock(mutex_);
    if (index >= rows_.size())
        return std::nullopt;
    Choice choice{std::move(rows_[index]), selectingSnippet_};
    rows_.clear();
    count_ = 0;
    selectingSnippet_ = false;
    return choice;
}

SnippetMatches SuggestionRows::rows() const {
    const std::lock_guard lock(mutex_);
    return rows_;
}

} // namespace dresk
