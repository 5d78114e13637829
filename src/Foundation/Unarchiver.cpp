#include "Foundation/Unarchiver.h"

#include <bit>

namespace dresk {

namespace {

constexpr std::string_view Signature{"\x04\x0Bstreamtyped", 13};
constexpr unsigned MaximumDepth = 200;
constexpr unsigned MaximumTypeDepth = 16;

// Head bytes; any other is a number, or a reference counted from the first label.
constexpr std::uint8_t TwoBytes = 0x81;
constexpr std::uint8_t FourBytes = 0x82;
constexpr std::uint8_t EightBytes = 0x87;
constexpr std::uint8_t Floating = 0x83;
constexpr std::uint8_t New = 0x84;
constexpr std::uint8_t Nil = 0x85;
constexpr std::uint8_t End = 0x86;
constexpr std::int64_t FirstLabel = -110;

} // namespace

/// Takes the stream apart. The first lack or contradiction fails the whole.
class UnarchiverStream {
  public:
    UnarchiverStream(std::string_view bytes, Unarchiver& result)
        : rest_(bytes), result_(result), valuesLeft_(bytes.size() + 16) {}

    bool read() {
        if (!rest_.starts_with(Signature))
            return false;
        rest_.remove_prefix(Signature.size());
        (void)integer(); // version of the writing system
        while (!failed_ && !rest_.empty())
            typedValues(result_.values_, 0);
        return !failed_;
    }

  private:
    using Value = Unarchiver::Value;
    using Values = Unarchiver::Values;

    std::string_view take(std::uint64_t count) {
        if (count > rest_.size()) {
            failed_ = true;
            rest_ = {};
            return {};
        }
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return taken;
    }

    std::uint8_t head() {
        const std::string_view byte = take(1);
        return byte.empty() ? End : static_cast<std::uint8_t>(byte.front());
    }

    std::uint64_t fixed(std::size_t size) {
        std::uint64_t value = 0;
        const std::string_view bytes = take(size);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            value |= std::uint64_t{static_cast<std::uint8_t>(bytes[i])} << (8 * i);
        return value;
    }

    std::int64_t integerBehind(std::uint8_t first) {
        switch (first) {
        case TwoBytes:
            return static_cast<std::int16_t>(fixed(2));
        case FourBytes:
            return static_cast<std::int32_t>(fixed(4));
        case EightBytes:
            return static_cast<std::int64_t>(fixed(8));
        case Floating:
        case New:
        case Nil:
        case End:
            failed_ = true;
            return 0;
        default:
            return static_cast<std::int8_t>(first);
        }
    }

    std::int64_t integer() { return integerBehind(head()); }

    std::uint64_t length() {
        const std::int64_t value = integer();
        if (value < 0)
            failed_ = true;
        return failed_ ? 0 : static_cast<std::uint64_t>(value);
    }

    std::size_t reference(std::uint8_t first, std::size_t count) {
        const std::int64_t index = integerBehind(first) - FirstLabel;
        if (index < 0 || static_cast<std::uint64_t>(index) >= count)
            failed_ = true;
        return failed_ ? Unarchiver::None : static_cast<std::size_t>(index);
    }

    /// A string of the shared table; empty for nil.
    std::string sharedString() {
        const std::uint8_t first = head();
        if (first == Nil)
            return {};
        if (first == New) {
            strings_.emplace_back(take(length()));
            return strings_.back();
        }
        const std::size_t index = reference(first, strings_.size());
        return failed_ ? std::string() : strings_[index];
    }

    std::size_t newEntry(bool isClass) {
        result_.objects_.emplace_back();
        result_.objects_.back().isClass = isClass;
        return result_.objects_.size() - 1;
    }

    std::size_t classEntry(unsigned depth) {
        const std::uint8_t first = head();
        if (first == Nil)
            return Unarchiver::None;
        if (first != New)
            return reference(first, result_.objects_.size());
        if (depth > MaximumDepth) {
            failed_ = true;
            return Unarchiver::None;
        }
        std::string name = sharedString();
        (void)integer(); // version of the class
        const std::size_t entry = newEntry(true);
        result_.objects_[entry].className = std::move(name);
        const std::size_t parent = classEntry(depth + 1);
        result_.objects_[entry].parent = parent;
        return entry;
    }

    std::size_t object(unsigned depth) {
        const std::uint8_t first = head();
        if (first == Nil)
            return Unarchiver::None;
        if (first != New)
            return reference(first, result_.objects_.size());
        if (depth > MaximumDepth) {
            failed_ = true;
            return Unarchiver::None;
        }
        const std::size_t entry = newEntry(false);
        const std::size_t itsClass = classEntry(depth + 1);
        result_.objects_[entry].parent = itsClass;
        Values values;
        while (!failed_ && !rest_.empty() && static_cast<std::uint8_t>(rest_.front()) != End)
            typedValues(values, depth + 1);
        (void)take(1);
        result_.objects_[entry].values = std::move(values);
        return entry;
    }

    Value cString() {
        const std::uint8_t first = head();
        if (first == Nil)
            return {};
        if (first != New)
            return {Unarchiver::Reference{reference(first, result_.objects_.size())}};
        const std::size_t entry = newEntry(false);
        result_.objects_[entry].values.push_back({sharedString()});
        return {Unarchiver::Reference{entry}};
    }

    void typedValues(Values& values, unsigned depth) {
        const std::string types = sharedString();
        std::string_view rest = types;
        if (rest.empty())
            failed_ = true;
        while (!failed_ && !rest.empty())
            values.push_back(value(rest, depth, 0));
    }

    Value value(std::string_view& types, unsigned depth, unsigned typeDepth) {
        if (types.empty() || typeDepth > MaximumTypeDepth || valuesLeft_ == 0) {
            failed_ = true;
            return {};
        }
        --valuesLeft_;
        const char type = types.front();
        types.remove_prefix(1);
        switch (type) {
        case 'c':
        case 'C':
        case 'B':
            return {static_cast<std::int64_t>(static_cast<std::int8_t>(fixed(1)))};
        case 's':
        case 'S':
        case 'i':
        case 'I':
        case 'l':
        case 'L':
        case 'q':
        case 'Q':
            return {integer()};
        case 'f':
        case 'd':
            return real(type == 'f');
        case '@':
            return {Unarchiver::Reference{object(depth)}};
        case '#':
            return {Unarchiver::Reference{classEntry(depth)}};
        case ':':
        case '%':
            return {sharedString()};
        case '*':
            return cString();
        case '+':
            return {std::string(take(length()))};
        case '[':
            return arrayValue(types, depth, typeDepth);
        case '{':
            return structValue(types, depth, typeDepth);
        default:
            failed_ = true;
            return {};
        }
    }

    Value real(bool isSingle) {
        const std::uint8_t first = head();
        if (first != Floating)
            return {static_cast<double>(integerBehind(first))};
        if (isSingle)
            return {
                static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(fixed(4))))};
        return {std::bit_cast<double>(fixed(8))};
    }

    Value arrayValue(std::string_view& types, unsigned depth, unsigned typeDepth) {
        std::uint64_t count = 0;
        while (!types.empty() && types.front() >= '0' && types.front() <= '9') {
            if (count < rest_.size() + 1)
                count = count * 10 + static_cast<std::uint64_t>(types.front() - '0');
            types.remove_prefix(1);
        }
        Value result;
        if (types.starts_with('c') || types.starts_with('C')) {
            types.remove_prefix(1);
            result = {std::string(take(count))};
        } else {
            const std::string_view element = types;
            Values elements;
            for (std::uint64_t i = 0; i < count && !failed_; ++i) {
                types = element;
                elements.push_back(value(types, depth, typeDepth + 1));
            }
            result = {std::move(elements)};
        }
        if (!types.starts_with(']'))
            failed_ = true;
        else
            types.remove_prefix(1);
        return result;
    }

    Value structValue(std::string_view& types, unsigned depth, unsigned typeDepth) {
        const std::size_t name = types.find_first_of("=}");
        if (name == std::string_view::npos) {
            failed_ = true;
            return {};
        }
        types.remove_prefix(types[name] == '=' ? name + 1 : name);
        Values members;
        while (!failed_ && !types.empty() && types.front() != '}')
            members.push_back(value(types, depth, typeDepth + 1));
        if (!types.empty())
            types.remove_prefix(1);
        return {std::move(members)};
    }

    std::string_view rest_;
    Unarchiver& result_;
    std::size_t valuesLeft_;
    bool failed_ = false;
    std::vector<std::string> strings_;
};

std::optional<Unarchiver> Unarchiver::unarchiverForReadingWithData(std::string_view bytes) {
    Unarchiver result;
    if (!UnarchiverStream(bytes, result).read())
        return std::nullopt;
    return result;
}

bool Unarchiver::isKindOfClass(std::size_t object, std::string_view className) const {
    if (object >= objects_.size() || objects_[object].isClass)
        return false;
    // A damaged chain of superclasses may lead back into itself.
    std::size_t entry = objects_[object].parent;
    for (std::size_t steps = 0; entry < objects_.size() && steps < MaximumDepth; ++steps) {
        if (objects_[entry].className == className)
            return true;
        entry = objects_[entry].parent;
    }
    return false;
}

const Unarchiver::Object* Unarchiver::object(const Value& value) const {
    const auto* reference = std::get_if<Reference>(&value.content);
    if (reference == nullptr || reference->index >= objects_.size() ||
        objects_[reference->index].isClass)
        return nullptr;
    return &objects_[reference->index];
}

bool Unarchiver::isKind(const Value& value, std::string_view className) const {
    const auto* reference = std::get_if<Reference>(&value.content);
    return reference != nullptr && isKindOfClass(reference->index, className);
}

std::optional<String> Unarchiver::string(const Value& value) const {
    if (!isKind(value, "NSString"))
        return std::nullopt;
    for (const Value& member : object(value)->values)
        if (const auto* bytes = std::get_if<std::string>(&member.content))
            return fromUTF8(*bytes);
    return std::nullopt;
}

std::optional<std::string> Unarchiver::bytes(const Value& value) const {
    if (!isKind(value, "NSData"))
        return std::nullopt;
    for (const Value& member : object(value)->values)
        if (const auto* bytes = std::get_if<std::string>(&member.content))
            return *bytes;
    return std::nullopt;
}

std::optional<double> Unarchiver::number(const Value& value) const {
    const Object* holder = object(value);
    const Value& number =
        isKind(value, "NSValue") && !holder->values.empty() ? holder->values.back() : value;
    if (const auto* integer = std::get_if<std::int64_t>(&number.content))
        return static_cast<double>(*integer);
    if (const auto* real = std::get_if<double>(&number.content))
        return *real;
    return std::nullopt;
}

// The count comes first, then the elements.
std::optional<Unarchiver::Values> Unarchiver::array(const Value& value) const {
    if (!isKind(value, "NSArray") && !isKind(value, "NSSet"))
        return std::nullopt;
    const Values& values = object(value)->values;
    return values.empty() ? Values() : Values(values.begin() + 1, values.end());
}

std::optional<std::vector<std::pair<Unarchiver::Value, Unarchiver::Value>>>
Unarchiver::dictionary(const Value& value) const {
    if (!isKind(value, "NSDictionary"))
        return std::nullopt;
    const Values& values = object(value)->values;
    std::vector<std::pair<Value, Value>> result;
    for (std::size_t i = 1; i + 1 < values.size(); i += 2)
        result.emplace_back(values[i], values[i + 1]);
    return result;
}

} // namespace dresk
