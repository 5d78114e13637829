#include "input/freedesktop/TextOffsets.h"

namespace dresk {

std::uint64_t TextOffsets::unitOfCodePoint(std::uint64_t codePoint) const {
    if (codePoint <= first_)
        return codePoint;
    std::size_t unit = 0;
    std::uint64_t point = first_;
    for (; point < codePoint && unit < text_.size(); ++point)
        unit += codePointAt(text_, unit).length;
    return first_ + unit + (codePoint - point);
}

std::uint64_t TextOffsets::codePointOfUnit(std::uint64_t unit) const {
    if (unit <= first_)
        return unit;
    const std::uint64_t wanted = unit - first_;
    std::size_t passed = 0;
    std::uint64_t point = first_;
    while (passed < text_.size()) {
        const std::size_t length = codePointAt(text_, passed).length;
        if (passed + length > wanted)
            return point;
        passed += length;
        ++point;
    }
    return point + (wanted - passed);
}

Range TextOffsets::codePointsOfUnits(Range units) const {
    const std::uint64_t start = codePointOfUnit(units.location);
    std::uint64_t end = codePointOfUnit(units.end());
    if (unitOfCodePoint(end) < units.end())
        ++end;
    return {start, end - start};
}

} // namespace dresk
