#include "ui/QuickSearchPanelController.h"

#include "Foundation/KeyCode.h"
#include "Foundation/PreferenceKeys.h"
#include "engine/SnippetSearch.h"

namespace dresk {

namespace {

/// Points that the field takes above the rows.
constexpr double FieldHeight = 24;

} // namespace

QuickSearchPanelController::QuickSearchPanelController(Desktop& desktop, RunLoop& mainRunLoop,
                                                       PreferenceStore& preferences,
                                                       MakeQuickSearchPanelView makeView)
    : preferences_(preferences), makeView_(std::move(makeView)),
      panel_(desktop, mainRunLoop, preferences, *this, {FieldHeight, true}) {}

QuickSearchPanelController::~QuickSearchPanelController() {
    panel_.close();
}

void QuickSearchPanelController::setSnippetGroups(const SnippetGroupList& groups,
                                                  std::function<void()> snippetSelectedAction) {
    snippetGroups_ = &groups;
    snippetSelectedAction_ = std::move(snippetSelectedAction);
}

void QuickSearchPanelController::prepareToShow() {
    if (view_ == nullptr) {
        view_ = makeView_(*this, *this);
        panel_.setView(*view_);
    }
    view_->setFilter(filter_.value_or(String()));
    showSearchMenu();
    // Snippets may have come and gone since the last search.
    refreshSnippets();
}

void QuickSearchPanelController::showWindowAtCaret() {
    prepareToShow();
    panel_.showWindowAtCaret();
    view_->focusTextField();
}

void QuickSearchPanelController::showWindowAtTopRightCorner() {
    prepareToShow();
    panel_.showWindowAtTopRightCorner();
    view_->focusTextField();
}

void QuickSearchPanelController::setFilter(String filter) {
    filter_ = filter.empty() ? std::nullopt : std::optional(std::move(filter));
    onFilterChanged();
}

void QuickSearchPanelController::onFilterChanged() {
    if (filter_ != currentFilter_)
        refreshSnippets();
}

void QuickSearchPanelController::clearFilter() {
    if (!filter_.has_value())
        return;
    filter_.reset();
    if (view_ != nullptr)
        view_->setFilter({});
    onFilterChanged();
}

void QuickSearchPanelController::refreshSnippets() {
    SnippetGroup::Items found = search();
    currentFilter_ = filter_;
    {
        const std::lock_guard lock(snippetsMutex_);
        snippets_.swap(found);
    }
    snippetFormatter_.setFilter(filter_);
    if (view_ == nullptr)
        return;
    view_->setTableViewParentHidden(rowCount() == 0);
    panel_.reloadData();
    panel_.refreshHeight();
}

SnippetGroup::Items QuickSearchPanelController::search() const {
    SnippetGroup::Items snippets;
    if (snippetGroups_ == nullptr || !filter_.has_value())
        return snippets;
    const std::shared_lock lock(snippetGroups_->lock);
    SnippetGroupArray orderedGroups;
    const auto found = SnippetSearch::filter(*filter_, snippetGroups_->groups, isWildcardSearch(),
                                             searchBy(), orderedGroups, true);
    for (const auto& group : orderedGroups) {
        const SnippetGroup::Items& items = found->at(group);
        snippets.insert(snippets.end(), items.begin(), items.end());
    }
    return snippets;
}

bool QuickSearchPanelController::isWildcardSearch() const {
    return preferences_.integerForKey(PreferenceKey::SnippetQuickSearchWildcardSearch) == 1;
}

std::uint64_t QuickSearchPanelController::searchBy() const {
    return static_cast<std::uint64_t>(
        preferences_.integerForKey(PreferenceKey::SnippetQuickSearchSearchBy));
}

void QuickSearchPanelController::showSearchMenu() {
    view_->setSearchMenu(searchBy(), isWildcardSearch());
}

// The rows stay as they are until the filter changes.
void QuickSearchPanelController::onSearchByChanged(unsigned bit) {
    preferences_.setInteger(static_cast<std::int64_t>(searchBy() ^ (std::uint64_t{1} << bit)),
                            PreferenceKey::SnippetQuickSearchSearchBy);
    showSearchMenu();
    onFilterChanged();
}

void QuickSearchPanelController::flipWildcardSearchOption() {
    preferences_.setInteger(isWildcardSearch() ? 0 : 1,
                            PreferenceKey::SnippetQuickSearchWildcardSearch);
    showSearchMenu();
    refreshSnippets();
}

void QuickSearchPanelController::keyUp(std::uint16_t key) {
    switch (key) {
    case KeyCode::DownArrow:
        panel_.nextRow();
        break;
    case KeyCode::UpArrow:
        panel_.previousRow();
        break;
    case KeyCode::Return:
    case KeyCode::Enter:
        chooseSelectedRow();
        break;
    case KeyCode::Escape:
        panel_.close();
        break;
    default:
        break;
    }
}

// A digit on the tap thread may have chosen already; then the panel is closed.
void QuickSearchPanelController::chooseSelectedRow() {
    if (panel_.selectedRow().has_value() && panel_.close())
        snippetSelectedAction_();
}

std::size_t QuickSearchPanelController::rowCount() const {
    const std::lock_guard lock(snippetsMutex_);
    return snippets_.size();
}

SnippetCellContent QuickSearchPanelController::rowContent(std::size_t row) const {
    const auto snippet = snippetAtIndex(row);
    if (snippet == nullptr)
        return {};
    const std::shared_lock lock(snippetGroups_->lock);
    return cellContentOfSnippet(*snippet, snippetFormatter_, currentFilter_);
}

std::shared_ptr<Snippet> QuickSearchPanelController::snippetAtIndex(std::size_t index) const {
    const std::lock_guard lock(snippetsMutex_);
    return index < snippets_.size() ? snippets_[index] : nullptr;
}

std::shared_ptr<Snippet> QuickSearchPanelController::selectedSnippet() const {
    return snippetAtIndex(panel_.selectedRow().value_or(NotFound));
}

std::shared_ptr<Snippet> QuickSearchPanelController::snippetAtMouseLocation() const {
    return snippetAtIndex(panel_.rowAtMouseLocation().value_or(NotFound));
}

} // namespace dresk
