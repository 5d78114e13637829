#pragma once

#include <cstdint>
#include <optional>

#include "Foundation/AttributedString.h"
#include "Foundation/Geometry.h"
#include "Foundation/String.h"
#include "input/Accessibility.h"

namespace dresk {

class Desktop;
class Screens;

/// From places measured from the top, as Desktop.h has them, to places measured from below: x stays
/// and y becomes H - y, H being the height of the first screen, 0 when there is none. A rectangle
/// still names its top-left corner and keeps its size: its body lies below that point. The same
/// operation leads back.
Point ConvertToNSPointFromCGPoint(Screens& screens, Point point);
/// Null for a value that is no point.
std::optional<Point> NSPointFromCFTypeRef(Screens& screens, const AXValue& value);
/// Null for a value that is no rectangle.
std::optional<Rect> NSRectFromCFTypeRef(Screens& screens, const AXValue& value);

/// What is focused, what is selected and where the caret is, as the application in front tells it.
/// Every question waits for that application, for about 40 ms at most; one that does not tell gives
/// the neutral answer. Rectangles are measured from below, as ConvertToNSPointFromCGPoint gives
/// them. Any thread.
class AXUtils {
  public:
    /// `desktop` outlives it.
    explicit AXUtils(Desktop& desktop) : desktop_(desktop) {}

    /// Null when nothing is focused or the application does not tell.
    AXElement getFocusedUIElement() const;
    /// The window of the focused element; null when it is not known.
    AXElement getFocusedTopLevelUIElement() const;

    /// Length of the selected text in 16-bit units; 0 when there is none or it is not known.
    std::uint64_t getSelectedTextLength() const;
    /// Location NotFound and length 0 when it is not known.
    Range getSelectedTextRange() const;
    /// Where the selection is on the screen, or for a caret the character before it; where the
    /// application tells no bounds, its element's corner with a size of 1 by 1. Zero when it is not
    /// known.
    Rect getSelectedTextBound() const;
    /// Zero when it is not known.
    Rect getFocusedUIElementBound() const;

    /// The last units before the caret, at most so many; null when it is not known.
    std::optional<String> getTextBeforeCaretWithMaxLength(std::int64_t length) const;
    /// Text of the focused element; null when it has none.
    std::optional<String> getValue() const;
    /// The selected text, with its formatting as far as the application tells; null without one.
    std::optional<AttributedString> copySelectedAttributedString() const;
    /// Where the Help menu of the application in front is searched; null when it has no such place.
    AXElement getHelpSearchFieldUIElement() const;

  private:
    AXElement frontApplication() const;
    Rect boundOfRange(AXUIElement& element, Range range) const;

    Desktop& desktop_;
};

} // namespace dresk
