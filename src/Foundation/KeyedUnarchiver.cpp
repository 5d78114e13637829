#include "Foundation/KeyedUnarchiver.h"

#include <algorithm>

namespace dresk {

namespace {

constexpr std::uint64_t SmallestCopyLimit = std::uint64_t{64} << 20;
constexpr std::uint64_t CopiesPerByte = 8;
constexpr unsigned MaximumBridgeDepth = 64;
constexpr std::size_t MaximumBridgeSize = 1'000'000;

/// The number of a key made of `prefix` and up to nine digits.
std::optional<std::uint64_t> numberBehind(StringView prefix, StringView key) {
    if (!key.starts_with(prefix) || key.size() == prefix.size() || key.size() > prefix.size() + 9)
        return std::nullopt;
    std::uint64_t number = 0;
    for (const char16_t digit : key.substr(prefix.size())) {
        if (digit < u'0' || digit > u'9')
            return std::nullopt;
        number = number * 10 + (digit - u'0');
    }
    return number;
}

/// Turns objects into a property list, counting what it makes.
struct Bridge {
    std::size_t made = 0;

    PropertyList convert(const ArchivedObject& object, unsigned depth) {
        if (depth > MaximumBridgeDepth || ++made > MaximumBridgeSize)
            return {};
        if (auto text = object.string())
            return PropertyList(std::move(*text));
        if (auto bytes = object.bytes())
            return PropertyList(std::move(*bytes));
        if (const auto date = object.date())
            return PropertyList(*date);
        if (const auto entries = object.dictionary()) {
            PropertyList::Dictionary result;
            for (const auto& [key, value] : *entries)
                if (const auto name = key.string())
                    result.emplace_back(StringView(*name), convert(value, depth + 1));
            return PropertyList(std::move(result));
        }
        if (const auto elements = object.array()) {
            PropertyList::Array result;
            for (const ArchivedObject& element : *elements)
                result.push_back(convert(element, depth + 1));
            return PropertyList(std::move(result));
        }
        return object.plainNumber();
    }
};

} // namespace

std::unique_ptr<KeyedUnarchiver> KeyedUnarchiver::initForReadingWithData(std::string_view bytes) {
    auto archive = PropertyList::propertyListWithData(bytes);
    if (!archive.has_value())
        return nullptr;
    const std::uint64_t copyLimit = SmallestCopyLimit + CopiesPerByte * bytes.size();
    const PropertyList* objects = archive->find(u"$objects");
    const PropertyList* top = archive->find(u"$top");
    if (objects == nullptr || objects->array() == nullptr || top == nullptr ||
        top->dictionary() == nullptr)
        return nullptr;
    return std::unique_ptr<KeyedUnarchiver>(new KeyedUnarchiver(std::move(*archive), copyLimit));
}

KeyedUnarchiver::KeyedUnarchiver(PropertyList archive, std::uint64_t copyLimit)
    : archive_(std::move(archive)), objects_(archive_.find(u"$objects")->array()),
      copyLimit_(copyLimit) {}

KeyedUnarchiver::KeyedUnarchiver(const ArchivedGraph& graph) : objects_(&graph.objects) {}

bool KeyedUnarchiver::spend(std::uint64_t bytes) {
    if (bytes > copyLimit_) {
        noteLoss();
        return false;
    }
    copyLimit_ -= bytes;
    return true;
}

ArchivedObject KeyedUnarchiver::objectWithNumber(std::uint64_t number) {
    const PropertyList reference(PropertyList::UID{number});
    return resolve(&reference);
}

ArchivedObject KeyedUnarchiver::root() {
    const PropertyList& top = *archive_.find(u"$top");
    if (const PropertyList* root = top.find(u"root"))
        return resolve(root);
    // Some writers name it otherwise; a bare value under a strange name is damage.
    const ArchivedObject first =
        top.dictionary()->empty() ? ArchivedObject() : resolve(&top.dictionary()->front().value);
    return first.className().empty() ? ArchivedObject() : first;
}

// A reference leads to its object; any other value stands for itself.
ArchivedObject KeyedUnarchiver::resolve(const PropertyList* value) {
    if (value == nullptr || value->isNull())
        return {};
    const auto uid = value->uid();
    if (!uid.has_value())
        return {*this, value, 0};
    if (uid->value == 0 || uid->value >= objects_->size())
        return {};
    const ArchivedObject object(*this, &(*objects_)[uid->value], uid->value);
    if (object.value_->isNull())
        return {};
    // An object whose class record is damaged says nothing that could be trusted.
    if (object.member(u"$class") != nullptr && object.classRecord() == nullptr)
        return {};
    return object;
}

const PropertyList* ArchivedObject::member(StringView key) const {
    return value_ != nullptr ? value_->find(key) : nullptr;
}

const ArchivedClassRecord& KeyedUnarchiver::classRecord(std::uint64_t uid) {
    const auto [known, isNew] = classes_.try_emplace(uid);
    ArchivedClassRecord& record = known->second;
    if (!isNew || uid >= objects_->size())
        return record;
    const PropertyList* chain = (*objects_)[uid].find(u"$classes");
    const PropertyList* name = (*objects_)[uid].find(u"$classname");
    if (name != nullptr && name->string() != nullptr)
        record.name = *name->string();
    if (chain != nullptr && chain->array() != nullptr) {
        record.chain.emplace();
        for (const PropertyList& element : *chain->array())
            if (element.string() != nullptr)
                record.chain->push_back(*element.string());
    }
    record.isValid = chain != nullptr ? record.chain.has_value() : !record.name.empty();
    return record;
}

bool ArchivedClassRecord::isKindOfClass(StringView className) const {
    if (name == className)
        return true;
    if (chain.has_value())
        return std::find(chain->begin(), chain->end(), className) != chain->end();
    return name.starts_with(u"NSMutable") && className.starts_with(u"NS") &&
           StringView(name).substr(9) == className.substr(2);
}

const ArchivedClassRecord* ArchivedObject::classRecord() const {
    const PropertyList* reference = member(u"$class");
    if (reference == nullptr || !reference->uid().has_value())
        return nullptr;
    const ArchivedClassRecord& record = unarchiver_->classRecord(reference->uid()->value);
    return record.isValid ? &record : nullptr;
}

String ArchivedObject::className() const {
    const ArchivedClassRecord* record = classRecord();
    return record != nullptr ? record->name : String();
}

bool ArchivedObject::isKindOfClass(StringView name) const {
    const ArchivedClassRecord* record = classRecord();
    return record != nullptr && record->isKindOfClass(name);
}

ArchivedObject ArchivedObject::object(StringView key) const {
    return unarchiver_ != nullptr ? unarchiver_->resolve(member(key)) : ArchivedObject();
}

std::int64_t ArchivedObject::integer(StringView key) const {
    return object(key).integer().value_or(0);
}

double ArchivedObject::real(StringView key) const {
    return object(key).real().value_or(0);
}

bool ArchivedObject::boolean(StringView key) const {
    return object(key).real().value_or(0) != 0;
}

const PropertyList* ArchivedObject::plainMember(StringView key) const {
    return object(key).value_;
}

std::optional<String> ArchivedObject::string() const {
    const String* text = value_ != nullptr ? value_->string() : nullptr;
    if (text == nullptr && isKindOfClass(u"NSString")) {
        const PropertyList* content = plainMember(u"NS.string");
        text = content != nullptr ? content->string() : nullptr;
        const PropertyList* utf8 = plainMember(u"NS.bytes");
        if (text == nullptr && utf8 != nullptr && utf8->bytes() != nullptr &&
            unarchiver_->spend(2 * utf8->bytes()->size()))
            return fromUTF8(*utf8->bytes());
    }
    if (text == nullptr || !unarchiver_->spend(2 * text->size()))
        return std::nullopt;
    return *text;
}

std::optional<std::string> ArchivedObject::bytes() const {
    const std::string* bytes = value_ != nullptr ? value_->bytes() : nullptr;
    if (bytes == nullptr && isKindOfClass(u"NSData")) {
        const PropertyList* content = plainMember(u"NS.data");
        bytes = content != nullptr ? content->bytes() : nullptr;
    }
    if (bytes == nullptr || !unarchiver_->spend(bytes->size()))
        return std::nullopt;
    return *bytes;
}

std::optional<Date> ArchivedObject::date() const {
    if (value_ == nullptr)
        return std::nullopt;
    if (value_->date().has_value())
        return value_->date();
    if (!isKindOfClass(u"NSDate") || !containsValue(u"NS.time"))
        return std::nullopt;
    return Date{real(u"NS.time")};
}

std::optional<std::int64_t> ArchivedObject::integer() const {
    return value_ != nullptr ? value_->integer() : std::nullopt;
}

std::optional<double> ArchivedObject::real() const {
    return value_ != nullptr ? value_->real() : std::nullopt;
}

PropertyList ArchivedObject::plainNumber() const {
    return value_ != nullptr && value_->integer().has_value() ? *value_ : PropertyList();
}

// Today's archives hold the elements in one list, older ones under a numbered key each.
std::vector<ArchivedObject> ArchivedObject::elements(StringView listKey, StringView itemKey) const {
    std::vector<ArchivedObject> result;
    const ArchivedObject list = object(listKey);
    if (list.value_ != nullptr && list.value_->array() != nullptr) {
        for (const PropertyList& element : *list.value_->array())
            result.push_back(unarchiver_->resolve(&element));
        return result;
    }
    std::map<std::uint64_t, const PropertyList*> numbered;
    if (const auto* members = value_->dictionary())
        for (const PropertyList::Entry& entry : *members)
            if (const auto number = numberBehind(itemKey, *entry.key))
                numbered.emplace(*number, &entry.value);
    for (const auto& [number, element] : numbered)
        result.push_back(unarchiver_->resolve(element));
    return result;
}

std::optional<std::vector<ArchivedObject>> ArchivedObject::array() const {
    if (value_ == nullptr)
        return std::nullopt;
    if (const auto* plain = value_->array()) {
        std::vector<ArchivedObject> result;
        for (const PropertyList& element : *plain)
            result.push_back(unarchiver_->resolve(&element));
        return result;
    }
    if (!isKindOfClass(u"NSArray") && !isKindOfClass(u"NSSet") && !isKindOfClass(u"NSOrderedSet"))
        return std::nullopt;
    return elements(u"NS.objects", u"NS.object.");
}

std::optional<std::vector<std::pair<ArchivedObject, ArchivedObject>>>
ArchivedObject::dictionary() const {
    if (value_ == nullptr || !isKindOfClass(u"NSDictionary"))
        return std::nullopt;
    const auto keys = elements(u"NS.keys", u"NS.key.");
    const auto values = elements(u"NS.objects", u"NS.object.");
    std::vector<std::pair<ArchivedObject, ArchivedObject>> result;
    for (std::size_t i = 0; i < std::min(keys.size(), values.size()); ++i)
        result.emplace_back(keys[i], values[i]);
    return result;
}

ArchivedObject ArchivedObject::valueForKey(StringView key) const {
    if (const auto entries = dictionary())
        for (const auto& [name, value] : *entries)
            if (name.string() == key)
                return value;
    return {};
}

std::optional<std::vector<String>> ArchivedObject::strings() const {
    const auto elements = array();
    if (!elements.has_value())
        return std::nullopt;
    std::vector<String> result;
    for (const ArchivedObject& element : *elements) {
        if (auto text = element.string())
            result.push_back(std::move(*text));
        else
            unarchiver_->noteLoss();
    }
    return result;
}

PropertyList ArchivedObject::propertyList() const {
    return Bridge().convert(*this, 0);
}

ArchivedValue ArchivedObject::archived() const {
    return value_ != nullptr ? unarchiver_->lift(*this) : ArchivedValue();
}

// All values lifted out of one archive share one graph, each object in it once.
ArchivedValue KeyedUnarchiver::lift(const ArchivedObject& object) {
    if (graph_ == nullptr)
        graph_ = std::make_shared<ArchivedGraph>();
    std::uint64_t index = 0;
    if (object.uid() != 0) {
        index = lift(object.uid());
    } else {
        PropertyList copy = lifted(*object.value_);
        index = graph_->objects.size();
        graph_->objects.push_back(std::move(copy));
    }
    while (!pendingLifts_.empty()) {
        const std::uint64_t uid = pendingLifts_.back();
        pendingLifts_.pop_back();
        PropertyList copy = lifted((*objects_)[uid]);
        graph_->objects[liftedNumbers_[uid]] = std::move(copy);
    }
    return {graph_, index};
}

std::uint64_t KeyedUnarchiver::lift(std::uint64_t uid) {
    if (uid == 0 || uid >= objects_->size())
        return 0;
    const auto [known, isNew] = liftedNumbers_.try_emplace(uid, graph_->objects.size());
    if (isNew) {
        graph_->objects.emplace_back();
        pendingLifts_.push_back(uid);
    }
    return known->second;
}

PropertyList KeyedUnarchiver::lifted(const PropertyList& value) {
    if (value.uid().has_value())
        return PropertyList(PropertyList::UID{lift(value.uid()->value)});
    if (const auto* elements = value.array()) {
        PropertyList::Array copy;
        copy.reserve(elements->size());
        for (const PropertyList& element : *elements)
            copy.push_back(lifted(element));
        return PropertyList(std::move(copy));
    }
    if (const auto* members = value.dictionary()) {
        PropertyList::Dictionary copy;
        copy.reserve(members->size());
        for (const PropertyList::Entry& member : *members)
            copy.emplace_back(member.key, lifted(member.value));
        return PropertyList(std::move(copy));
    }
    return value;
}

} // namespace dresk
