#pragma once

#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

namespace dresk {

/// A button with a magnifier, drawn in the colour of the text, that opens the search menu.
class SearchMenuButton final : public QToolButton {
  public:
    explicit SearchMenuButton(QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
};

/// The field of the quick search: its search menu with the scope items and the wildcard option, and
/// the text.
class QuickSearchField final : public QWidget {
  public:
    QuickSearchField();

    QLineEdit& textField() { return textField_; }
    /// The first three are the scope items, by bit; the last is the wildcard option.
    QAction& searchByItem(unsigned bit) { return *searchByItems_[bit]; }
    QAction& wildcardItem() { return *wildcardItem_; }
    static constexpr unsigned SearchByItems = 3;

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    QMenu menu_;
    QAction* searchByItems_[SearchByItems];
    QAction* wildcardItem_;
    SearchMenuButton button_;
    QLineEdit textField_;
};

} // namespace dresk
