#pragma once

#include <concepts>
#include <memory>
#include <variant>
#include <vector>

#include "Foundation/Date.h"
#include "Foundation/String.h"

namespace dresk {

/// One value of a property list: a tree of immutable, shared values. Copying is cheap; a value may
/// be read from any thread.
class PropertyList {
  public:
    /// A reference into a keyed archive's table of objects.
    struct UID {
        std::uint64_t value = 0;
        friend bool operator==(const UID&, const UID&) = default;
    };
    struct Entry;
    using Bytes = std::string;
    using SharedString = std::shared_ptr<const String>;
    using Array = std::vector<PropertyList>;
    /// In the order of the file.
    using Dictionary = std::vector<Entry>;

    /// Null; no file holds it but as a value that could not be read.
    PropertyList() = default;
    template <std::same_as<bool> Boolean>
    explicit PropertyList(Boolean value) : value_(value) {}
    template <std::integral Integer>
    requires(!std::same_as<Integer, bool>) explicit PropertyList(Integer value)
        : value_(static_cast<std::int64_t>(value)) {}
    explicit PropertyList(double value) : value_(value) {}
    explicit PropertyList(Date value) : value_(value) {}
    explicit PropertyList(UID value) : value_(value) {}
    explicit PropertyList(String value)
        : value_(std::make_shared<const String>(std::move(value))) {}
    explicit PropertyList(SharedString value) : value_(std::move(value)) {}
    explicit PropertyList(Bytes value) : value_(std::make_shared<const Bytes>(std::move(value))) {}
    explicit PropertyList(Array value) : value_(std::make_shared<const Array>(std::move(value))) {}
    explicit PropertyList(Dictionary value);

    bool isNull() const { return std::holds_alternative<std::monostate>(value_); }
    /// The value if it is of that kind, else null. Integers, reals and booleans stand for each
    /// other as on the platform: true is 1, a real is cut towards zero.
    std::optional<bool> boolean() const;
    std::optional<std::int64_t> integer() const;
    std::optional<double> real() const;
    std::optional<Date> date() const;
    std::optional<UID> uid() const;
    const String* string() const { return pointee<String>(); }
    /// The string as it is shared; null for any other kind.
    SharedString sharedString() const;
    const Bytes* bytes() const { return pointee<Bytes>(); }
    const Array* array() const { return pointee<Array>(); }
    const Dictionary* dictionary() const { return pointee<Dictionary>(); }
    /// The strings of an array; null for anything else or if one element is no string.
    std::optional<std::vector<String>> strings() const;

    /// Whether it is a real, as opposed to an integer or a boolean.
    bool isReal() const { return std::holds_alternative<double>(value_); }
    bool isBoolean() const { return std::holds_alternative<bool>(value_); }
    /// The value under `key` if this is a dictionary that has it, else null.
    const PropertyList* find(StringView key) const;

    /// Same kind and same value; dictionaries without regard to order.
    friend bool operator==(const PropertyList& a, const PropertyList& b);

    /// Reads the binary or the XML form. Null for anything damaged, deeper than `MaximumDepth`, or
    /// made to unfold to far more than its size.
    static std::optional<PropertyList> propertyListWithData(std::string_view bytes);
    /// The binary form. The tree must not be deeper than `MaximumDepth`.
    std::string binaryData() const;

    static constexpr unsigned MaximumDepth = 512;

  private:
    friend class BinaryPropertyListWriter;

    template <class T>
    const T* pointee() const {
        const auto* held = std::get_if<std::shared_ptr<const T>>(&value_);
        return held != nullptr ? held->get() : nullptr;
    }

    std::variant<std::monostate, bool, std::int64_t, double, Date, UID, SharedString,
                 std::shared_ptr<const Bytes>, std::shared_ptr<const Array>,
                 std::shared_ptr<const Dictionary>>
        value_;
};

struct PropertyList::Entry {
    SharedString key;
    PropertyList value;

    Entry(SharedString k, PropertyList v) : key(std::move(k)), value(std::move(v)) {}
    Entry(StringView k, PropertyList v)
        : key(std::make_shared<const String>(k)), value(std::move(v)) {}
};

inline PropertyList::PropertyList(Dictionary value)
    : value_(std::make_shared<const Dictionary>(std::move(value))) {}

/// The two forms behind propertyListWithData.
std::optional<PropertyList> readBinaryPropertyList(std::string_view bytes);
std::optional<PropertyList> readXMLPropertyList(std::string_view bytes);

} // namespace dresk
