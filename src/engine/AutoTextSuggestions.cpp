#include "engine/AutoText.h"
#include "engine/SuggestionSearch.h"

namespace dresk {

void AutoText::suggestAbbreviations() {
    const String searched = letters();
    refreshSuggestions();
    showSnippetSuggestion();
    // A key that came before the list was visible has asked for no refresh.
    if (letters() != searched)
        refreshSnippetSuggestionController();
}

// Input sources have no say here. That is meant.
SnippetGroupArray
AutoText::filteredGroupsByApplication(const std::optional<String>& identifier) const {
    SnippetGroupArray result;
    for (const auto& group : groups())
        if (group->suggestAbbreviations() && group->availability().allowsApplication(identifier))
            result.push_back(group);
    return result;
}

// False when the list has changed meanwhile: then the rows found are out of date.
bool AutoText::refreshSuggestions() {
    const std::uint64_t revision = suggestions_.revision();
    const String searched = letters();
    SnippetMatches rows;
    if (!searched.empty()) {
        const auto identifier = bundleIdentifierResolver_.getBundleIdentifier(
            macInputService_.lastProcessReceivedKeyEvent());
        const auto groupsLock = lockGroups();
        rows = SuggestionSearch(searched).find(filteredGroupsByApplication(identifier));
    }
    return suggestions_.refresh(std::move(rows), revision);
}

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

// A list of an ambiguous match becomes one of suggestions, but its rows still count as of the
// former. That is meant.
void AutoText::refreshSnippetSuggestionController() {
    if (!snippetSuggestionWindowVisible() || !refreshSuggestions())
        return;
    if (suggestions_.empty()) {
        hideSnippetSuggestion();
        return;
    }
    snippetSuggestionController_->reloadData();
    snippetSuggestionController_->refreshHeight();
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
    auto choice = suggestions_.take(index);
    hideSnippetSuggestion();
    if (!choice.has_value())
        return;
    if (choice->selectingSnippet)
        snippetTrigger |= SnippetTrigger::AmbiguousListFlag;
    performAtTarget(macInputService_.contextBundleIdentifier(), "sendSuggestion",
                    [this, row = std::move(choice->row), snippetTrigger] {
                        sendSnippet(row.first(), row.second(), snippetTrigger);
                    });
}

bool AutoText::initSnippetQuickSearchController() {
    if (snippetQuickSearchController_ == nullptr || snippetGroups_ == nullptr)
        return false;
    if (!isQuickSearchInitialized_)
        snippetQuickSearchController_->setSnippetGroups(
            *snippetGroups_, [this] { snippetQuickSearchSnippetSelectedAction(); });
    isQuickSearchInitialized_ = true;
    return true;
}

void AutoText::quickSearch() {
    if (!snippetQuickSearchWindowVisible() && initSnippetQuickSearchController())
        snippetQuickSearchController_->showWindowAtCaret();
}

void AutoText::quickSearchAtTopRightCorner() {
    if (initSnippetQuickSearchController())
        snippetQuickSearchController_->showWindowAtTopRightCorner();
}

void AutoText::snippetQuickSearchSnippetSelectedAction() {
    const auto snippet = snippetQuickSearchController_->selectedSnippet();
    if (snippet == nullptr)
        return;
    performAtTarget(bundleIdentifierResolver_.getBundleIdentifier(
                        macInputService_.lastProcessReceivedKeyEvent()),
                    "sendSuggestion", [this, snippet] { sendSnippetDirectly(snippet); });
}

void AutoText::notifyFontSizeDeltaChanged() {
    snippetSuggestionController_->notifyFontSizeDeltaChanged();
    if (snippetQuickSearchController_ != nullptr)
        snippetQuickSearchController_->notifyFontSizeDeltaChanged();
}

} // namespace dresk
