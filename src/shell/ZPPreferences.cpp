#include "shell/ZPPreferences.h"

namespace dresk {

void ZPPreferences::setObject(PropertyList value, StringView forKey) {
    store_.setObject(std::move(value), forKey);
    notifyPreferenceChanged(forKey);
}

void ZPPreferences::notifyPreferenceChanged(StringView key) {
    PreferenceChangedEventArgs args;
    args.key = key;
    preferenceChanged_.raise(&args);
}

} // namespace dresk
