#include "input/freedesktop/AtspiElement.h"

#include <algorithm>
#include <array>

#include "Foundation/RunLoop.h"
#include "input/freedesktop/AtspiRoles.h"

namespace dresk {

namespace {

constexpr int DeepestElement = 64;
constexpr int MostChildren = 200;

template <class T>
AXValue valueOf(std::optional<T> answer) {
    return answer.has_value() ? AXValue(std::move(*answer)) : AXValue();
}

AXValue elementValue(const AtspiHandle& known, GObjectRef<AtspiAccessible> other) {
    if (other == nullptr)
        return {};
    return AXElement(std::make_shared<AtspiElement>(
        std::make_shared<AtspiHandle>(known.queue, known.process, std::move(other))));
}

GObjectRef<AtspiAccessible> parentOf(AtspiAccessible* element) {
    return GObjectRef<AtspiAccessible>(atspi_accessible_get_parent(element, nullptr));
}

std::optional<AtspiRole> roleOf(AtspiAccessible* element) {
    GError* error = nullptr;
    const AtspiRole role = atspi_accessible_get_role(element, &error);
    const bool failed = error != nullptr || role == ATSPI_ROLE_INVALID;
    g_clear_error(&error);
    return failed ? std::nullopt : std::optional(role);
}

AXValue roleValue(AtspiAccessible* element) {
    const auto role = roleOf(element);
    if (!role.has_value())
        return {};
    return String(axRole(*role, mayBeSheet(*role) && hasState(element, ATSPI_STATE_MODAL)));
}

// Search fields are told apart by what toolkits and pages say of them beside the role.
AXValue subroleValue(AtspiAccessible* element) {
    const auto role = roleOf(element);
    if (!role.has_value())
        return {};
    if (*role == ATSPI_ROLE_PASSWORD_TEXT)
        return String(u"AXSecureTextField");
    const std::unique_ptr<GHashTable, decltype(&g_hash_table_unref)> attributes(
        atspi_accessible_get_attributes(element, nullptr), &g_hash_table_unref);
    if (attributes == nullptr)
        return {};
    constexpr std::array<std::pair<const char*, std::string_view>, 3> marks = {{
        {"xml-roles", "searchbox"},
        {"text-input-type", "search"},
        {"placeholder-type", "search"},
    }};
    for (const auto& [name, mark] : marks) {
        const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes.get(), name));
        if (value != nullptr && std::string_view(value) == mark)
            return String(u"AXSearchField");
    }
    return {};
}

// The last one below the application.
AXValue topLevelValue(const AtspiHandle& handle, double deadline) {
    GObjectRef<AtspiAccessible> element = sharedRef(handle.accessible);
    for (int depth = 0; depth < DeepestElement && steadySeconds() < deadline; ++depth) {
        GObjectRef<AtspiAccessible> parent = parentOf(element.get());
        if (parent == nullptr)
            return {};
        if (roleOf(parent.get()) == ATSPI_ROLE_APPLICATION)
            return elementValue(handle, std::move(element));
        element = std::move(parent);
    }
    return {};
}

AXValue childrenValue(const AtspiHandle& handle, double deadline) {
    std::vector<AXElement> children;
    const int count = atspi_accessible_get_child_count(handle.accessible, nullptr);
    if (count < 0)
        return {};
    for (int i = 0; i < std::min(count, MostChildren); ++i) {
        if (steadySeconds() >= deadline)
            return {};
        const AXValue child =
            elementValue(handle, GObjectRef<AtspiAccessible>(atspi_accessible_get_child_at_index(
                                     handle.accessible, i, nullptr)));
        if (const auto* element = std::get_if<AXElement>(&child))
            children.push_back(*element);
    }
    return children;
}

AXValue extentsValue(AtspiAccessible* element, bool position) {
    const GObjectRef<AtspiComponent> component(atspi_accessible_get_component_iface(element));
    if (component == nullptr)
        return {};
    AtspiRect* rect =
        atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, nullptr);
    if (rect == nullptr)
        return {};
    const Point origin{static_cast<double>(rect->x), static_cast<double>(rect->y)};
    const Size size{static_cast<double>(rect->width), static_cast<double>(rect->height)};
    g_boxed_free(atspi_rect_get_type(), rect);
    if (size.width <= 0 || size.height <= 0)
        return {};
    return position ? AXValue(origin) : AXValue(size);
}

AXValue urlValue(AtspiAccessible* element, double deadline) {
    const auto role = roleOf(element);
    if (!role.has_value() || !isWebArea(*role))
        return {};
    const GObjectRef<AtspiDocument> document(atspi_accessible_get_document_iface(element));
    if (document == nullptr)
        return {};
    // Browsers do not agree on the name.
    for (const char* name : {"DocURL", "URI"}) {
        if (steadySeconds() >= deadline)
            return {};
        const GString8 address(atspi_document_get_document_attribute_value(
            document.get(), const_cast<char*>(name), nullptr));
        if (address != nullptr && *address != '\0')
            return fromUTF8(address.get());
    }
    return {};
}

AXValue attribute(AtspiState& state, const AtspiHandle& handle, StringView name, double deadline) {
    AtspiAccessible* const element = handle.accessible;
    if (name == AXAttribute::SelectedTextRange)
        return valueOf(state.text.selectedRange(element, deadline));
    if (name == AXAttribute::Value)
        return valueOf(ElementText::whole(element, deadline));
    if (name == AXAttribute::Role)
        return roleValue(element);
    if (name == AXAttribute::Subrole)
        return subroleValue(element);
    if (name == AXAttribute::Parent)
        return elementValue(handle, parentOf(element));
    if (name == AXAttribute::Children)
        return childrenValue(handle, deadline);
    if (name == AXAttribute::TopLevelUIElement)
        return topLevelValue(handle, deadline);
    if (name == AXAttribute::Position || name == AXAttribute::Size)
        return extentsValue(element, name == AXAttribute::Position);
    if (name == AXAttribute::Url)
        return urlValue(element, deadline);
    return {};
}

} // namespace

AXValue AtspiApplication::attributeValue(StringView name) {
    if (name == AXAttribute::Role)
        return String(u"AXApplication");
    if (name != AXAttribute::FocusedUIElement)
        return {};
    return queue_->ask(process_, [queue = queue_, process = process_](AtspiState& state, double) {
        AtspiAccessible* focused = state.focus.focusedElement(process);
        if (focused == nullptr) {
            queue->noteSilent(process);
            return AXValue();
        }
        return AXValue(AXElement(std::make_shared<AtspiElement>(
            std::make_shared<AtspiHandle>(queue, process, sharedRef(focused)))));
    });
}

AXValue AtspiElement::attributeValue(StringView name) {
    return handle_->queue->ask(handle_->process, [handle = handle_, name = String(name)](
                                                     AtspiState& state, double deadline) {
        return attribute(state, *handle, name, deadline);
    });
}

AXValue AtspiElement::parameterizedAttributeValue(StringView name, const AXValue& parameter) {
    const Range* units = std::get_if<Range>(&parameter);
    if (units == nullptr)
        return {};
    return handle_->queue->ask(
        handle_->process,
        [handle = handle_, name = String(name), units = *units](AtspiState& state,
                                                                double deadline) -> AXValue {
            if (name == AXAttribute::BoundsForRange)
                return valueOf(state.text.bounds(handle->accessible, units, deadline));
            const bool attributed = name == AXAttribute::AttributedStringForRange;
            if (!attributed && name != AXAttribute::StringForRange)
                return {};
            auto text = state.text.string(handle->accessible, units, deadline);
            if (attributed && text.has_value())
                return AttributedString(*text);
            return valueOf(std::move(text));
        });
}

} // namespace dresk
