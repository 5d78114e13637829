#pragma once

#include <cstdint>

#include "Foundation/String.h"

namespace dresk {

/// Leads from code points, which the bus counts, to 16-bit units and back, within one text of which
/// a stretch is known. Outside that stretch every character counts as one unit, so that the two
/// directions agree wherever they are asked.
class TextOffsets {
  public:
    TextOffsets() = default;
    /// `text` begins at code point `first`.
    TextOffsets(std::uint64_t first, String text) : first_(first), text_(std::move(text)) {}

    std::uint64_t unitOfCodePoint(std::uint64_t codePoint) const;
    /// The code point that holds the unit.
    std::uint64_t codePointOfUnit(std::uint64_t unit) const;
    /// The code points that cover the units.
    Range codePointsOfUnits(Range units) const;

  private:
    std::uint64_t first_ = 0;
    String text_;
};

} // namespace dresk
