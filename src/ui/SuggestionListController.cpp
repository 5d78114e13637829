#include "ui/SuggestionListController.h"

namespace dresk {

SuggestionListController::SuggestionListController(Desktop& desktop, RunLoop& mainRunLoop,
                                                   const PreferenceStore& preferences,
                                                   const SnippetGroupList& groups,
                                                   MakeListPanelView makeView)
    : groups_(groups), makeView_(std::move(makeView)),
      panel_(desktop, mainRunLoop, preferences, *this, {}) {}

SuggestionListController::~SuggestionListController() {
    panel_.close();
}

void SuggestionListController::setSuggestions(const SuggestionRows& rows,
                                              std::function<void()> suggestionSelectedAction) {
    rows_ = &rows;
    suggestionSelectedAction_ = std::move(suggestionSelectedAction);
}

void SuggestionListController::reloadData() {
    shownRows_ = rows_->rows();
    panel_.reloadData();
}

void SuggestionListController::showWindowAtCaret() {
    if (view_ == nullptr) {
        view_ = makeView_(*this, *this);
        panel_.setView(*view_);
    }
    reloadData();
    if (shownRows_.empty())
        return;
    panel_.showWindowAtCaret();
    // The user may have typed on while the application was asked for its caret.
    if (rows_->empty())
        panel_.close();
}

std::size_t SuggestionListController::selectedSuggestionIndex() const {
    return panel_.selectedRow().value_or(NotFound);
}

SnippetCellContent SuggestionListController::rowContent(std::size_t row) const {
    if (row >= shownRows_.size())
        return {};
    const std::shared_lock lock(groups_.lock);
    return cellContentOfSnippet(*shownRows_[row].first(), snippetFormatter_,
                                shownRows_[row].second());
}

void SuggestionListController::tableViewRowClickedAction() {
    if (panel_.selectedRow().has_value() && panel_.close())
        suggestionSelectedAction_();
}

} // namespace dresk
