#include "Foundation/PropertyList.h"

#include <algorithm>
#include <cmath>

namespace dresk {

namespace {

std::int64_t truncated(double value) {
    constexpr double Limit = 9223372036854775808.0;
    if (std::isnan(value))
        return 0;
    if (value >= Limit)
        return INT64_MAX;
    return value < -Limit ? INT64_MIN : static_cast<std::int64_t>(value);
}

bool equalDictionaries(const PropertyList::Dictionary& a, const PropertyList::Dictionary& b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (*a[i].key == *b[i].key) { // the usual case: the same order
            if (!(a[i].value == b[i].value))
                return false;
            continue;
        }
        const auto same = std::find_if(b.begin(), b.end(), [&](const PropertyList::Entry& entry) {
            return *entry.key == *a[i].key;
        });
        if (same == b.end() || !(same->value == a[i].value))
            return false;
    }
    return true;
}

} // namespace

std::optional<bool> PropertyList::boolean() const {
    const auto number = real();
    return number.has_value() ? std::optional(*number != 0) : std::nullopt;
}

std::optional<std::int64_t> PropertyList::integer() const {
    if (const auto* value = std::get_if<std::int64_t>(&value_))
        return *value;
    if (const auto* value = std::get_if<bool>(&value_))
        return *value ? 1 : 0;
    if (const auto* value = std::get_if<double>(&value_))
        return truncated(*value);
    return std::nullopt;
}

std::optional<double> PropertyList::real() const {
    if (const auto* value = std::get_if<double>(&value_))
        return *value;
    const auto value = integer();
    return value.has_value() ? std::optional(static_cast<double>(*value)) : std::nullopt;
}

std::optional<Date> PropertyList::date() const {
    const auto* value = std::get_if<Date>(&value_);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

std::optional<PropertyList::UID> PropertyList::uid() const {
    const auto* value = std::get_if<UID>(&value_);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

PropertyList::SharedString PropertyList::sharedString() const {
    const auto* value = std::get_if<SharedString>(&value_);
    return value != nullptr ? *value : nullptr;
}

std::optional<std::vector<String>> PropertyList::strings() const {
    const Array* elements = array();
    if (elements == nullptr)
        return std::nullopt;
    std::vector<String> result;
    for (const PropertyList& element : *elements) {
        if (element.string() == nullptr)
            return std::nullopt;
        result.push_back(*element.string());
    }
    return result;
}

const PropertyList* PropertyList::find(StringView key) const {
    if (const Dictionary* entries = dictionary())
        for (const Entry& entry : *entries)
            if (*entry.key == key)
                return &entry.value;
    return nullptr;
}

bool operator==(const PropertyList& a, const PropertyList& b) {
    if (a.value_ == b.value_) // numbers, and the same shared object
        return true;
    if (a.string() != nullptr && b.string() != nullptr)
        return *a.string() == *b.string();
    if (a.bytes() != nullptr && b.bytes() != nullptr)
        return *a.bytes() == *b.bytes();
    if (a.array() != nullptr && b.array() != nullptr)
        return *a.array() == *b.array();
    return a.dictionary() != nullptr && b.dictionary() != nullptr &&
           equalDictionaries(*a.dictionary(), *b.dictionary());
}

std::optional<PropertyList> PropertyList::propertyListWithData(std::string_view bytes) {
    if (bytes.starts_with("bplist"))
        return readBinaryPropertyList(bytes);
    return readXMLPropertyList(bytes);
}

} // namespace dresk
