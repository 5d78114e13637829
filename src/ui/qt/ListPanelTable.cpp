#include "ui/qt/ListPanelTable.h"

#include "ui/qt/QtText.h"
#include "ui/qt/SnippetCell.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>

namespace dresk {

int ListPanelModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count_;
}

QVariant ListPanelModel::data(const QModelIndex& index, int role) const {
    const auto row = static_cast<std::size_t>(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return toQString(rows_.rowContent(row).title);
    case Qt::AccessibleTextRole:
        return QString(toQString(rows_.rowNumber(row)) + QLatin1Char(' ') +
                       SnippetCell::accessibleText(rows_.rowContent(row)))
            .trimmed();
    default:
        return {};
    }
}

void ListPanelModel::reload() {
    beginResetModel();
    count_ = static_cast<int>(rows_.rowCount());
    endResetModel();
}

class ListPanelTable::Delegate final : public QStyledItemDelegate {
  public:
    Delegate(const ListPanelTable& table, const ListPanelRows& rows) : table_(table), rows_(rows) {}

    QSize sizeHint(const QStyleOptionViewItem& option,
                   const QModelIndex& /*index*/) const override {
        return {option.rect.width(), table_.rowHeight_};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        constexpr int leftMargin = 5;
        const auto row = static_cast<std::size_t>(index.row());
        const bool isSelected = (option.state & QStyle::State_Selected) != 0;
        const QPalette& palette = option.palette;
        if (isSelected)
            painter->fillRect(option.rect, palette.color(QPalette::Active, QPalette::Highlight));

        QRect number = option.rect;
        number.setLeft(number.left() + leftMargin);
        number.setWidth(table_.orderColumnWidth_);
        painter->setFont(SnippetCell::globalFont().value_or(option.font));
        painter->setPen(palette.color(QPalette::Active, isSelected ? QPalette::HighlightedText
                                                                   : QPalette::PlaceholderText));
        painter->drawText(number, Qt::AlignVCenter | Qt::AlignRight,
                          toQString(rows_.rowNumber(row)));

        QRect cell = option.rect;
        cell.setLeft(number.right() + 1);
        SnippetCell::draw(*painter, cell, rows_.rowContent(row),
                          {palette, option.font, isSelected});
    }

  private:
    const ListPanelTable& table_;
    const ListPanelRows& rows_;
};

ListPanelTable::ListPanelTable(const ListPanelRows& rows, ListPanelEvents& events, QWidget* parent)
    : QListView(parent), events_(events), model_(rows),
      delegate_(std::make_unique<Delegate>(*this, rows)) {
    setModel(&model_);
    setItemDelegate(delegate_.get());
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setUniformItemSizes(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setMouseTracking(true);
}

ListPanelTable::~ListPanelTable() = default;

void ListPanelTable::setRowHeight(int height) {
    rowHeight_ = height;
    scheduleDelayedItemsLayout();
}

void ListPanelTable::setOrderColumnWidth(int width) {
    orderColumnWidth_ = width;
    viewport()->update();
}

void ListPanelTable::selectRow(std::optional<std::size_t> row) {
    if (!row.has_value()) {
        selectionModel()->clear();
        return;
    }
    const QModelIndex index = model_.index(static_cast<int>(*row));
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    scrollTo(index);
}

std::optional<std::size_t> ListPanelTable::rowAt(const QPoint& place) const {
    const QModelIndex index = indexAt(place);
    if (!index.isValid())
        return std::nullopt;
    return static_cast<std::size_t>(index.row());
}

void ListPanelTable::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

void ListPanelTable::mouseDoubleClickEvent(QMouseEvent* event) {
    event->accept();
}

void ListPanelTable::mouseMoveEvent(QMouseEvent* event) {
    if (const auto row = rowAt(event->position().toPoint()))
        events_.pointerMovedOverRow(*row);
}

void ListPanelTable::mouseReleaseEvent(QMouseEvent* event) {
    if (viewport()->rect().contains(event->position().toPoint()))
        events_.tableViewRowClickedAction();
}

} // namespace dresk
