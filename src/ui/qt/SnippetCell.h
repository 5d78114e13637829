#pragma once

#include <optional>

#include "ui/SnippetCellContent.h"

#include <QFont>
#include <QPalette>
#include <QRect>

class QPainter;

namespace dresk {

/// Draws a snippet or a group as a row of a list or menu: the title, and at the right the
/// abbreviation in a pill. Main thread.
class SnippetCell {
  public:
    /// What the row looks like around the content.
    struct Style {
        QPalette palette;
        QFont font;
        bool isSelected = false;
    };

    /// One font for all cells instead of that of their styles; null for none.
    static void setGlobalFont(std::optional<QFont> font);
    static const std::optional<QFont>& globalFont();

    /// Draws into the rectangle; the background is the caller's.
    static void draw(QPainter& painter, const QRect& rect, const SnippetCellContent& content,
                     const Style& style);
    /// What a screen reader says.
    static QString accessibleText(const SnippetCellContent& content);
};

} // namespace dresk
