#pragma once

#include "Foundation/String.h"

#include <QPlainTextEdit>
#include <QWidget>

namespace dresk {

/// A text to read and to copy.
class DiagnosticWindow final : public QWidget {
  public:
    DiagnosticWindow();
    /// Shows the text in the middle of the screen, in front of all windows.
    void showText(const String& text);

  private:
    QPlainTextEdit* text_;
};

/// Name, version and what the program is.
class AboutWindow final : public QWidget {
  public:
    explicit AboutWindow(const String& version);
};

} // namespace dresk
