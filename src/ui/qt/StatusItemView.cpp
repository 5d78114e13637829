#include "ui/qt/StatusItemView.h"

#include <cmath>

#include "ui/qt/QtText.h"
#include "ui/qt/StatusImage.h"

#include <QCursor>

namespace dresk {

StatusItemView::StatusItemView(std::shared_ptr<Menu> menu) : menu_(std::move(menu)) {
    menu_.refresh();
    icon_.setContextMenu(&menu_.widget());
    QObject::connect(&icon_, &QSystemTrayIcon::activated, &icon_,
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger)
                             menu_.widget().popup(QCursor::pos());
                     });
}

void StatusItemView::setItem(const StatusItem& item) {
    icon_.setIcon(statusImage(item.image, item.isTemplate));
    icon_.setToolTip(toQString(item.toolTip));
    icon_.show();
}

void StatusItemView::showNotice(const String& text, double seconds) {
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        return;
    const QRect place = icon_.geometry();
    if (place.isValid())
        notice_.showAt(place, text, seconds);
    else // A panel that draws the icon itself does not tell where.
        icon_.showMessage(QStringLiteral("Dresk"), toQString(text), icon_.icon(),
                          static_cast<int>(std::lround(seconds * 1000)));
}

} // namespace dresk
