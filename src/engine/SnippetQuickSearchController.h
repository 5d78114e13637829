#pragma once

#include <functional>

#include "engine/SnippetSuggestionController.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// The panel in which the user finds a snippet by its texts. Whoever has windows implements it and
/// gives it to the engine. Main thread, save where another is named.
class SnippetQuickSearchController {
  public:
    virtual ~SnippetQuickSearchController() = default;

    /// Any thread.
    virtual bool isVisible() const = 0;
    /// Any thread.
    virtual Rect windowFrame() const = 0;
    /// The snippet in a row, null outside the list. Any thread.
    virtual std::shared_ptr<Snippet> snippetAtIndex(std::size_t index) const = 0;
    /// Counts as closed at once; the window may follow later. Any thread.
    virtual void close() = 0;
    /// Which modifier the row numbers show.
    virtual void setSnippetSelectorKeyModifier(std::uint64_t modifier) = 0;

    /// What to search in, and what to call when the user has chosen a row: the panel has closed by
    /// then, and selectedSnippet is the one. Once, before the panel is shown; the groups outlive
    /// its use.
    virtual void setSnippetGroups(const SnippetGroupList& groups,
                                  std::function<void()> snippetSelectedAction) = 0;
    virtual std::shared_ptr<Snippet> selectedSnippet() const = 0;
    /// Both give the field of the panel the focus.
    virtual void showWindowAtCaret() = 0;
    virtual void showWindowAtTopRightCorner() = 0;
    /// The preference "FontSizeDelta" has changed.
    virtual void notifyFontSizeDeltaChanged() = 0;
};

} // namespace dresk
