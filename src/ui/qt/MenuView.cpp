#include "ui/qt/MenuView.h"

#include "ui/qt/QtText.h"

namespace dresk {

namespace {

// An ampersand is no mark of a short-cut key in a title.
QString plainText(StringView text) {
    return toQString(text).replace(u'&', QStringLiteral("&&"));
}

} // namespace

MenuView::MenuView(std::shared_ptr<Menu> menu, QWidget* parent)
    : menu_(std::move(menu)), widget_(parent) {
    widget_.setToolTipsVisible(true);
    QObject::connect(&widget_, &QMenu::aboutToShow, &context_, [this] { update(); });
}

void MenuView::setFontSizeDelta(int delta) {
    fontSizeDelta_ = delta;
    QFont font = QMenu().font();
    if (delta != 0)
        font.setPointSizeF(std::max(4.0, font.pointSizeF() + delta));
    widget_.setFont(font);
    for (const auto& submenu : submenus_)
        submenu->setFontSizeDelta(delta);
}

void MenuView::update() {
    if (menu_->needsUpdate)
        menu_->needsUpdate();
    refresh();
}

void MenuView::refresh() {
    widget_.clear();
    submenus_.clear();
    for (const MenuItem& item : menu_->items)
        addItem(item);
}

void MenuView::addItem(const MenuItem& item) {
    if (item.isSeparator) {
        widget_.addSeparator();
        return;
    }
    QAction* action = nullptr;
    if (item.submenu != nullptr) {
        submenus_.push_back(std::make_unique<MenuView>(item.submenu, &widget_));
        submenus_.back()->setFontSizeDelta(fontSizeDelta_);
        action = widget_.addMenu(&submenus_.back()->widget());
        // A menu without items would not open, and so never be filled.
        submenus_.back()->widget().addAction(QString())->setVisible(false);
    } else {
        action = widget_.addAction(QString());
    }
    action->setText(textOf(item));
    action->setEnabled(!item.isDisabled);
    action->setVisible(!item.isHidden);
    action->setCheckable(item.isSwitch);
    action->setChecked(item.isSwitch && item.isChecked);
    if (item.action) {
        // Not within the menu: the application in front must have the focus again.
        QObject::connect(action, &QAction::triggered, &context_, [this, chosen = item.action] {
            QTimer::singleShot(0, &context_, chosen);
        });
    }
}

// A snippet's abbreviation stands in the column of the short-cut keys.
QString MenuView::textOf(const MenuItem& item) const {
    if (!item.row.has_value())
        return plainText(item.title);
    const QFontMetricsF metrics(widget_.font());
    const QString abbreviation =
        metrics.elidedText(toQString(item.row->prefix + item.row->abbreviation), Qt::ElideRight,
                           item.row->size.width / 2);
    const double width = item.row->size.width - metrics.horizontalAdvance(abbreviation);
    const QString title = metrics.elidedText(toQString(item.title), Qt::ElideRight, width);
    QString text = QString(title).replace(u'&', QStringLiteral("&&"));
    // A tab within the texts would begin a column of its own.
    text.replace(u'\t', u' ');
    if (!abbreviation.isEmpty())
        text += u'\t' + QString(abbreviation).replace(u'\t', u' ');
    return text;
}

} // namespace dresk
