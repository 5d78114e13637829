#include "Foundation/KeyedArchiver.h"

#include <array>

namespace dresk {

namespace {

constexpr std::int64_t ArchiveVersion = 100000;

constexpr std::array<StringView, 2> DateClass{u"NSDate", u"NSObject"};
constexpr std::array<StringView, 2> ArrayClass{u"NSArray", u"NSObject"};
constexpr std::array<StringView, 3> MutableArrayClass{u"NSMutableArray", u"NSArray", u"NSObject"};
constexpr std::array<StringView, 2> DictionaryClass{u"NSDictionary", u"NSObject"};
constexpr std::array<StringView, 3> MutableDictionaryClass{u"NSMutableDictionary", u"NSDictionary",
                                                           u"NSObject"};

PropertyList references(const std::vector<PropertyList::UID>& uids) {
    PropertyList::Array elements;
    elements.reserve(uids.size());
    for (const PropertyList::UID uid : uids)
        elements.emplace_back(uid);
    return PropertyList(std::move(elements));
}

} // namespace

KeyedArchiver::KeyedArchiver() {
    objects_.emplace_back(String(u"$null"));
}

KeyedArchiver::UID KeyedArchiver::append(PropertyList value) {
    objects_.push_back(std::move(value));
    return {objects_.size() - 1};
}

PropertyList::SharedString KeyedArchiver::key(StringView name) {
    const auto known = keys_.find(name);
    if (known != keys_.end())
        return known->second;
    auto shared = std::make_shared<const String>(name);
    keys_.emplace(*shared, shared);
    return shared;
}

KeyedArchiver::UID KeyedArchiver::addName(StringView text) {
    const auto [known, isNew] = strings_.try_emplace(String(text));
    if (isNew)
        known->second = addString(text);
    return known->second;
}

KeyedArchiver::UID KeyedArchiver::addString(const std::optional<String>& text) {
    return text.has_value() ? addString(StringView(*text)) : UID{};
}

KeyedArchiver::UID KeyedArchiver::addDate(std::optional<Date> date) {
    if (!date.has_value())
        return {};
    Object object(*this, DateClass);
    object.encodeReal(date->seconds, u"NS.time");
    return object.finish();
}

KeyedArchiver::UID KeyedArchiver::addArray(const std::vector<UID>& elements,
                                           Mutability mutability) {
    Object object(*this, mutability == Mutability::Mutable ? ArchivedClass(MutableArrayClass)
                                                           : ArchivedClass(ArrayClass));
    object.encodeValue(references(elements), u"NS.objects");
    return object.finish();
}

KeyedArchiver::UID KeyedArchiver::addStrings(const std::optional<std::vector<String>>& strings) {
    if (!strings.has_value())
        return {};
    std::vector<UID> elements;
    for (const String& text : *strings)
        elements.push_back(addString(StringView(text)));
    return addArray(elements, Mutability::Immutable);
}

KeyedArchiver::UID KeyedArchiver::addDictionary(const std::vector<std::pair<UID, UID>>& entries,
                                                Mutability mutability) {
    std::vector<UID> keys;
    std::vector<UID> values;
    for (const auto& [key, value] : entries) {
        keys.push_back(key);
        values.push_back(value);
    }
    Object object(*this, mutability == Mutability::Mutable ? ArchivedClass(MutableDictionaryClass)
                                                           : ArchivedClass(DictionaryClass));
    object.encodeValue(references(keys), u"NS.keys");
    object.encodeValue(references(values), u"NS.objects");
    return object.finish();
}

KeyedArchiver::UID KeyedArchiver::addPropertyList(const PropertyList& value) {
    if (const String* text = value.string())
        return addString(StringView(*text));
    if (value.date().has_value())
        return addDate(value.date());
    if (const auto* elements = value.array()) {
        std::vector<UID> uids;
        for (const PropertyList& element : *elements)
            uids.push_back(addPropertyList(element));
        return addArray(uids, Mutability::Immutable);
    }
    if (const auto* members = value.dictionary()) {
        std::vector<std::pair<UID, UID>> uids;
        for (const PropertyList::Entry& member : *members)
            uids.emplace_back(addName(*member.key), addPropertyList(member.value));
        return addDictionary(uids, Mutability::Immutable);
    }
    return value.isNull() || value.uid().has_value() ? UID{} : append(value);
}

KeyedArchiver::UID KeyedArchiver::classUID(ArchivedClass chain) {
    String joined;
    for (const StringView name : chain)
        joined.append(name).push_back(u'\n');
    const auto [known, isNew] = classes_.try_emplace(std::move(joined));
    if (isNew) {
        PropertyList::Array names;
        for (const StringView name : chain)
            names.emplace_back(key(name));
        PropertyList::Dictionary record;
        record.emplace_back(key(u"$classname"), PropertyList(key(chain.front())));
        record.emplace_back(key(u"$classes"), PropertyList(std::move(names)));
        known->second = append(PropertyList(std::move(record)));
    }
    return known->second;
}

KeyedArchiver::UID KeyedArchiver::ownClassUID(ArchivedClass chain) {
    const auto [known, isNew] = ownClasses_.try_emplace(chain.data());
    if (isNew)
        known->second = classUID(chain);
    return known->second;
}

// A class record of another archive; one like ours becomes ours, any other is taken as it is.
KeyedArchiver::UID KeyedArchiver::classUID(const PropertyList& record) {
    const PropertyList* chain = record.find(u"$classes");
    const PropertyList* name = record.find(u"$classname");
    const auto names = chain != nullptr ? chain->strings() : std::nullopt;
    if (!names.has_value() || names->empty() || name->string() == nullptr ||
        names->front() != *name->string() || record.dictionary()->size() != 2)
        return append(record);
    std::vector<StringView> views(names->begin(), names->end());
    return classUID(ArchivedClass(views));
}

/// Copies archived objects into the table, following references without recursion, so that a long
/// chain of objects cannot exhaust the stack.
class KeyedArchiver::Transfer {
  public:
    Transfer(KeyedArchiver& archiver, const ArchivedGraph& graph)
        : archiver_(archiver), graph_(graph) {}

    UID transfer(std::uint64_t index) {
        const UID uid = reserve(index);
        while (!pending_.empty()) {
            const auto [from, to] = pending_.back();
            pending_.pop_back();
            PropertyList copy = renumbered(graph_.objects[from]);
            archiver_.objects_[to.value] = std::move(copy);
        }
        return uid;
    }

    /// The object's members with references into the table. Finish with `transfer(0)`.
    PropertyList renumbered(const PropertyList& value) {
        if (value.uid().has_value())
            return PropertyList(reserve(value.uid()->value));
        if (const auto* elements = value.array()) {
            PropertyList::Array copy;
            copy.reserve(elements->size());
            for (const PropertyList& element : *elements)
                copy.push_back(renumbered(element));
            return PropertyList(std::move(copy));
        }
        if (const auto* members = value.dictionary()) {
            PropertyList::Dictionary copy;
            copy.reserve(members->size());
            for (const PropertyList::Entry& member : *members)
                copy.emplace_back(member.key, renumbered(member.value));
            return PropertyList(std::move(copy));
        }
        return value;
    }

  private:
    UID reserve(std::uint64_t index) {
        if (index == 0 || index >= graph_.objects.size())
            return {};
        const auto [known, isNew] = archiver_.transferred_.try_emplace({&graph_, index});
        if (isNew) {
            const PropertyList& value = graph_.objects[index];
            if (value.find(u"$classname") != nullptr) {
                known->second = archiver_.classUID(value);
            } else {
                known->second = archiver_.append({});
                pending_.emplace_back(index, known->second);
            }
        }
        return known->second;
    }

    KeyedArchiver& archiver_;
    const ArchivedGraph& graph_;
    std::vector<std::pair<std::uint64_t, UID>> pending_;
};

KeyedArchiver::UID KeyedArchiver::addArchived(const ArchivedValue& value,
                                              const std::vector<PropertyList::Entry>& overrides) {
    if (!value || value.index() >= value.graph()->objects.size())
        return {};
    if (graphs_.empty() || graphs_.back() != value.graph())
        graphs_.push_back(value.graph()); // the memo goes by address
    Transfer transfer(*this, *value.graph());
    if (overrides.empty())
        return transfer.transfer(value.index());

    const UID uid = append({});
    PropertyList::Dictionary members;
    const PropertyList& original = value.graph()->objects[value.index()];
    if (original.dictionary() != nullptr)
        for (const PropertyList::Entry& member : *original.dictionary()) {
            bool replaced = false;
            for (const PropertyList::Entry& other : overrides)
                replaced = replaced || *other.key == *member.key;
            if (!replaced)
                members.emplace_back(member.key, transfer.renumbered(member.value));
        }
    for (const PropertyList::Entry& member : overrides)
        if (!member.value.isNull())
            members.push_back(member);
    (void)transfer.transfer(0);
    objects_[uid.value] = PropertyList(std::move(members));
    return uid;
}

PropertyList KeyedArchiver::finishEncoding(UID root) {
    PropertyList::Dictionary top;
    top.emplace_back(key(u"root"), PropertyList(root));
    PropertyList::Dictionary archive;
    archive.emplace_back(key(u"$version"), PropertyList(ArchiveVersion));
    archive.emplace_back(key(u"$archiver"), PropertyList(key(u"NSKeyedArchiver")));
    archive.emplace_back(key(u"$top"), PropertyList(std::move(top)));
    archive.emplace_back(key(u"$objects"), PropertyList(std::move(objects_)));
    return PropertyList(std::move(archive));
}

KeyedArchiver::Object::Object(KeyedArchiver& archiver, ArchivedClass chain)
    : archiver_(archiver), class_(chain), uid_(archiver.append({})) {
    constexpr std::size_t UsualMembers = 14;
    members_.reserve(UsualMembers);
}

void KeyedArchiver::Object::encodeValue(PropertyList value, StringView key) {
    members_.emplace_back(archiver_.key(key), std::move(value));
}

KeyedArchiver::UID KeyedArchiver::Object::finish() {
    members_.emplace_back(archiver_.key(u"$class"), PropertyList(archiver_.ownClassUID(class_)));
    archiver_.objects_[uid_.value] = PropertyList(std::move(members_));
    return uid_;
}

} // namespace dresk
