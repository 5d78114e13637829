#include "Foundation/PreferenceStore.h"

namespace dresk {

PropertyList PreferenceStore::objectForKey(StringView key) const {
    const String name(key);
    const std::lock_guard lock(mutex_);
    for (const auto* layer : {&values_, &defaults_}) {
        const auto found = layer->find(name);
        if (found != layer->end())
            return found->second;
    }
    return {};
}

bool PreferenceStore::boolForKey(StringView key) const {
    return objectForKey(key).boolean().value_or(false);
}

std::int64_t PreferenceStore::integerForKey(StringView key) const {
    return objectForKey(key).integer().value_or(0);
}

double PreferenceStore::doubleForKey(StringView key) const {
    return objectForKey(key).real().value_or(0);
}

std::optional<String> PreferenceStore::stringForKey(StringView key) const {
    const PropertyList value = objectForKey(key);
    return value.string() != nullptr ? std::optional(*value.string()) : std::nullopt;
}

std::optional<std::string> PreferenceStore::dataForKey(StringView key) const {
    const PropertyList value = objectForKey(key);
    return value.bytes() != nullptr ? std::optional(*value.bytes()) : std::nullopt;
}

std::optional<Date> PreferenceStore::dateForKey(StringView key) const {
    return objectForKey(key).date();
}

std::optional<std::vector<String>> PreferenceStore::stringArrayForKey(StringView key) const {
    return objectForKey(key).strings();
}

bool PreferenceStore::isSetForKey(StringView key) const {
    const std::lock_guard lock(mutex_);
    return values_.count(String(key)) != 0;
}

std::map<String, PropertyList> PreferenceStore::userValues() const {
    const std::lock_guard lock(mutex_);
    return values_;
}

void PreferenceStore::setObject(PropertyList value, StringView forKey) {
    PreferenceChangedEventArgs args;
    args.key = forKey;
    {
        const std::lock_guard lock(mutex_);
        if (value.isNull())
            values_.erase(args.key);
        else
            values_.insert_or_assign(args.key, std::move(value));
    }
    valuesChanged();
    preferenceChanged_.raise(&args);
}

void PreferenceStore::setStringArray(const std::vector<String>& value, StringView forKey) {
    PropertyList::Array elements;
    for (const String& text : value)
        elements.emplace_back(text);
    setObject(PropertyList(std::move(elements)), forKey);
}

void PreferenceStore::registerDefaults(const Defaults& defaults) {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, value] : defaults)
        defaults_.insert_or_assign(key, value);
}

void PreferenceStore::setUserValues(std::map<String, PropertyList> values) {
    const std::lock_guard lock(mutex_);
    values_ = std::move(values);
}

PropertyList PreferenceStore::previousObjectForKey(StringView) const {
    return {};
}

std::filesystem::path PreferenceStore::keepCopy(std::string_view, const std::string&) {
    return {};
}

} // namespace dresk
