#pragma once

#include "engine/SnippetQuickSearchController.h"
#include "ui/ListPanel.h"

namespace dresk {

/// The quick search: a field, and below it the snippets that its text finds. The window is made
/// when it is first shown, and the filter survives its closing.
class QuickSearchPanelController final : public SnippetQuickSearchController,
                                         private ListPanelRows,
                                         private QuickSearchPanelEvents {
  public:
    /// All of it outlives the controller.
    QuickSearchPanelController(Desktop& desktop, RunLoop& mainRunLoop, PreferenceStore& preferences,
                               MakeQuickSearchPanelView makeView);
    ~QuickSearchPanelController() override;

    bool isVisible() const override { return panel_.isVisible(); }
    Rect windowFrame() const override { return panel_.windowFrame(); }
    std::shared_ptr<Snippet> snippetAtIndex(std::size_t index) const override;
    void close() override { panel_.close(); }
    void setSnippetSelectorKeyModifier(std::uint64_t modifier) override {
        panel_.setSnippetSelectorKeyModifier(modifier);
    }
    void setSnippetGroups(const SnippetGroupList& groups,
                          std::function<void()> snippetSelectedAction) override;
    std::shared_ptr<Snippet> selectedSnippet() const override;
    void showWindowAtCaret() override;
    void showWindowAtTopRightCorner() override;
    void notifyFontSizeDeltaChanged() override { panel_.notifyFontSizeDeltaChanged(); }

    /// The text of the field; null when it is empty.
    const std::optional<String>& filter() const { return filter_; }
    /// Null for none, as `filter`. Searches only if it differs from the last search's.
    void onFilterChanged();
    void clearFilter();
    /// The snippet under the pointer, or null.
    std::shared_ptr<Snippet> snippetAtMouseLocation() const;

  private:
    // ListPanelRows
    std::size_t rowCount() const override;
    String rowNumber(std::size_t row) const override { return panel_.rowNumber(row); }
    SnippetCellContent rowContent(std::size_t row) const override;
    // QuickSearchPanelEvents
    void pointerMovedOverRow(std::size_t row) override { panel_.selectRow(row); }
    void tableViewRowClickedAction() override { chooseSelectedRow(); }
    void setFilter(String filter) override;
    void keyUp(std::uint16_t key) override;
    void onSearchByChanged(unsigned bit) override;
    void flipWildcardSearchOption() override;
    bool windowDidAppear(std::uint64_t window) override { return panel_.takeKeyboard(window); }
    void windowDidResignKey() override { panel_.close(); }

    void prepareToShow();
    void refreshSnippets();
    SnippetGroup::Items search() const;
    bool isWildcardSearch() const;
    std::uint64_t searchBy() const;
    void showSearchMenu();
    void chooseSelectedRow();

    PreferenceStore& preferences_;
    const MakeQuickSearchPanelView makeView_;
    std::unique_ptr<QuickSearchPanelView> view_;
    ListPanel panel_;
    const SnippetGroupList* snippetGroups_ = nullptr;
    std::function<void()> snippetSelectedAction_;
    SnippetFormatter snippetFormatter_;
    std::optional<String> filter_;
    /// The filter of the last search.
    std::optional<String> currentFilter_;
    /// Guards the snippets, which the tap thread reads.
    mutable std::mutex snippetsMutex_;
    SnippetGroup::Items snippets_;
};

} // namespace dresk
