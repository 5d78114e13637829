#pragma once

#include "engine/SnippetSuggestionController.h"

namespace dresk {

/// The quick search panel as the router of keys sees it.
class SnippetQuickSearchController {
  public:
    virtual ~SnippetQuickSearchController() = default;

    /// Any thread.
    virtual bool isVisible() const = 0;
    /// Any thread.
    virtual ScreenRect windowFrame() const = 0;
    /// The snippet in a row, null outside the list. Any thread.
    virtual std::shared_ptr<Snippet> snippetAtIndex(std::size_t index) const = 0;
    /// Counts as closed at once; the window may follow later. Any thread.
    virtual void close() = 0;
    /// Which modifier the row numbers show. Main thread.
    virtual void setSnippetSelectorKeyModifier(std::uint64_t modifier) = 0;
};

} // namespace dresk
