#pragma once

#include "input/VMHelperWindow.h"

#include <QWidget>

namespace dresk {

/// The helper window with a widget: a small square that takes the focus when it is clicked.
class QtVMHelperWindow final : public VMHelperWindow {
  public:
    QtVMHelperWindow();

    Rect frame() const override { return frame_; }
    void setFrameOrigin(Point origin) override;
    void orderFrontRegardless() override;
    void orderOut() override { window_.hide(); }

  private:
    /// In the desktop's measure.
    Rect frame_{0, 0, Side, Side};
    QWidget window_;

    static constexpr double Side = 48;
};

} // namespace dresk
