#include "engine/HeadlessSuggestionController.h"

namespace dresk {

void HeadlessSuggestionController::setSuggestions(
    const SuggestionRows& rows, std::function<void()> /*suggestionSelectedAction*/) {
    rows_ = &rows;
}

void HeadlessSuggestionController::showWindowAtCaret() {
    selected_ = 0;
    visible_ = true;
}

void HeadlessSuggestionController::nextSuggestion() {
    if (selected_ + 1 < rows_->count())
        ++selected_;
}

void HeadlessSuggestionController::previousSuggestion() {
    if (selected_ > 0)
        --selected_;
}

} // namespace dresk
