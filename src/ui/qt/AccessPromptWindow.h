#pragma once

#include "shell/UserInterface.h"

#include <QLabel>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QWidget>

namespace dresk {

/// Tells why Dresk cannot see the keys, and what can be done.
class AccessPromptWindow final : public QWidget {
  public:
    explicit AccessPromptWindow(AccessPrompt prompt);

    /// Shakes and shows the button that goes on without access.
    void refuse();

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    AccessPrompt prompt_;
    QPushButton ignore_;
    QPropertyAnimation shaking_;
};

} // namespace dresk
