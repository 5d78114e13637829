#pragma once

#include <filesystem>
#include <map>
#include <mutex>

#include "Foundation/PropertyList.h"
#include "Foundation/ZPEvent.h"

namespace dresk {

/// Names the preference that was written.
struct PreferenceChangedEventArgs : ZPObject {
    String key;
};

/// What happened when a store was opened. The user is told once if `isDamaged`.
struct PreferenceLoadReport {
    /// Something was there that could not be read.
    bool isDamaged = false;
    /// Where the unreadable files lie now.
    std::vector<std::filesystem::path> keptAside;
    /// The older generation that was read instead; empty if none was.
    std::filesystem::path loadedFrom;
};

/// The user's settings under string keys, with a layer of defaults below them. This body keeps them
/// in memory only. Any thread; subscribers are added and removed while nobody writes.
class PreferenceStore {
  public:
    using Defaults = std::vector<std::pair<String, PropertyList>>;

    PreferenceStore() = default;
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;
    virtual ~PreferenceStore() = default;

    /// The user's value, else the default, else null.
    PropertyList objectForKey(StringView key) const;
    /// False, 0 or null for an absent value or one of another kind.
    bool boolForKey(StringView key) const;
    std::int64_t integerForKey(StringView key) const;
    double doubleForKey(StringView key) const;
    std::optional<String> stringForKey(StringView key) const;
    std::optional<std::string> dataForKey(StringView key) const;
    std::optional<Date> dateForKey(StringView key) const;
    std::optional<std::vector<String>> stringArrayForKey(StringView key) const;
    /// Whether the user's layer has the key.
    bool isSetForKey(StringView key) const;
    /// The user's layer, by key.
    std::map<String, PropertyList> userValues() const;

    /// Stores a value; null removes it, so that the default shows again. Raises
    /// `preferenceChanged` on the calling thread, outside all locks.
    void setObject(PropertyList value, StringView forKey);
    void setBool(bool value, StringView forKey) { setObject(PropertyList(value), forKey); }
    void setInteger(std::int64_t value, StringView forKey) {
        setObject(PropertyList(value), forKey);
    }
    void setDouble(double value, StringView forKey) { setObject(PropertyList(value), forKey); }
    void setString(String value, StringView forKey) {
        setObject(PropertyList(std::move(value)), forKey);
    }
    void setStringArray(const std::vector<String>& value, StringView forKey);
    void removeObject(StringView forKey) { setObject({}, forKey); }
    /// Adds to the defaults; a key given before is replaced.
    void registerDefaults(const Defaults& defaults);

    /// Raised with PreferenceChangedEventArgs.
    ZPEvent& preferenceChanged() { return preferenceChanged_; }

    /// Writes what is not yet written. False if that failed; everything stays in memory and is
    /// tried again later.
    virtual bool synchronize() { return true; }
    virtual PreferenceLoadReport loadReport() const { return {}; }
    /// The value in the generation before the present one; null if there is none.
    virtual PropertyList previousObjectForKey(StringView key) const;
    /// Keeps bytes beside the store under a dated name, for a person to look at. The path, or
    /// empty if that failed.
    virtual std::filesystem::path keepCopy(std::string_view bytes, const std::string& name);

  protected:
    /// Called after each change, outside the lock.
    virtual void valuesChanged() {}
    void setUserValues(std::map<String, PropertyList> values);

  private:
    mutable std::mutex mutex_;
    std::map<String, PropertyList> values_;
    std::map<String, PropertyList> defaults_;
    ZPEvent preferenceChanged_;
};

} // namespace dresk
