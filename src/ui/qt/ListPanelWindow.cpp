#include "ui/qt/ListPanelWindow.h"

#include <QApplication>
#include <QBitmap>
#include <QPainter>
#include <QPainterPath>
#include <QResizeEvent>

namespace dresk {

namespace {

constexpr double CornerRadius = 6;

} // namespace

/// A line around everything, drawn over rows that reach the edge. The pointer goes through it.
class ListPanelWindow::Border final : public QWidget {
  public:
    explicit Border(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor color = palette().color(QPalette::Active, QPalette::Text);
        color.setAlphaF(0.3F);
        painter.setPen(color);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), CornerRadius,
                                CornerRadius);
    }
};

ListPanelWindow::ListPanelWindow(Qt::WindowFlags flags, const ListPanelRows& rows,
                                 ListPanelEvents& events)
    : QWidget(nullptr, flags | Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::BypassWindowManagerHint),
      table_(rows, events, this), border_(new Border(this)) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_QuitOnClose, false);
    setFont(QApplication::font("QMenu"));
}

ListPanelWindow::~ListPanelWindow() = default;

void ListPanelWindow::setCellFontSize(double points) {
    QFont font = table_.font();
    font.setPixelSize(static_cast<int>(points));
    table_.setFont(font);
}

void ListPanelWindow::setHeader(QWidget* header, int height) {
    header_ = header;
    headerHeight_ = height;
    border_->raise();
}

void ListPanelWindow::setFrame(const Rect& frame) {
    setGeometry(DesktopCoordinates::toQt(frame));
}

void ListPanelWindow::orderFront() {
    show();
    raise();
}

std::optional<std::size_t> ListPanelWindow::rowAtPoint(Point place) const {
    const QPoint inTable = table_.viewport()->mapFromGlobal(DesktopCoordinates::toQt(place));
    return table_.viewport()->rect().contains(inTable) ? table_.rowAt(inTable) : std::nullopt;
}

void ListPanelWindow::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), palette().color(QPalette::Active, QPalette::Base));
}

// The corners are cut by shape: not every desktop shows what is behind a window.
void ListPanelWindow::resizeEvent(QResizeEvent* /*event*/) {
    if (header_ != nullptr)
        header_->setGeometry(0, 0, width(), headerHeight_);
    table_.setGeometry(0, headerHeight_, width(), std::max(0, height() - headerHeight_));
    border_->setGeometry(rect());
    QPainterPath shape;
    shape.addRoundedRect(rect(), CornerRadius, CornerRadius);
    setMask(QRegion(shape.toFillPolygon().toPolygon()));
}

namespace {

class QtListPanelView final : public ListPanelViewOf<ListPanelView, ListPanelWindow> {
  public:
    QtListPanelView(const ListPanelRows& rows, ListPanelEvents& events)
        : ListPanelViewOf(Flags, rows, events) {
        window_.setWindowTitle(QObject::tr("Suggestions"));
        window_.table().setAccessibleName(QObject::tr("Suggestions"));
        window_.setAttribute(Qt::WA_X11NetWmWindowTypeCombo);
    }

  private:
    static constexpr Qt::WindowFlags Flags = Qt::WindowDoesNotAcceptFocus;
};

} // namespace

std::unique_ptr<ListPanelView> makeQtListPanelView(const ListPanelRows& rows,
                                                   ListPanelEvents& events) {
    return std::make_unique<QtListPanelView>(rows, events);
}

} // namespace dresk
