#pragma once

#include "engine/SnippetSuggestionController.h"
#include "store/SnippetGroup.h"
#include "ui/ListPanel.h"

namespace dresk {

/// The suggestion list: shows the engine's rows near the caret and leaves the keyboard to the
/// application. The window is made when it is first shown.
class SuggestionListController final : public SnippetSuggestionController,
                                       private ListPanelRows,
                                       private ListPanelEvents {
  public:
    /// All of it outlives the controller; `groups` for their lock.
    SuggestionListController(Desktop& desktop, RunLoop& mainRunLoop,
                             const PreferenceStore& preferences, const SnippetGroupList& groups,
                             MakeListPanelView makeView);
    ~SuggestionListController() override;

    void setSuggestions(const SuggestionRows& rows,
                        std::function<void()> suggestionSelectedAction) override;
    void setSnippetSelectorKeyModifier(std::uint64_t modifier) override {
        panel_.setSnippetSelectorKeyModifier(modifier);
    }
    void showWindowAtCaret() override;
    void close() override { panel_.close(); }
    bool isVisible() const override { return panel_.isVisible(); }
    Rect windowFrame() const override { return panel_.windowFrame(); }
    void notifyFontSizeDeltaChanged() override { panel_.notifyFontSizeDeltaChanged(); }
    void reloadData() override;
    void refreshHeight() override { panel_.refreshHeight(); }
    void nextSuggestion() override { panel_.nextRow(); }
    void previousSuggestion() override { panel_.previousRow(); }
    /// NotFound when no row is selected.
    std::size_t selectedSuggestionIndex() const override;
    /// The row under the pointer; null for none.
    std::optional<std::size_t> indexAtMouseLocation() const { return panel_.rowAtMouseLocation(); }

  private:
    // ListPanelRows
    std::size_t rowCount() const override { return shownRows_.size(); }
    String rowNumber(std::size_t row) const override { return panel_.rowNumber(row); }
    SnippetCellContent rowContent(std::size_t row) const override;
    // ListPanelEvents
    void pointerMovedOverRow(std::size_t row) override { panel_.selectRow(row); }
    void tableViewRowClickedAction() override;

    const SnippetGroupList& groups_;
    const MakeListPanelView makeView_;
    std::unique_ptr<ListPanelView> view_;
    ListPanel panel_;
    const SnippetFormatter snippetFormatter_;
    const SuggestionRows* rows_ = nullptr;
    /// What the window shows; the engine's rows can go while it is still open.
    SnippetMatches shownRows_;
    std::function<void()> suggestionSelectedAction_;
};

} // namespace dresk
