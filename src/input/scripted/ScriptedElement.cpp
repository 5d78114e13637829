#include "input/scripted/ScriptedElement.h"

namespace dresk {

AXValue ScriptedElement::attributeValue(StringView name) {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(name);
    return found != values_.end() ? found->second : AXValue();
}

AXValue ScriptedElement::parameterizedAttributeValue(StringView name, const AXValue& parameter) {
    const std::lock_guard lock(mutex_);
    asked_.emplace_back(name, parameter);
    const auto found = values_.find(name);
    if (found != values_.end())
        return found->second;
    const auto text = values_.find(AXAttribute::Value);
    const auto* range = std::get_if<Range>(&parameter);
    if (name != AXAttribute::StringForRange || range == nullptr || text == values_.end())
        return {};
    const auto* value = std::get_if<String>(&text->second);
    if (value == nullptr || range->end() > value->size())
        return {};
    return value->substr(range->location, range->length);
}

void ScriptedElement::set(StringView name, AXValue value) {
    const std::lock_guard lock(mutex_);
    values_.insert_or_assign(String(name), std::move(value));
}

std::vector<AXValue> ScriptedElement::asked(StringView name) const {
    const std::lock_guard lock(mutex_);
    std::vector<AXValue> parameters;
    for (const auto& [question, parameter] : asked_)
        if (question == name)
            parameters.push_back(parameter);
    return parameters;
}

} // namespace dresk
