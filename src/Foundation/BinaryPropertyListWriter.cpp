#include <bit>
#include <unordered_map>

#include "Foundation/PropertyList.h"

namespace dresk {

/// Numbers every distinct object, then writes them. Equal short strings, integers and references
/// are one object each, and so is whatever the tree shares.
class BinaryPropertyListWriter {
  public:
    std::string write(const PropertyList& root) {
        add(root);
        referenceSize_ = bytesFor(objects_.size());
        out_ = "bplist00";
        offsets_.reserve(objects_.size());
        for (const Object& object : objects_) {
            offsets_.push_back(out_.size());
            writeObject(object);
        }
        const std::size_t table = out_.size();
        const unsigned offsetSize = bytesFor(table);
        for (const std::size_t offset : offsets_)
            number(offset, offsetSize);
        out_.append(6, '\0');
        number(offsetSize, 1);
        number(referenceSize_, 1);
        number(objects_.size(), 8);
        number(0, 8);
        number(table, 8);
        return std::move(out_);
    }

  private:
    using Index = std::uint32_t;
    struct Object {
        const PropertyList* value;
        const String* key;
        std::size_t firstReference;
    };
    static constexpr std::size_t LongestShared = 64;

    static unsigned bytesFor(std::uint64_t value) {
        return value < 0x100 ? 1 : value < 0x10000 ? 2 : value < 0x1'0000'0000 ? 4 : 8;
    }

    Index append(const PropertyList* value, const String* key) {
        objects_.push_back({value, key, 0});
        return static_cast<Index>(objects_.size() - 1);
    }

    Index addString(const String* text, const PropertyList* value) {
        const auto [known, isNew] = shared_.try_emplace(text, 0);
        if (isNew) {
            if (text->size() > LongestShared) {
                known->second = append(value, text);
            } else {
                const auto [equal, isFirst] = strings_.try_emplace(StringView(*text), 0);
                if (isFirst)
                    equal->second = append(value, text);
                known->second = equal->second;
            }
        }
        return known->second;
    }

    template <class Map, class Key>
    Index addUnique(Map& map, Key key, const PropertyList& value) {
        const auto [known, isNew] = map.try_emplace(key, 0);
        if (isNew)
            known->second = append(&value, nullptr);
        return known->second;
    }

    Index add(const PropertyList& value) {
        if (const String* text = value.string())
            return addString(text, &value);
        if (const auto uid = value.uid())
            return addUnique(uids_, uid->value, value);
        if (const auto* integer = std::get_if<std::int64_t>(&value.value_))
            return addUnique(integers_, *integer, value);
        if (const auto* elements = value.array())
            return addArray(*elements, value);
        if (const auto* entries = value.dictionary())
            return addDictionary(*entries, value);
        if (const auto* bytes = value.bytes())
            return addUnique(shared_, static_cast<const void*>(bytes), value);
        return append(&value, nullptr);
    }

    Index addArray(const PropertyList::Array& elements, const PropertyList& value) {
        const auto [known, isNew] = shared_.try_emplace(&elements, 0);
        if (!isNew)
            return known->second;
        const Index index = known->second = append(&value, nullptr);
        const std::size_t first = reserveReferences(index, elements.size());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const Index element = add(elements[i]);
            references_[first + i] = element;
        }
        return index;
    }

    Index addDictionary(const PropertyList::Dictionary& entries, const PropertyList& value) {
        const auto [known, isNew] = shared_.try_emplace(&entries, 0);
        if (!isNew)
            return known->second;
        const Index index = known->second = append(&value, nullptr);
        const std::size_t first = reserveReferences(index, 2 * entries.size());
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const Index key = addString(entries[i].key.get(), nullptr);
            const Index element = add(entries[i].value);
            references_[first + i] = key;
            references_[first + entries.size() + i] = element;
        }
        return index;
    }

    std::size_t reserveReferences(Index index, std::size_t count) {
        const std::size_t first = references_.size();
        objects_[index].firstReference = first;
        references_.resize(first + count);
        return first;
    }

    void number(std::uint64_t value, unsigned size) {
        for (unsigned i = size; i-- > 0;)
            out_.push_back(static_cast<char>(value >> (8 * i)));
    }

    void integer(std::int64_t value) {
        const auto bits = static_cast<std::uint64_t>(value);
        const unsigned size = bytesFor(bits); // negative numbers take eight bytes
        out_.push_back(static_cast<char>(0x10 | std::countr_zero(size)));
        number(bits, size);
    }

    void head(unsigned kind, std::size_t length) {
        if (length < 15) {
            out_.push_back(static_cast<char>(kind << 4 | length));
        } else {
            out_.push_back(static_cast<char>(kind << 4 | 15));
            integer(static_cast<std::int64_t>(length));
        }
    }

    void text(const String& text) {
        bool ascii = true;
        for (const char16_t unit : text)
            ascii = ascii && unit < 0x80;
        head(ascii ? 0x5 : 0x6, text.size());
        for (const char16_t unit : text)
            number(unit, ascii ? 1 : 2);
    }

    void containerReferences(const Object& object, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            number(references_[object.firstReference + i], referenceSize_);
    }

    void writeObject(const Object& object) {
        if (object.key != nullptr) {
            text(*object.key);
            return;
        }
        const PropertyList& value = *object.value;
        if (const auto uid = value.uid()) {
            const unsigned size = bytesFor(uid->value);
            out_.push_back(static_cast<char>(0x80 | (size - 1)));
            number(uid->value, size);
        } else if (const auto date = value.date()) {
            out_.push_back(0x33);
            number(std::bit_cast<std::uint64_t>(date->seconds), 8);
        } else if (const auto* bytes = value.bytes()) {
            head(0x4, bytes->size());
            out_.append(*bytes);
        } else if (const auto* elements = value.array()) {
            head(0xA, elements->size());
            containerReferences(object, elements->size());
        } else if (const auto* entries = value.dictionary()) {
            head(0xD, entries->size());
            containerReferences(object, 2 * entries->size());
        } else if (value.isBoolean()) {
            out_.push_back(*value.boolean() ? 0x09 : 0x08);
        } else if (value.isReal()) {
            out_.push_back(0x23);
            number(std::bit_cast<std::uint64_t>(*value.real()), 8);
        } else if (value.integer().has_value()) {
            integer(*value.integer());
        } else {
            out_.push_back(0x00);
        }
    }

    std::vector<Object> objects_;
    std::vector<Index> references_;
    std::vector<std::size_t> offsets_;
    std::unordered_map<const void*, Index> shared_;
    std::unordered_map<StringView, Index> strings_;
    std::unordered_map<std::uint64_t, Index> uids_;
    std::unordered_map<std::int64_t, Index> integers_;
    unsigned referenceSize_ = 1;
    std::string out_;
};

std::string PropertyList::binaryData() const {
    return BinaryPropertyListWriter().write(*this);
}

} // namespace dresk
