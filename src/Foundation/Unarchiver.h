#pragma once

#include <variant>
#include <vector>

#include "Foundation/AttributedString.h"

namespace dresk {

/// Reads the platform's older archive form, in which values follow each other in a stream and
/// objects refer to earlier ones by number. One thread at a time.
class Unarchiver {
  public:
    static constexpr std::size_t None = SIZE_MAX;

    struct Reference {
        /// Place in `objects`, or None for null.
        std::size_t index = None;
    };
    struct Value;
    using Values = std::vector<Value>;
    struct Value {
        /// Bytes stand for strings of any kind and for arrays of bytes.
        std::variant<std::monostate, std::int64_t, double, std::string, Reference, Values> content;
    };
    /// An object with its values in order, or a class.
    struct Object {
        bool isClass = false;
        std::string className;
        /// Of an object its class, of a class its superclass.
        std::size_t parent = None;
        Values values;
    };

    /// Null if the bytes are no such archive, or damaged.
    static std::optional<Unarchiver> unarchiverForReadingWithData(std::string_view bytes);

    const std::vector<Object>& objects() const { return objects_; }
    /// The values at the top level.
    const Values& values() const { return values_; }

    bool isKindOfClass(std::size_t object, std::string_view className) const;
    /// The object that a value refers to; null for anything else.
    const Object* object(const Value& value) const;
    /// The text of a string object.
    std::optional<String> string(const Value& value) const;
    std::optional<std::string> bytes(const Value& value) const;
    std::optional<double> number(const Value& value) const;
    /// The values of an array object.
    std::optional<Values> array(const Value& value) const;
    std::optional<std::vector<std::pair<Value, Value>>> dictionary(const Value& value) const;

    /// The attributed text that stands at the top level; null if there is none.
    std::optional<AttributedString> attributedString() const;

  private:
    friend class UnarchiverStream;
    Unarchiver() = default;
    bool isKind(const Value& value, std::string_view className) const;

    std::vector<Object> objects_;
    Values values_;
};

} // namespace dresk
