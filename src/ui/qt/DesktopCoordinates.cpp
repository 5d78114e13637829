#include "ui/qt/DesktopCoordinates.h"

#include <cmath>

#include <QGuiApplication>
#include <QScreen>

namespace dresk {

namespace {

const QScreen* screenAt(Point place) {
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect frame = screen->geometry();
        const double ratio = screen->devicePixelRatio();
        const Rect pixels{static_cast<double>(frame.x()), static_cast<double>(frame.y()),
                          frame.width() * ratio, frame.height() * ratio};
        if (pixels.contains(place))
            return screen;
    }
    return QGuiApplication::primaryScreen();
}

QPointF toQt(Point place, const QScreen* screen) {
    if (screen == nullptr)
        return {place.x, place.y};
    const QPointF corner = screen->geometry().topLeft();
    return corner + (QPointF(place.x, place.y) - corner) / screen->devicePixelRatio();
}

} // namespace

double DesktopCoordinates::pixelRatioAt(Point place) {
    const QScreen* screen = screenAt(place);
    return screen != nullptr ? screen->devicePixelRatio() : 1;
}

QRect DesktopCoordinates::toQt(const Rect& frame) {
    const QScreen* screen = screenAt({frame.x, frame.y});
    const double ratio = screen != nullptr ? screen->devicePixelRatio() : 1;
    return {dresk::toQt({frame.x, frame.y}, screen).toPoint(),
            QSize(static_cast<int>(std::lround(frame.width / ratio)),
                  static_cast<int>(std::lround(frame.height / ratio)))};
}

QPoint DesktopCoordinates::toQt(Point place) {
    return dresk::toQt(place, screenAt(place)).toPoint();
}

} // namespace dresk
