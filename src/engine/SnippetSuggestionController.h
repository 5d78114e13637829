#pragma once

#include <functional>

#include "Foundation/Geometry.h"
#include "engine/SuggestionRows.h"

namespace dresk {

/// The floating list from which the user chooses a snippet. Whoever has windows implements it and
/// gives it to the engine; it must never take the keyboard focus from the target application. Main
/// thread, save where another is named.
class SnippetSuggestionController {
  public:
    virtual ~SnippetSuggestionController() = default;

    /// The rows to show, live, and what to call after a click on one. Once, before anything else;
    /// the rows outlive the controller's use.
    virtual void setSuggestions(const SuggestionRows& rows,
                                std::function<void()> suggestionSelectedAction) = 0;
    /// Which modifier the row numbers show: 0 none, 1 Shift, 2 Control, 3 Option, 4 Command.
    virtual void setSnippetSelectorKeyModifier(std::uint64_t modifier) = 0;

    /// Shows the list near the caret with row 0 selected.
    virtual void showWindowAtCaret() = 0;
    /// The list counts as closed at once; its window may follow later. Any thread.
    virtual void close() = 0;
    /// Any thread.
    virtual bool isVisible() const = 0;
    /// Origin at the top left of the first screen; zero while there is no window. Any thread.
    virtual Rect windowFrame() const = 0;

    /// The preference "FontSizeDelta" has changed.
    virtual void notifyFontSizeDeltaChanged() = 0;
    /// Reads the rows again and selects row 0.
    virtual void reloadData() = 0;
    /// Fits the window to the number of rows.
    virtual void refreshHeight() = 0;
    /// Move the selection by one and stop at the ends.
    virtual void nextSuggestion() = 0;
    virtual void previousSuggestion() = 0;
    virtual std::size_t selectedSuggestionIndex() const = 0;
};

} // namespace dresk
