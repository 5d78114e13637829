#pragma once

#include <functional>
#include <memory>

#include "Foundation/Geometry.h"
#include "ui/SnippetCellContent.h"

namespace dresk {

/// The rows of a floating list. Main thread.
class ListPanelRows {
  public:
    virtual ~ListPanelRows() = default;
    virtual std::size_t rowCount() const = 0;
    /// What stands in the column of numbers; empty from the eleventh row on.
    virtual String rowNumber(std::size_t row) const = 0;
    /// An empty content for a row that has gone.
    virtual SnippetCellContent rowContent(std::size_t row) const = 0;
};

/// What a floating list tells its controller. Main thread.
class ListPanelEvents {
  public:
    virtual ~ListPanelEvents() = default;
    /// The pointer has moved onto the row.
    virtual void pointerMovedOverRow(std::size_t row) = 0;
    /// A mouse button was released over the list.
    virtual void tableViewRowClickedAction() = 0;
};

/// The window of a floating list: at most ten rows tall, it never takes the keyboard focus. Frames
/// are those of the desktop: its units, origin at its top left corner. Lengths named
/// as points are those of drawing, of which a dense screen has several units each. Main thread.
class ListPanelView {
  public:
    virtual ~ListPanelView() = default;

    virtual double unitsPerPoint(Point place) const = 0;
    /// Points.
    virtual double width() const = 0;
    virtual double rowHeight() const = 0;
    virtual void setRowHeight(double points) = 0;
    virtual void setCellFontSize(double points) = 0;
    virtual void setOrderColumnWidth(double points) = 0;

    /// The rows have changed.
    virtual void reloadData() = 0;
    /// Selects the row and scrolls it into view; null selects none.
    virtual void selectRow(std::optional<std::size_t> row) = 0;
    /// The row under a place on the desktop; null for none.
    virtual std::optional<std::size_t> rowAtPoint(Point place) const = 0;

    virtual void setFrame(Rect frame) = 0;
    /// Shows the window in front of all others without giving it the focus.
    virtual void orderFront() = 0;
    virtual void close() = 0;
};

/// What the quick search panel tells besides. Main thread.
class QuickSearchPanelEvents : public ListPanelEvents {
  public:
    /// The text of the field has changed.
    virtual void setFilter(String filter) = 0;
    /// A key that was pressed in the panel was released: KeyCode Up, Down, Return, Enter, Escape.
    virtual void keyUp(std::uint16_t key) = 0;
    /// The scope item of that bit was chosen: 0 abbreviation, 1 content, 2 label.
    virtual void onSearchByChanged(unsigned bit) = 0;
    virtual void flipWildcardSearchOption() = 0;
    /// The window can be seen now and could have the keyboard. `window` is the desktop's name of
    /// it. False when it was refused.
    virtual bool windowDidAppear(std::uint64_t window) = 0;
    virtual void windowDidResignKey() = 0;
};

/// The window of the quick search: a field above the rows.
class QuickSearchPanelView : public ListPanelView {
  public:
    /// Without rows the field stands alone.
    virtual void setTableViewParentHidden(bool hidden) = 0;
    /// Sets the field's text, which tells nobody.
    virtual void setFilter(const String& filter) = 0;
    /// Marks the bits set as scope items, and the wildcard option.
    virtual void setSearchMenu(std::uint64_t searchBy, bool isWildcard) = 0;
    /// Selects the field's text and puts the caret there, for when the window gets the keyboard.
    virtual void focusTextField() = 0;
};

/// The windows that controllers ask for when they first need them; what is given outlives them.
using MakeListPanelView =
    std::function<std::unique_ptr<ListPanelView>(const ListPanelRows&, ListPanelEvents&)>;
using MakeQuickSearchPanelView = std::function<std::unique_ptr<QuickSearchPanelView>(
    const ListPanelRows&, QuickSearchPanelEvents&)>;

} // namespace dresk
