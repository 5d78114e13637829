#include "input/AXUtils.h"

#include <algorithm>

#include "input/Desktop.h"

namespace dresk {

namespace {

constexpr Range UnknownRange{NotFound, 0};

template <class T>
std::optional<T> valueOf(const AXValue& value) {
    const T* found = std::get_if<T>(&value);
    return found != nullptr ? std::optional(*found) : std::nullopt;
}

} // namespace

AXElement AXUtils::getFocusedUIElement() const {
    const AXElement application =
        desktop_.accessibility().applicationElement(desktop_.processes().frontProcess());
    if (application == nullptr)
        return nullptr;
    return valueOf<AXElement>(application->attributeValue(AXAttribute::FocusedUIElement))
        .value_or(nullptr);
}

std::uint64_t AXUtils::getSelectedTextLength() const {
    const AXElement element = getFocusedUIElement();
    if (element == nullptr)
        return 0;
    if (const auto range = valueOf<Range>(element->attributeValue(AXAttribute::SelectedTextRange)))
        return range->location > NotFound ? 0 : range->length;
    const AXValue marker = element->attributeValue(AXAttribute::SelectedTextMarkerRange);
    if (!std::holds_alternative<AXTextMarkerRange>(marker))
        return 0;
    const auto text = valueOf<String>(
        element->parameterizedAttributeValue(AXAttribute::StringForTextMarkerRange, marker));
    return text.has_value() ? text->size() : 0;
}

Range AXUtils::getSelectedTextRange() const {
    const AXElement element = getFocusedUIElement();
    if (element == nullptr)
        return UnknownRange;
    const auto range = valueOf<Range>(element->attributeValue(AXAttribute::SelectedTextRange));
    return range.has_value() && range->location < NotFound ? *range : UnknownRange;
}

std::optional<String> AXUtils::getTextBeforeCaretWithMaxLength(std::int64_t length) const {
    const Range selection = getSelectedTextRange();
    if (selection.location == NotFound)
        return std::nullopt;
    if (selection.location == 0)
        return String();
    const AXElement element = getFocusedUIElement();
    if (element == nullptr)
        return std::nullopt;
    const auto count =
        std::min(static_cast<std::uint64_t>(std::max<std::int64_t>(length, 0)), selection.location);
    return valueOf<String>(element->parameterizedAttributeValue(
        AXAttribute::StringForRange, Range{selection.location - count, count}));
}

} // namespace dresk
