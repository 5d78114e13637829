#pragma once

#include <memory>

#include "shell/UserInterface.h"
#include "ui/qt/MenuView.h"
#include "ui/qt/Notice.h"

#include <QSystemTrayIcon>

namespace dresk {

/// The icon in the panel with its menu. A desktop without a place for it shows nothing; the icon
/// comes when such a place appears.
class StatusItemView final {
  public:
    explicit StatusItemView(std::shared_ptr<Menu> menu);

    void setItem(const StatusItem& item);
    void menuChanged() { menu_.refresh(); }
    void setFontSizeDelta(int delta) { menu_.setFontSizeDelta(delta); }
    void showNotice(const String& text, double seconds);

  private:
    MenuView menu_;
    Notice notice_;
    // Last: it goes before its menu does.
    QSystemTrayIcon icon_;
};

} // namespace dresk
