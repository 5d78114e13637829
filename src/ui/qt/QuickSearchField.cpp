#include "ui/qt/QuickSearchField.h"

#include <QPainter>

namespace dresk {

SearchMenuButton::SearchMenuButton(QWidget* parent) : QToolButton(parent) {
    setPopupMode(QToolButton::InstantPopup);
    setAutoRaise(true);
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(tr("Search options"));
    setToolTip(accessibleName());
}

void SearchMenuButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor color = palette().color(QPalette::Active, QPalette::Text);
    color.setAlphaF(underMouse() ? 1.0F : 0.7F);
    painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.translate(rect().center() + QPointF(-3, 0.5));
    painter.drawEllipse(QPointF(-1.5, -1.5), 4.2, 4.2);
    painter.drawLine(QPointF(1.8, 1.8), QPointF(5, 5));
    painter.setPen(QPen(color, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF({{8, -1}, {10, 1.2}, {12, -1}}));
}

QuickSearchField::QuickSearchField()
    : searchByItems_{menu_.addAction(tr("Abbreviation")), menu_.addAction(tr("Content")),
                     menu_.addAction(tr("Label"))},
      button_(this), textField_(this) {
    menu_.addSeparator();
    wildcardItem_ = menu_.addAction(tr("Wildcards * and ?"));
    for (QAction* item : menu_.actions())
        item->setCheckable(!item->isSeparator());
    button_.setMenu(&menu_);
    textField_.setFrame(false);
    textField_.setPlaceholderText(tr("Search snippets"));
    textField_.setAccessibleName(tr("Search snippets"));
    textField_.setClearButtonEnabled(true);
    setFocusProxy(&textField_);
}

void QuickSearchField::resizeEvent(QResizeEvent* /*event*/) {
    constexpr int buttonWidth = 30;
    constexpr int margin = 3;
    button_.setGeometry(margin, 1, buttonWidth, height() - 2);
    textField_.setGeometry(margin + buttonWidth, 1, width() - buttonWidth - 2 * margin,
                           height() - 2);
}

} // namespace dresk
