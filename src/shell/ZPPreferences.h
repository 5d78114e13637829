#pragma once

#include "Foundation/PreferenceStore.h"

namespace dresk {

/// Writes preferences and tells of it by an event of its own, which only these writings raise. One
/// exists for the application. Any thread; the event is raised on the thread that writes.
class ZPPreferences {
  public:
    /// `store` outlives it.
    explicit ZPPreferences(PreferenceStore& store) : store_(store) {}
    ZPPreferences(const ZPPreferences&) = delete;
    ZPPreferences& operator=(const ZPPreferences&) = delete;

    void setObject(PropertyList value, StringView forKey);
    void setBool(bool value, StringView forKey) { setObject(PropertyList(value), forKey); }
    void setInteger(std::int64_t value, StringView forKey) {
        setObject(PropertyList(value), forKey);
    }
    /// Raises the event without writing.
    void notifyPreferenceChanged(StringView key);
    /// Raised with PreferenceChangedEventArgs.
    ZPEvent& preferenceChanged() { return preferenceChanged_; }

  private:
    PreferenceStore& store_;
    ZPEvent preferenceChanged_;
};

/// Writes preferences without the event of ZPPreferences.
struct ZPPrefUtils {
    static void setObject(PreferenceStore& store, PropertyList value, StringView forKey) {
        store.setObject(std::move(value), forKey);
    }
    static void setBool(PreferenceStore& store, bool value, StringView forKey) {
        store.setBool(value, forKey);
    }
};

} // namespace dresk
