#include "ui/qt/QtVMHelperWindow.h"

#include "ui/qt/DesktopCoordinates.h"

namespace dresk {

QtVMHelperWindow::QtVMHelperWindow()
    : window_(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
    window_.setAttribute(Qt::WA_ShowWithoutActivating);
}

void QtVMHelperWindow::setFrameOrigin(Point origin) {
    frame_.x = origin.x;
    frame_.y = origin.y;
    window_.setGeometry(DesktopCoordinates::toQt(frame_));
}

void QtVMHelperWindow::orderFrontRegardless() {
    window_.show();
    window_.raise();
}

} // namespace dresk
