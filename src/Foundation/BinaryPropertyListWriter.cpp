#include <array>
#include <bit>
#include <unordered_map>

#include "Foundation/PropertyList.h"

namespace dresk {

/// Numbers every object, then writes them. Whatever the tree shares is one object, and so are equal
/// references and equal small integers.
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

    static unsigned bytesFor(std::uint64_t value) {
        return value < 0x100 ? 1 : value < 0x10000 ? 2 : value < 0x1'0000'0000 ? 4 : 8;
    }

    Index append(const PropertyList* value, const String* key) {
        objects_.push_back({value, key, 0});
        return static_cast<Index>(objects_.size() - 1);
    }

    /// What the tree holds once needs no look-up.
    template <class T>
    std::pair<Index*, bool> place(const std::shared_ptr<const T>& object) {
        if (object.use_count() == 1)
            return {nullptr, true};
        const auto [known, isNew] = shared_.try_emplace(object.get(), 0);
        return {&known->second, isNew};
    }

    template <class T>
    Index addShared(const std::shared_ptr<const T>& object, const PropertyList* value,
                    const String* key) {
        const auto [known, isNew] = place(object);
        if (!isNew)
            return *known;
        const Index index = append(value, key);
        if (known != nullptr)
            *known = index;
        return index;
    }

    Index addUID(std::uint64_t uid, const PropertyList& value) {
        constexpr std::uint64_t LargestListed = 1 << 24;
        if (uid >= LargestListed)
            return append(&value, nullptr);
        if (uid >= uids_.size())
            uids_.resize(std::max<std::size_t>(uid + 1, 2 * uids_.size()));
        if (uids_[uid] == 0)
            uids_[uid] = append(&value, nullptr) + 1;
        return uids_[uid] - 1;
    }

    Index addInteger(std::int64_t integer, const PropertyList& value) {
        if (integer < 0 || static_cast<std::uint64_t>(integer) >= smallIntegers_.size())
            return append(&value, nullptr);
        Index& known = smallIntegers_[static_cast<std::size_t>(integer)];
        if (known == 0)
            known = append(&value, nullptr) + 1;
        return known - 1;
    }

    Index add(const PropertyList& value) {
        using Shared = PropertyList;
        if (const auto* text = std::get_if<Shared::SharedString>(&value.value_))
            return addShared(*text, &value, text->get());
        if (const auto* uid = std::get_if<Shared::UID>(&value.value_))
            return addUID(uid->value, value);
        if (const auto* integer = std::get_if<std::int64_t>(&value.value_))
            return addInteger(*integer, value);
        if (const auto* array = std::get_if<std::shared_ptr<const Shared::Array>>(&value.value_))
            return addArray(*array, value);
        if (const auto* dictionary =
                std::get_if<std::shared_ptr<const Shared::Dictionary>>(&value.value_))
            return addDictionary(*dictionary, value);
        if (const auto* bytes = std::get_if<std::shared_ptr<const Shared::Bytes>>(&value.value_))
            return addShared(*bytes, &value, nullptr);
        return append(&value, nullptr);
    }

    Index addArray(const std::shared_ptr<const PropertyList::Array>& array,
                   const PropertyList& value) {
        const auto [known, isNew] = place(array);
        if (!isNew)
            return *known;
        const Index index = append(&value, nullptr);
        if (known != nullptr)
            *known = index;
        const std::size_t first = reserveReferences(index, array->size());
        for (std::size_t i = 0; i < array->size(); ++i) {
            const Index element = add((*array)[i]);
            references_[first + i] = element;
        }
        return index;
    }

    Index addDictionary(const std::shared_ptr<const PropertyList::Dictionary>& dictionary,
                        const PropertyList& value) {
        const auto [known, isNew] = place(dictionary);
        if (!isNew)
            return *known;
        const Index index = append(&value, nullptr);
        if (known != nullptr)
            *known = index;
        const std::size_t count = dictionary->size();
        const std::size_t first = reserveReferences(index, 2 * count);
        for (std::size_t i = 0; i < count; ++i) {
            const PropertyList::Entry& entry = (*dictionary)[i];
            const Index key = addShared(entry.key, nullptr, entry.key.get());
            const Index element = add(entry.value);
            references_[first + i] = key;
            references_[first + count + i] = element;
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
        char bytes[8];
        for (unsigned i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(value >> (8 * (size - 1 - i)));
        out_.append(bytes, size);
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
        const std::size_t width = ascii ? 1 : 2;
        std::size_t position = out_.size();
        out_.resize(position + width * text.size());
        for (const char16_t unit : text) {
            if (!ascii)
                out_[position++] = static_cast<char>(unit >> 8);
            out_[position++] = static_cast<char>(unit);
        }
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
    // Index plus one; 0 for what was not met yet.
    std::vector<Index> uids_;
    std::array<Index, 256> smallIntegers_{};
    unsigned referenceSize_ = 1;
    std::string out_;
};

std::string PropertyList::binaryData() const {
    return BinaryPropertyListWriter().write(*this);
}

} // namespace dresk
