#include "input/AXUtils.h"

#include <algorithm>

#include "Foundation/RTF.h"
#include "input/Desktop.h"

namespace dresk {

namespace {

constexpr Range UnknownRange{NotFound, 0};

template <class T>
std::optional<T> valueOf(const AXValue& value) {
    const T* found = std::get_if<T>(&value);
    return found != nullptr ? std::optional(*found) : std::nullopt;
}

AXElement elementValue(const AXElement& element, StringView name) {
    return valueOf<AXElement>(element->attributeValue(name)).value_or(nullptr);
}

AXElement firstChild(const AXElement& element) {
    const auto children =
        valueOf<std::vector<AXElement>>(element->attributeValue(AXAttribute::Children));
    return children.has_value() && !children->empty() ? children->front() : nullptr;
}

} // namespace

Point ConvertToNSPointFromCGPoint(Screens& screens, Point point) {
    const auto all = screens.screens();
    return {point.x, (all.empty() ? 0 : all.front().frame.height) - point.y};
}

std::optional<Point> NSPointFromCFTypeRef(Screens& screens, const AXValue& value) {
    const auto point = valueOf<Point>(value);
    if (!point.has_value())
        return std::nullopt;
    return ConvertToNSPointFromCGPoint(screens, *point);
}

std::optional<Rect> NSRectFromCFTypeRef(Screens& screens, const AXValue& value) {
    const auto rect = valueOf<Rect>(value);
    if (!rect.has_value())
        return std::nullopt;
    const Point origin = ConvertToNSPointFromCGPoint(screens, {rect->x, rect->y});
    return Rect{origin.x, origin.y, rect->width, rect->height};
}

AXElement AXUtils::frontApplication() const {
    return desktop_.accessibility().applicationElement(desktop_.processes().frontProcess());
}

AXElement AXUtils::getFocusedUIElement() const {
    const AXElement application = frontApplication();
    return application != nullptr ? elementValue(application, AXAttribute::FocusedUIElement)
                                  : nullptr;
}

AXElement AXUtils::getFocusedTopLevelUIElement() const {
    const AXElement element = getFocusedUIElement();
    return element != nullptr ? elementValue(element, AXAttribute::TopLevelUIElement) : nullptr;
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

Rect AXUtils::getSelectedTextBound() const {
    const AXElement element = getFocusedUIElement();
    if (element == nullptr)
        return {};
    if (const auto range = valueOf<Range>(element->attributeValue(AXAttribute::SelectedTextRange)))
        return boundOfRange(*element, *range);
    const AXValue marker = element->attributeValue(AXAttribute::SelectedTextMarkerRange);
    if (!std::holds_alternative<AXTextMarkerRange>(marker))
        return {};
    return NSRectFromCFTypeRef(
               desktop_.screens(),
               element->parameterizedAttributeValue(AXAttribute::BoundsForTextMarkerRange, marker))
        .value_or(Rect{});
}

Rect AXUtils::boundOfRange(AXUIElement& element, Range range) const {
    // A caret has no width, so the character before it stands for it.
    if (range.length == 0)
        range = {range.location > 0 ? range.location - 1 : 0, 1};
    if (const auto bound = NSRectFromCFTypeRef(
            desktop_.screens(),
            element.parameterizedAttributeValue(AXAttribute::BoundsForRange, range)))
        return *bound;
    const auto position =
        NSPointFromCFTypeRef(desktop_.screens(), element.attributeValue(AXAttribute::Position));
    return position.has_value() ? Rect{position->x, position->y, 1, 1} : Rect{};
}

Rect AXUtils::getFocusedUIElementBound() const {
    const AXElement element = getFocusedUIElement();
    if (element == nullptr)
        return {};
    const auto position =
        NSPointFromCFTypeRef(desktop_.screens(), element->attributeValue(AXAttribute::Position));
    const auto size = valueOf<Size>(element->attributeValue(AXAttribute::Size));
    if (!position.has_value() || !size.has_value())
        return {};
    return {position->x, position->y, size->width, size->height};
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

std::optional<String> AXUtils::getValue() const {
    const AXElement element = getFocusedUIElement();
    if (element == nullptr)
        return std::nullopt;
    return valueOf<String>(element->attributeValue(AXAttribute::Value));
}

std::optional<AttributedString> AXUtils::copySelectedAttributedString() const {
    const AXElement element = getFocusedUIElement();
    if (element == nullptr)
        return std::nullopt;
    const auto range = valueOf<Range>(element->attributeValue(AXAttribute::SelectedTextRange));
    if (!range.has_value() || range->location >= NotFound || range->length == 0)
        return std::nullopt;
    const auto bytes = valueOf<std::string>(
        element->parameterizedAttributeValue(AXAttribute::RTFForRange, *range));
    if (bytes.has_value())
        if (auto text = attributedStringWithRTF(*bytes))
            return text;
    return valueOf<AttributedString>(
        element->parameterizedAttributeValue(AXAttribute::AttributedStringForRange, *range));
}

AXElement AXUtils::getHelpSearchFieldUIElement() const {
    const AXElement application = frontApplication();
    if (application == nullptr)
        return nullptr;
    const AXElement menuBar = elementValue(application, AXAttribute::MenuBar);
    if (menuBar == nullptr)
        return nullptr;
    const auto menus =
        valueOf<std::vector<AXElement>>(menuBar->attributeValue(AXAttribute::Children));
    AXElement element = menus.has_value() && !menus->empty() ? menus->back() : nullptr;
    for (int depth = 0; depth < 3 && element != nullptr; ++depth)
        element = firstChild(element);
    return element;
}

} // namespace dresk
