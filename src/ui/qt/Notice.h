#pragma once

#include "Foundation/String.h"

#include <QLabel>
#include <QRect>
#include <QTimer>

namespace dresk {

/// A short text in a bubble that takes neither focus nor clicks and goes by itself.
class Notice final : public QLabel {
  public:
    Notice();

    /// `anchor` is on the screen, in Qt's coordinates; the bubble stands beside it, inside the
    /// screen.
    void showAt(const QRect& anchor, StringView text, double seconds);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QTimer timer_;
};

} // namespace dresk
