#include "ui/qt/Notice.h"

#include <cmath>

#include "ui/qt/QtText.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

namespace dresk {

namespace {

constexpr double FontSize = 15;
constexpr int Margin = 14;
constexpr int Gap = 6;

} // namespace

Notice::Notice()
    : QLabel(nullptr, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus |
                          Qt::WindowTransparentForInput) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setAlignment(Qt::AlignCenter);
    setMargin(Margin);
    QFont large = font();
    large.setPointSizeF(FontSize);
    setFont(large);
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &QWidget::hide);
}

void Notice::showAt(const QRect& anchor, StringView text, double seconds) {
    setText(toQString(text));
    adjustSize();
    const QScreen* screen = QGuiApplication::screenAt(anchor.center());
    if (screen == nullptr)
        screen = QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return;
    const QRect space = screen->availableGeometry();
    // Above an icon of a panel at the bottom, below it otherwise.
    QRect frame(QPoint(anchor.center().x() - width() / 2, anchor.bottom() + Gap), size());
    if (frame.bottom() > space.bottom())
        frame.moveBottom(anchor.top() - Gap);
    frame.moveLeft(std::clamp(frame.left(), space.left(),
                              std::max(space.left(), space.right() - frame.width())));
    move(frame.topLeft());
    show();
    timer_.start(static_cast<int>(std::lround(seconds * 1000)));
}

void Notice::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath bubble;
    bubble.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    painter.fillPath(bubble, palette().color(QPalette::Window));
    QColor line = palette().color(QPalette::WindowText);
    line.setAlpha(60);
    painter.setPen(line);
    painter.drawPath(bubble);
    painter.end();
    QLabel::paintEvent(event);
}

} // namespace dresk
