#pragma once

#include "language/SnippetFormatter.h"
#include "shell/Menu.h"

namespace dresk {

/// The menu of the status item: a fixed part, and below it the user's snippets as they are when the
/// menu opens. Main thread.
class StatusMenu {
  public:
    using Choose = std::function<void(const std::shared_ptr<Snippet>&)>;

    /// `groups` and `formatter` outlive the menu's use. `choose` gets the snippet of a chosen row.
    StatusMenu(const SnippetGroupList& groups, const SnippetFormatter& formatter, Choose choose);
    StatusMenu(const StatusMenu&) = delete;
    StatusMenu& operator=(const StatusMenu&) = delete;

    /// One block of the fixed part; blocks are parted by lines. Empty blocks are left out.
    using Section = std::vector<MenuItem>;
    /// The switch and the secure input line come first, by themselves.
    void setFixedPart(MenuItem itemEnabled, MenuItem secureInputItem,
                      const std::vector<Section>& sections);
    /// Only behind setFixedPart.
    MenuItem& itemEnabled() { return menu_->items[0]; }
    MenuItem& secureInputItem() { return menu_->items[1]; }
    void setFontSizeDelta(std::int64_t delta) { fontSizeDelta_ = delta; }
    const std::shared_ptr<Menu>& menu() const { return menu_; }

    static constexpr double RowWidth = 350.0;
    static constexpr double RowHeight = 18.0;

  private:
    void menuNeedsUpdate();
    void fillSubmenu(Menu& menu, const SnippetGroup& group) const;
    void addRows(std::vector<MenuItem>& items, const SnippetGroup& group) const;
    MenuItem submenuItem(const std::shared_ptr<SnippetGroup>& group) const;

    const SnippetGroupList& groups_;
    const SnippetFormatter& formatter_;
    Choose choose_;
    std::int64_t fontSizeDelta_ = 0;
    std::size_t fixedCount_ = 0;
    std::shared_ptr<Menu> menu_ = std::make_shared<Menu>();
};

} // namespace dresk
