#pragma once

#include <optional>

#include "Foundation/Geometry.h"
#include "input/freedesktop/AtspiBus.h"
#include "input/freedesktop/TextOffsets.h"

namespace dresk {

/// Questions about the text of an element, in 16-bit units. The stretch around the selection of the
/// element last asked is remembered. Each answer is null where the element does not tell, or not
/// before the deadline. Accessibility thread.
class ElementText {
  public:
    /// What is selected, or where the caret is.
    std::optional<Range> selectedRange(AtspiAccessible* element, double deadline);
    std::optional<String> string(AtspiAccessible* element, Range units, double deadline);
    /// On the screen, measured from the top.
    std::optional<Rect> bounds(AtspiAccessible* element, Range units, double deadline);
    /// Null for a text that is too long to be carried about as well.
    static std::optional<String> whole(AtspiAccessible* element, double deadline);

  private:
    GObjectRef<AtspiAccessible> element_;
    TextOffsets offsets_;
};

} // namespace dresk
