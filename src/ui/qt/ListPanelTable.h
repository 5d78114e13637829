#pragma once

#include "ui/ListPanelView.h"

#include <QAbstractListModel>
#include <QListView>

namespace dresk {

/// The rows as Qt asks for them.
class ListPanelModel final : public QAbstractListModel {
  public:
    explicit ListPanelModel(const ListPanelRows& rows) : rows_(rows) {}

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    void reload();

  private:
    const ListPanelRows& rows_;
    int count_ = 0;
};

/// A table that is only read, driven by the pointer: a row is selected by moving over it and chosen
/// by releasing a button there. Two columns, the number and the snippet.
class ListPanelTable final : public QListView {
  public:
    /// Both outlive it.
    ListPanelTable(const ListPanelRows& rows, ListPanelEvents& events, QWidget* parent);
    ~ListPanelTable() override;

    int rowHeight() const { return rowHeight_; }
    void setRowHeight(int height);
    void setOrderColumnWidth(int width);
    void reloadData() { model_.reload(); }
    void selectRow(std::optional<std::size_t> row);
    /// The row at a place in the viewport.
    std::optional<std::size_t> rowAt(const QPoint& place) const;

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

  private:
    class Delegate;

    ListPanelEvents& events_;
    ListPanelModel model_;
    std::unique_ptr<Delegate> delegate_;
    int rowHeight_ = 22;
    int orderColumnWidth_ = 15;
};

} // namespace dresk
