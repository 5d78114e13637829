#include "input/freedesktop/ElementText.h"

#include <algorithm>
#include <limits>

#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

/// Code points that are known on each side of the selection.
constexpr int KnownStretch = 4096;
constexpr int LongestText = 1 << 20;

bool isOver(double deadline) {
    return steadySeconds() >= deadline;
}

GObjectRef<AtspiText> textOf(AtspiAccessible* element) {
    return GObjectRef<AtspiText>(atspi_accessible_get_text_iface(element));
}

std::optional<String> textBetween(AtspiText* text, std::uint64_t start, std::uint64_t end) {
    constexpr std::uint64_t last = std::numeric_limits<gint>::max();
    if (start > last || end > last)
        return std::nullopt;
    const GString8 bytes(
        atspi_text_get_text(text, static_cast<gint>(start), static_cast<gint>(end), nullptr));
    if (bytes == nullptr)
        return std::nullopt;
    return fromUTF8(bytes.get());
}

/// The first selection in code points, or the caret.
std::optional<Range> selectionOf(AtspiText* text, double deadline) {
    if (atspi_text_get_n_selections(text, nullptr) > 0 && !isOver(deadline)) {
        AtspiRange* range = atspi_text_get_selection(text, 0, nullptr);
        if (range == nullptr)
            return std::nullopt;
        const int start = std::min(range->start_offset, range->end_offset);
        const int end = std::max(range->start_offset, range->end_offset);
        g_boxed_free(atspi_range_get_type(), range);
        if (start >= 0 && end > start)
            return Range{static_cast<std::uint64_t>(start),
                         static_cast<std::uint64_t>(end - start)};
    }
    if (isOver(deadline))
        return std::nullopt;
    GError* error = nullptr;
    const int caret = atspi_text_get_caret_offset(text, &error);
    const bool failed = error != nullptr || caret < 0;
    g_clear_error(&error);
    if (failed)
        return std::nullopt;
    return Range{static_cast<std::uint64_t>(caret), 0};
}

std::optional<Rect> takeRect(AtspiRect* rect) {
    if (rect == nullptr)
        return std::nullopt;
    const Rect result{static_cast<double>(rect->x), static_cast<double>(rect->y),
                      static_cast<double>(rect->width), static_cast<double>(rect->height)};
    g_boxed_free(atspi_rect_get_type(), rect);
    // What is scrolled out of sight or does not exist has no height.
    if (result.height <= 0 || result.width < 0)
        return std::nullopt;
    return result;
}

} // namespace

std::optional<Range> ElementText::selectedRange(AtspiAccessible* element, double deadline) {
    element_.reset();
    const auto text = textOf(element);
    if (text == nullptr)
        return std::nullopt;
    const auto selection = selectionOf(text.get(), deadline);
    if (!selection.has_value() || isOver(deadline))
        return std::nullopt;
    const std::uint64_t first =
        selection->location - std::min<std::uint64_t>(selection->location, KnownStretch);
    const std::uint64_t end =
        selection->location + std::min<std::uint64_t>(selection->length, KnownStretch);
    const auto stretch = end > first ? textBetween(text.get(), first, end) : String();
    if (!stretch.has_value())
        return std::nullopt;
    // Qt counts 16-bit units where it should count code points.
    const bool countsUnits = stretch->size() == end - first;
    offsets_ = countsUnits ? TextOffsets() : TextOffsets(first, *stretch);
    element_ = sharedRef(element);
    const std::uint64_t location = offsets_.unitOfCodePoint(selection->location);
    return Range{location, offsets_.unitOfCodePoint(selection->end()) - location};
}

std::optional<String> ElementText::string(AtspiAccessible* element, Range units, double deadline) {
    if (element_.get() != element && !selectedRange(element, deadline))
        return std::nullopt;
    const auto text = textOf(element);
    if (text == nullptr || units.location >= NotFound || units.length > LongestText)
        return std::nullopt;
    if (units.length == 0)
        return String();
    const Range points = offsets_.codePointsOfUnits(units);
    auto found = textBetween(text.get(), points.location, points.end());
    const std::uint64_t before = units.location - offsets_.unitOfCodePoint(points.location);
    if (!found.has_value() || found->size() < before + units.length)
        return std::nullopt;
    return found->substr(before, units.length);
}

std::optional<Rect> ElementText::bounds(AtspiAccessible* element, Range units, double deadline) {
    if (element_.get() != element && !selectedRange(element, deadline))
        return std::nullopt;
    const auto text = textOf(element);
    if (text == nullptr || units.location >= NotFound || units.length > LongestText)
        return std::nullopt;
    const Range points = offsets_.codePointsOfUnits(units);
    if (points.end() > std::numeric_limits<gint>::max())
        return std::nullopt;
    const auto start = static_cast<gint>(points.location);
    if (auto rect = takeRect(atspi_text_get_range_extents(
            text.get(), start, static_cast<gint>(points.end()), ATSPI_COORD_TYPE_SCREEN, nullptr)))
        return rect;
    // Some tell single characters only, the empty place behind the last one among them.
    if (isOver(deadline))
        return std::nullopt;
    return takeRect(
        atspi_text_get_character_extents(text.get(), start, ATSPI_COORD_TYPE_SCREEN, nullptr));
}

std::optional<String> ElementText::whole(AtspiAccessible* element, double deadline) {
    const auto text = textOf(element);
    if (text == nullptr || isOver(deadline))
        return std::nullopt;
    const int count = atspi_text_get_character_count(text.get(), nullptr);
    if (count < 0 || count > LongestText || isOver(deadline))
        return std::nullopt;
    return textBetween(text.get(), 0, static_cast<std::uint64_t>(count));
}

} // namespace dresk
