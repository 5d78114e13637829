#pragma once

#include <memory>

#include "shell/Menu.h"

#include <QMenu>
#include <QTimer>

namespace dresk {

/// Shows a menu that is plain data. The data is read when the menu opens; actions run after it has
/// closed.
class MenuView final {
  public:
    /// `parent` null for a menu of its own.
    explicit MenuView(std::shared_ptr<Menu> menu, QWidget* parent = nullptr);
    MenuView(const MenuView&) = delete;
    MenuView& operator=(const MenuView&) = delete;

    QMenu& widget() { return widget_; }
    /// Reads the items again, for desktops that keep a copy of the menu.
    void refresh();
    /// Menus of their own font have this many points more than the desktop's.
    void setFontSizeDelta(int delta);

  private:
    void update();
    void addItem(const MenuItem& item);
    QString textOf(const MenuItem& item) const;

    std::shared_ptr<Menu> menu_;
    int fontSizeDelta_ = 0;
    /// Alive as long as this, for actions that wait.
    QObject context_;
    QMenu widget_;
    std::vector<std::unique_ptr<MenuView>> submenus_;
};

} // namespace dresk
