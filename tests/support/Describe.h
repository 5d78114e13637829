#pragma once

#include <set>
#include <string>

#include "Foundation/KeyedUnarchiver.h"

namespace dresk::test {

/// One-line text form of an archived object: containers by content, other objects by class.
inline std::string describe(const ArchivedObject& object, unsigned depth = 0) {
    if (object.isNull() || depth > 20)
        return "null";
    if (const auto text = object.string())
        return '"' + toUTF8(*text) + '"';
    if (const auto bytes = object.bytes())
        return "<" + std::to_string(bytes->size()) + " bytes>";
    if (const auto date = object.date())
        return "@" + std::to_string(static_cast<long long>(date->seconds));
    if (const auto entries = object.dictionary()) {
        std::set<std::string> sorted;
        for (const auto& [key, value] : *entries)
            sorted.insert(describe(key, depth + 1) + ": " + describe(value, depth + 1));
        std::string result = "{";
        for (const std::string& entry : sorted)
            result += (result.size() > 1 ? ", " : "") + entry;
        return result + "}";
    }
    if (const auto elements = object.array()) {
        std::string result = "[";
        for (const ArchivedObject& element : *elements)
            result += (result.size() > 1 ? ", " : "") + describe(element, depth + 1);
        return result + "]";
    }
    const PropertyList number = object.plainNumber();
    if (number.isBoolean())
        return *number.boolean() ? "true" : "false";
    if (!number.isNull())
        return std::to_string(*number.integer());
    return toUTF8(object.className());
}

} // namespace dresk::test
