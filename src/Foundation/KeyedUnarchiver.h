#pragma once

#include <map>
#include <typeindex>
#include <unordered_map>

#include "Foundation/ArchivedValue.h"

namespace dresk {

class KeyedUnarchiver;

/// A class as an archive describes it.
struct ArchivedClassRecord {
    /// False for a damaged record.
    bool isValid = false;
    String name;
    /// Null where the archive has only the name.
    std::optional<std::vector<String>> chain;

    bool isKindOfClass(StringView className) const;
};

/// A view of one object, or plain value, of a keyed archive. Cheap to copy; valid as long as its
/// unarchiver. What is missing or of another kind reads as null, 0 or false.
class ArchivedObject {
  public:
    /// Null.
    ArchivedObject() = default;

    bool isNull() const { return value_ == nullptr; }
    /// Its number in the archive; 0 for null and for a value that stands inside another object.
    std::uint64_t uid() const { return uid_; }
    /// Empty for a plain value.
    String className() const;
    /// Decided by the chain of classes, or by the name alone where the archive has no chain.
    bool isKindOfClass(StringView name) const;

    /// The object as a value, in each of the forms in which archives have it.
    std::optional<String> string() const;
    std::optional<std::string> bytes() const;
    std::optional<Date> date() const;
    std::optional<std::int64_t> integer() const;
    std::optional<double> real() const;
    /// The number as it stands, integer, real or boolean; null for anything else.
    PropertyList plainNumber() const;
    /// Elements of an array, a set or an ordered set.
    std::optional<std::vector<ArchivedObject>> array() const;
    std::optional<std::vector<std::pair<ArchivedObject, ArchivedObject>>> dictionary() const;
    /// The value of a dictionary object under a key that is a string; null if there is none.
    ArchivedObject valueForKey(StringView key) const;
    /// The strings of an array, others left out; null for anything else.
    std::optional<std::vector<String>> strings() const;
    /// Bridges to a property list: strings, bytes, numbers, dates, arrays and dictionaries of
    /// such. Null for other objects and beyond a fixed depth and size.
    PropertyList propertyList() const;

    /// The members under which its class archived it.
    bool containsValue(StringView key) const { return member(key) != nullptr; }
    ArchivedObject object(StringView key) const;
    std::int64_t integer(StringView key) const;
    double real(StringView key) const;
    bool boolean(StringView key) const;

    /// The object lifted out of the archive, to be kept as it is. No value for null.
    ArchivedValue archived() const;

    KeyedUnarchiver& unarchiver() const { return *unarchiver_; }

  private:
    friend class KeyedUnarchiver;
    ArchivedObject(KeyedUnarchiver& unarchiver, const PropertyList* value, std::uint64_t uid)
        : unarchiver_(&unarchiver), value_(value), uid_(uid) {}

    const PropertyList* member(StringView key) const;
    const PropertyList* plainMember(StringView key) const;
    const ArchivedClassRecord* classRecord() const;
    std::vector<ArchivedObject> elements(StringView listKey, StringView itemKey) const;

    KeyedUnarchiver* unarchiver_ = nullptr;
    const PropertyList* value_ = nullptr;
    std::uint64_t uid_ = 0;
};

/// Reads a keyed archive. One thread at a time.
class KeyedUnarchiver {
  public:
    /// Null if the bytes are no keyed archive.
    static std::unique_ptr<KeyedUnarchiver> initForReadingWithData(std::string_view bytes);
    KeyedUnarchiver(const KeyedUnarchiver&) = delete;
    KeyedUnarchiver& operator=(const KeyedUnarchiver&) = delete;

    /// Looks into values that were lifted out of an archive. `graph` outlives the unarchiver.
    explicit KeyedUnarchiver(const ArchivedGraph& graph);
    ArchivedObject objectWithNumber(std::uint64_t number);

    /// What stands under "root", or else the object under the first key. Null if there is none.
    ArchivedObject root();

    /// Makes at most one T of an archived object, so that what the archive shares stays shared.
    /// Null while that very object is being made: a cycle ends there.
    template <class T, class Make>
    std::shared_ptr<T> once(const ArchivedObject& object, Make make) {
        if (object.uid() == 0)
            return make();
        const auto [known, isNew] =
            made_.try_emplace({object.uid(), std::type_index(typeid(T))}, nullptr);
        if (!isNew)
            return std::static_pointer_cast<T>(known->second);
        std::shared_ptr<T> result = make();
        known->second = result;
        return result;
    }

    /// Set by whoever had to leave something out that was there. A caller that would overwrite
    /// the source keeps a copy of it first.
    void noteLoss() { lossless_ = false; }
    bool isLossless() const { return lossless_; }
    /// Counts copies of what the archive shares; false, with a loss noted, when they exceed a
    /// fixed multiple of the archive.
    bool spend(std::uint64_t bytes);

  private:
    friend class ArchivedObject;
    KeyedUnarchiver(PropertyList archive, std::uint64_t copyLimit);
    ArchivedObject resolve(const PropertyList* value);
    const ArchivedClassRecord& classRecord(std::uint64_t uid);
    std::uint64_t lift(std::uint64_t uid);
    PropertyList lifted(const PropertyList& value);
    ArchivedValue lift(const ArchivedObject& object);

    PropertyList archive_;
    const PropertyList::Array* objects_ = nullptr;
    bool lossless_ = true;
    std::uint64_t copyLimit_ = UINT64_MAX;
    std::map<std::pair<std::uint64_t, std::type_index>, std::shared_ptr<void>> made_;
    std::unordered_map<std::uint64_t, ArchivedClassRecord> classes_;
    std::shared_ptr<ArchivedGraph> graph_;
    std::unordered_map<std::uint64_t, std::uint64_t> liftedNumbers_;
    std::vector<std::uint64_t> pendingLifts_;
};

} // namespace dresk
