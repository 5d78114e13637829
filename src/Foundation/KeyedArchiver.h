#pragma once

#include <map>
#include <span>
#include <unordered_map>

#include "Foundation/ArchivedValue.h"

namespace dresk {

/// A class and its superclasses as an archive names them: itself first, the root class last. It
/// must outlive the archiver.
using ArchivedClass = std::span<const StringView>;

/// Makes a keyed archive: a table of objects that refer to each other by number. Objects are added
/// one by one, each call giving the number under which others refer to it. Number 0 is null. One
/// thread at a time.
class KeyedArchiver {
  public:
    using UID = PropertyList::UID;
    class Object;

    KeyedArchiver();
    KeyedArchiver(const KeyedArchiver&) = delete;
    KeyedArchiver& operator=(const KeyedArchiver&) = delete;

    UID addString(StringView text) { return append(PropertyList(String(text))); }
    /// For texts that come again and again: equal ones are one object.
    UID addName(StringView text);
    /// Null for an absent string.
    UID addString(const std::optional<String>& text);
    UID addBytes(std::string bytes) { return append(PropertyList(std::move(bytes))); }
    UID addInteger(std::int64_t value) { return append(PropertyList(value)); }
    UID addReal(double value) { return append(PropertyList(value)); }
    UID addBoolean(bool value) { return append(PropertyList(value)); }
    /// Null for an absent date.
    UID addDate(std::optional<Date> date);
    enum class Mutability { Immutable, Mutable };
    UID addArray(const std::vector<UID>& elements, Mutability mutability);
    UID addStrings(const std::optional<std::vector<String>>& strings);
    UID addDictionary(const std::vector<std::pair<UID, UID>>& entries, Mutability mutability);
    /// A plain property list as objects: its arrays and dictionaries become such objects.
    UID addPropertyList(const PropertyList& value);
    /// An object that was read from another archive. `overrides` replace or add members of the
    /// object itself; a null value removes one.
    UID addArchived(const ArchivedValue& value,
                    const std::vector<PropertyList::Entry>& overrides = {});
    /// Adds an object at most once: later calls with the same identity give the same number.
    template <class Make>
    UID once(const void* identity, Make make) {
        const auto known = identities_.find(identity);
        if (known != identities_.end())
            return known->second;
        const UID uid = make();
        identities_.emplace(identity, uid);
        return uid;
    }

    /// The whole archive with `root` under "root". Add nothing afterwards.
    PropertyList finishEncoding(UID root);

  private:
    UID append(PropertyList value);
    UID classUID(ArchivedClass chain);
    UID ownClassUID(ArchivedClass chain);
    UID classUID(const PropertyList& record);
    PropertyList::SharedString key(StringView name);
    class Transfer;

    std::vector<PropertyList> objects_;
    std::unordered_map<const void*, UID> identities_;
    std::unordered_map<String, UID> strings_;
    std::map<String, UID> classes_;
    /// By the address of the chain, which is a constant of the program.
    std::unordered_map<const StringView*, UID> ownClasses_;
    std::unordered_map<StringView, PropertyList::SharedString> keys_;
    std::map<std::pair<const ArchivedGraph*, std::uint64_t>, UID> transferred_;
    std::vector<std::shared_ptr<const ArchivedGraph>> graphs_;
};

/// One object while its members are encoded, in the order of the calls. It takes its number when it
/// is made, before its members take theirs.
class KeyedArchiver::Object {
  public:
    Object(KeyedArchiver& archiver, ArchivedClass chain);

    void encodeObject(UID value, StringView key) { encodeValue(PropertyList(value), key); }
    void encodeInteger(std::int64_t value, StringView key) {
        encodeValue(PropertyList(value), key);
    }
    void encodeReal(double value, StringView key) { encodeValue(PropertyList(value), key); }
    void encodeBool(bool value, StringView key) { encodeValue(PropertyList(value), key); }
    /// A value inside the object instead of a reference to one.
    void encodeValue(PropertyList value, StringView key);
    UID finish();

  private:
    KeyedArchiver& archiver_;
    ArchivedClass class_;
    UID uid_;
    PropertyList::Dictionary members_;
};

} // namespace dresk
