#include "engine/AutoText.h"

namespace dresk {

void AutoText::showSnippetSuggestion() {
    if (suggestions_.empty())
        return;
    snippetSuggestionController_->reloadData();
    snippetSuggestionController_->showWindowAtCaret();
}

void AutoText::hideSnippetSuggestion() {
    snippetSuggestionController_->close();
    suggestions_.clear();
}

// The rows name what stood in the text when they were found; once the letters have changed they
// would erase too much.
void AutoText::refreshSnippetSuggestionController() {
    if (snippetSuggestionWindowVisible())
        hideSnippetSuggestion();
}

void AutoText::acceptSuggestion() {
    sendSuggestionAtIndex(snippetSuggestionController_->selectedSuggestionIndex(),
                          SnippetTrigger::Accepted);
}

void AutoText::snippetSuggestionSuggestionSelected() {
    sendSuggestionAtIndex(snippetSuggestionController_->selectedSuggestionIndex(),
                          SnippetTrigger::Selected);
}

void AutoText::sendSuggestionAtIndex(std::size_t index, std::int32_t snippetTrigger) {
    const auto choice = suggestions_.take(index);
    hideSnippetSuggestion();
    if (!choice.has_value())
        return;
    if (choice->selectingSnippet)
        snippetTrigger |= SnippetTrigger::AmbiguousListFlag;
    sendSnippet(choice->row.first(), choice->row.second(), snippetTrigger);
}

} // namespace dresk
