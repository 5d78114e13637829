#include "language/SnippetVariableParams.h"

#include "Foundation/StringNumbers.h"

namespace dresk {

std::int64_t integerForKey(const SnippetVariableParams& params, StringView key,
                           std::int64_t defaultValue) {
    const auto found = params.find(key);
    return found != params.end() ? integerValue(found->second) : defaultValue;
}

double doubleForKey(const SnippetVariableParams& params, StringView key, double defaultValue) {
    const auto found = params.find(key);
    return found != params.end() ? doubleValue(found->second) : defaultValue;
}

std::optional<String> stringForKey(const SnippetVariableParams& params, StringView key) {
    const auto found = params.find(key);
    if (found == params.end())
        return std::nullopt;
    return found->second;
}

void SnippetParamsText::add(StringView param) {
    if (!text_.empty())
        text_.push_back(u' ');
    text_.append(param);
}

void SnippetParamsText::add(StringView name, StringView value) {
    add(name);
    text_.push_back(u':');
    text_.append(value);
}

void SnippetParamsText::add(StringView name, std::int64_t value) {
    add(name, fromUTF8(std::to_string(value)));
}

void SnippetParamsText::addParams(const std::optional<String>& params) {
    if (params.has_value())
        add(*params);
}

} // namespace dresk
