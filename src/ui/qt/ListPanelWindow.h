#pragma once

#include "ui/qt/DesktopCoordinates.h"
#include "ui/qt/ListPanelTable.h"

#include <QWidget>

namespace dresk {

/// The frameless window of a floating list: a header, if there is one, and the table below it. No
/// window manager looks after it, and by itself it never gets the keyboard focus.
class ListPanelWindow : public QWidget {
  public:
    ListPanelWindow(Qt::WindowFlags flags, const ListPanelRows& rows, ListPanelEvents& events);
    ~ListPanelWindow() override;

    ListPanelTable& table() { return table_; }
    const ListPanelTable& table() const { return table_; }
    void setCellFontSize(double points);
    /// In the desktop's measure.
    void setFrame(const Rect& frame);
    void orderFront();
    std::optional<std::size_t> rowAtPoint(Point place) const;
    /// What stands above the rows; the window owns it.
    void setHeader(QWidget* header, int height);

    static constexpr int Width = 420;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    class Border;

    ListPanelTable table_;
    QWidget* header_ = nullptr;
    int headerHeight_ = 0;
    Border* border_;
};

/// A view on such a window. Every length is whole in Qt's measure.
template <class View, class Window>
class ListPanelViewOf : public View {
  public:
    template <class... Arguments>
    explicit ListPanelViewOf(Arguments&... arguments) : window_(arguments...) {}

    double unitsPerPoint(Point place) const override {
        return DesktopCoordinates::pixelRatioAt(place);
    }
    double width() const override { return ListPanelWindow::Width; }
    double rowHeight() const override { return window_.table().rowHeight(); }
    void setRowHeight(double points) override {
        window_.table().setRowHeight(static_cast<int>(points));
    }
    void setCellFontSize(double points) override { window_.setCellFontSize(points); }
    void setOrderColumnWidth(double points) override {
        window_.table().setOrderColumnWidth(static_cast<int>(points));
    }
    void reloadData() override { window_.table().reloadData(); }
    void selectRow(std::optional<std::size_t> row) override { window_.table().selectRow(row); }
    std::optional<std::size_t> rowAtPoint(Point place) const override {
        return window_.rowAtPoint(place);
    }
    void setFrame(Rect frame) override { window_.setFrame(frame); }
    void orderFront() override { window_.orderFront(); }
    void close() override { window_.hide(); }

  protected:
    Window window_;
};

/// The window of the suggestion list; for SuggestionListController.
std::unique_ptr<ListPanelView> makeQtListPanelView(const ListPanelRows& rows,
                                                   ListPanelEvents& events);

} // namespace dresk
