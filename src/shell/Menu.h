#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Foundation/Geometry.h"
#include "Foundation/String.h"

namespace dresk {

struct Menu;

/// How a menu shows a snippet: the item's title at the left, cut to fit, and the abbreviation at
/// the right.
struct SnippetRow {
    /// In points.
    Size size;
    /// Prefix of the group, shown in front of the abbreviation; both may be empty.
    String prefix;
    String abbreviation;
};

/// One line of a menu, as plain data. Main thread, like all menus.
struct MenuItem {
    String title;
    /// A line between groups of items; the rest means nothing then.
    bool isSeparator = false;
    /// Not to be chosen; with an empty title a gap between rows.
    bool isDisabled = false;
    bool isHidden = false;
    /// Whether the item is a switch, and its state.
    bool isSwitch = false;
    bool isChecked = false;
    /// Null for ordinary items.
    std::optional<SnippetRow> row;
    /// Called after the menu has closed, so that the application in front has the focus again.
    /// Empty for items that do nothing.
    std::function<void()> action;
    /// Null for none.
    std::shared_ptr<Menu> submenu;
};

/// A menu, as plain data.
struct Menu {
    std::vector<MenuItem> items;
    /// Brings `items` up to date; empty for a fixed menu. Called each time the menu is really about
    /// to open, and not when a desktop merely asks in advance.
    std::function<void()> needsUpdate;

    static MenuItem separator() {
        MenuItem item;
        item.isSeparator = true;
        return item;
    }
};

} // namespace dresk
