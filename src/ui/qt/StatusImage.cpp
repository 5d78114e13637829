#include "ui/qt/StatusImage.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

namespace dresk {

namespace {

// Everything is drawn on a ground of 22 by 22 points.
constexpr double Ground = 22;

enum class Sign { None, Caution, Struck };

QPainterPath keyCap() {
    QPainterPath path;
    path.addRoundedRect(QRectF(2.5, 3.5, 17, 15), 3.5, 3.5);
    return path;
}

// A "d" with the caret that follows it.
QPainterPath letterAndCaret() {
    QPainterPath path;
    path.addEllipse(QPointF(7.8, 12.6), 2.3, 2.3);
    path.moveTo(10.1, 6.8);
    path.lineTo(10.1, 14.9);
    for (const double y : {7.0, 15.0}) {
        path.moveTo(13.2, y);
        path.lineTo(16.4, y);
    }
    path.moveTo(14.8, 7);
    path.lineTo(14.8, 15);
    return path;
}

QPainterPath triangle() {
    QPainterPath path;
    path.moveTo(16.2, 11.2);
    path.lineTo(21, 20.2);
    path.lineTo(11.4, 20.2);
    path.closeSubpath();
    return path;
}

void strokePath(QPainter& painter, const QPainterPath& path, const QColor& colour, double width) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
}

void drawKeyCap(QPainter& painter, const QColor& colour, Sign sign) {
    strokePath(painter, keyCap(), colour, 1.5);
    strokePath(painter, letterAndCaret(), colour, 1.4);
    if (sign == Sign::Struck) {
        strokePath(
            painter,
            [] {
                QPainterPath line(QPointF(3, 20));
                line.lineTo(19.5, 2);
                return line;
            }(),
            colour, 1.8);
    }
    if (sign != Sign::Caution)
        return;
    // The sign stands free of what lies behind it.
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    strokePath(painter, triangle(), Qt::black, 3.4);
    painter.fillPath(triangle(), Qt::black);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    strokePath(painter, triangle(), colour, 1.2);
    painter.fillPath(triangle(), colour);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    strokePath(
        painter,
        [] {
            QPainterPath mark(QPointF(16.2, 14.2));
            mark.lineTo(16.2, 16.6);
            mark.moveTo(16.2, 18.6);
            mark.lineTo(16.2, 18.7);
            return mark;
        }(),
        Qt::black, 1.4);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

class StatusIconEngine final : public QIconEngine {
  public:
    StatusIconEngine(Sign sign, bool isTemplate) : sign_(sign), isTemplate_(isTemplate) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        painter->drawPixmap(rect, draw(rect.size() * painter->device()->devicePixelRatio()));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override { return draw(size); }
    QIconEngine* clone() const override { return new StatusIconEngine(sign_, isTemplate_); }

  private:
    QPixmap draw(const QSize& size) const {
        QPixmap image(size);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size.width() / Ground, size.height() / Ground);
        const QColor grey(128, 128, 128);
        const QColor text = QGuiApplication::palette().color(QPalette::WindowText);
        if (isTemplate_) {
            QColor rim = text.lightness() < 128 ? QColor(Qt::white) : QColor(Qt::black);
            rim.setAlpha(220);
            strokePath(painter, keyCap(), rim, 2.9);
            strokePath(painter, letterAndCaret(), rim, 2.9);
        }
        QPixmap shape(size);
        shape.fill(Qt::transparent);
        QPainter shapePainter(&shape);
        shapePainter.setRenderHint(QPainter::Antialiasing);
        shapePainter.scale(size.width() / Ground, size.height() / Ground);
        drawKeyCap(shapePainter, isTemplate_ ? text : grey, sign_);
        shapePainter.end();
        painter.drawPixmap(QRectF(0, 0, Ground, Ground), shape, QRectF(shape.rect()));
        return image;
    }

    Sign sign_;
    bool isTemplate_;
};

class ApplicationIconEngine final : public QIconEngine {
  public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        painter->drawPixmap(rect, draw(rect.size() * painter->device()->devicePixelRatio()));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override { return draw(size); }
    QIconEngine* clone() const override { return new ApplicationIconEngine; }

  private:
    static QPixmap draw(const QSize& size) {
        QPixmap image(size);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size.width() / Ground, size.height() / Ground);
        painter.fillPath(keyCap(), QColor(0x2f, 0x6f, 0xde));
        strokePath(painter, keyCap(), QColor(0x1d, 0x4a, 0x9c), 1);
        strokePath(painter, letterAndCaret(), Qt::white, 1.4);
        return image;
    }
};

} // namespace

QIcon statusImage(StringView name, bool isTemplate) {
    const Sign sign = name == u"AutoTextCaution"     ? Sign::Caution
                      : name == u"AutoText-Disabled" ? Sign::Struck
                                                     : Sign::None;
    return QIcon(new StatusIconEngine(sign, isTemplate));
}

QIcon applicationImage() {
    return QIcon::fromTheme(QStringLiteral("dresk"), QIcon(new ApplicationIconEngine));
}

} // namespace dresk
