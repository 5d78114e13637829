#include "engine/SuggestionRows.h"

namespace dresk {

void SuggestionRows::replace(SnippetMatches rows, bool selectingSnippet) {
    rows_ = std::move(rows);
    count_ = rows_.size();
    selectingSnippet_ = selectingSnippet;
    ++revision_;
}

void SuggestionRows::assign(SnippetMatches rows, bool selectingSnippet) {
    const std::lock_guard lock(mutex_);
    replace(std::move(rows), selectingSnippet);
}

bool SuggestionRows::refresh(SnippetMatches rows, std::uint64_t revision) {
    const std::lock_guard lock(mutex_);
    if (revision != revision_)
        return false;
    replace(std::move(rows), selectingSnippet_);
    return true;
}

void SuggestionRows::clear() {
    assign({}, false);
}

std::optional<SuggestionRows::Choice> SuggestionRows::take(std::size_t index) {
    const std::lock_guard lock(mutex_);
    if (index >= rows_.size())
        return std::nullopt;
    Choice choice{std::move(rows_[index]), selectingSnippet_};
    replace({}, false);
    return choice;
}

SnippetMatches SuggestionRows::rows() const {
    const std::lock_guard lock(mutex_);
    return rows_;
}

} // namespace dresk
