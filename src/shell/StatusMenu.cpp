#include "shell/StatusMenu.h"

namespace dresk {

StatusMenu::StatusMenu(const SnippetGroupList& groups, const SnippetFormatter& formatter,
                       Choose choose)
    : groups_(groups), formatter_(formatter), choose_(std::move(choose)) {
    menu_->needsUpdate = [this] { menuNeedsUpdate(); };
}

void StatusMenu::setFixedPart(MenuItem itemEnabled, MenuItem secureInputItem,
                              const std::vector<Section>& sections) {
    menu_->items = {std::move(itemEnabled), std::move(secureInputItem), Menu::separator()};
    for (const Section& section : sections) {
        if (section.empty())
            continue;
        menu_->items.insert(menu_->items.end(), section.begin(), section.end());
        menu_->items.push_back(Menu::separator());
    }
    fixedCount_ = menu_->items.size();
}

void StatusMenu::menuNeedsUpdate() {
    menu_->items.resize(fixedCount_);
    const std::shared_lock shared(groups_.lock);
    for (const auto& group : groups_.groups)
        if (group->showInMenuBar() && group->showInMenuBarAtFirstLevel()) {
            addRows(menu_->items, *group);
            menu_->items.push_back(Menu::separator());
        }
    for (const auto& group : groups_.groups)
        if (group->showInMenuBar() && !group->showInMenuBarAtFirstLevel())
            menu_->items.push_back(submenuItem(group));
}

MenuItem StatusMenu::submenuItem(const std::shared_ptr<SnippetGroup>& group) const {
    MenuItem item;
    item.title = group->menuTitle();
    item.submenu = std::make_shared<Menu>();
    // The menu holds this call, so the call must not hold the menu.
    item.submenu->needsUpdate = [this, group, menu = item.submenu.get()] {
        if (menu->items.empty())
            fillSubmenu(*menu, *group);
    };
    return item;
}

void StatusMenu::fillSubmenu(Menu& menu, const SnippetGroup& group) const {
    const std::shared_lock shared(groups_.lock);
    addRows(menu.items, group);
}

void StatusMenu::addRows(std::vector<MenuItem>& items, const SnippetGroup& group) const {
    for (const auto& snippet : group.items()) {
        MenuItem& item = items.emplace_back();
        item.title = formatter_.stringForObjectValue(*snippet);
        item.row = SnippetRow{{RowWidth, RowHeight + static_cast<double>(fontSizeDelta_)},
                              group.abbreviationPrefix().value_or(String()),
                              snippet->abbreviation().value_or(String())};
        item.action = [this, snippet] { choose_(snippet); };
    }
}

} // namespace dresk
