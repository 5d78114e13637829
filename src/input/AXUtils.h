#pragma once

#include <cstdint>
#include <optional>

#include "Foundation/Geometry.h"
#include "Foundation/String.h"
#include "input/Accessibility.h"

namespace dresk {

class Desktop;

/// What is focused, what is selected and where the caret is, as the application in front tells it.
/// Every question waits for that application, for about 40 ms at most; one that does not tell gives
/// the neutral answer. Any thread.
class AXUtils {
  public:
    /// `desktop` outlives it.
    explicit AXUtils(Desktop& desktop) : desktop_(desktop) {}

    /// Null when nothing is focused or the application does not tell.
    AXElement getFocusedUIElement() const;
    /// Length of the selected text in 16-bit units; 0 when there is none or it is not known.
    std::uint64_t getSelectedTextLength() const;
    /// Location NotFound and length 0 when it is not known.
    Range getSelectedTextRange() const;
    /// The last units before the caret, at most so many; null when it is not known.
    std::optional<String> getTextBeforeCaretWithMaxLength(std::int64_t length) const;

  private:
    Desktop& desktop_;
};

} // namespace dresk
