#pragma once

#include <mutex>

#include "Foundation/PreferenceStore.h"
#include "input/AXUtils.h"
#include "ui/ListPanelView.h"
#include "ui/ScreenSpace.h"

namespace dresk {

/// What suggestion list and quick search share: where the window stands, how tall it is, which row
/// is selected, and who has the keyboard before and after. Main thread, save where another is
/// named.
class ListPanel {
  public:
    static constexpr std::size_t MaxRows = 10;

    struct Options {
        /// Points above the rows.
        double headerHeight = 0;
        /// The window gets the keyboard while it is open.
        bool becomesKey = false;
    };
    /// Everything outlives the panel.
    ListPanel(Desktop& desktop, RunLoop& mainRunLoop, const PreferenceStore& preferences,
              const ListPanelRows& rows, Options options);
    ListPanel(const ListPanel&) = delete;
    ListPanel& operator=(const ListPanel&) = delete;
    ~ListPanel();

    /// Once, before anything is shown.
    void setView(ListPanelView& view);
    ListPanelView* view() const { return view_; }

    void setSnippetSelectorKeyModifier(std::uint64_t modifier);
    /// The row's digit behind the modifier's sign; empty from the eleventh row on.
    String rowNumber(std::size_t row) const;
    void notifyFontSizeDeltaChanged();

    void showWindowAtCaret();
    void showWindowAtTopRightCorner();
    void refreshHeight();
    /// Any thread: counts as closed at once and gives the keyboard back before it returns; the
    /// window follows on the main thread. False when it was not open.
    bool close();
    /// Any thread.
    bool isVisible() const { return visible_; }
    /// In the desktop's measure; zero while the window was never shown. Any thread.
    Rect windowFrame() const;
    /// The window can be seen: the moment to give it the keyboard. False when the desktop refuses,
    /// and when the panel has been closed meanwhile.
    bool takeKeyboard(std::uint64_t window);

    /// Shows the rows anew and selects the first.
    void reloadData();
    void nextRow();
    void previousRow();
    void selectRow(std::optional<std::size_t> row);
    /// Null when there is none.
    std::optional<std::size_t> selectedRow() const;
    std::optional<std::size_t> rowAtMouseLocation() const;

  private:
    enum class PositionMode { BelowCaret, AboveCaret, CentredInElement, CentredOnScreen };
    struct Place {
        PositionMode mode = PositionMode::BelowCaret;
        Rect frame;
    };

    void rememberFrontProcess();
    void measureScreens(const Rect& near);
    Size windowSize() const;
    Place placeAtCaret(const Rect& caret) const;
    Place placeInBound(Rect element) const;
    Rect aboveCaret(const Rect& caret, Size size) const;
    void show(const Place& place);
    void setFrame(Rect frame);
    void closeWindow();
    void giveFocusBack();

    Desktop& desktop_;
    AXUtils axUtils_;
    RunLoop& mainRunLoop_;
    const PreferenceStore& preferences_;
    const ListPanelRows& rows_;
    const Options options_;
    ListPanelView* view_ = nullptr;

    String hotkeyFormat_;
    double orderColumnWidth_ = 0;
    /// Row height of the window as it was made, in points; 0 before there is one.
    double defaultRowHeight_ = 0;
    std::optional<std::size_t> selectedRow_;

    // Where the window stands, from the lower left.
    ScreenSpace screens_{{}};
    Rect screen_;
    double unitsPerPoint_ = 1;
    PositionMode initialPositionMode_ = PositionMode::BelowCaret;
    Rect frame_;

    /// Opening, closing and the keyboard go together.
    std::mutex mutex_;
    std::atomic<bool> visible_{false};
    /// In front when the window was shown.
    ProcessSerialNumber frontProcess_;

    mutable std::mutex frameMutex_;
    Rect windowFrame_;
};

} // namespace dresk
