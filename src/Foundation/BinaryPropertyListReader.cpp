#include <bit>

#include "Foundation/PropertyList.h"

namespace dresk {

namespace {

constexpr std::size_t HeaderSize = 8;
constexpr std::size_t TrailerSize = 32;

/// Reads each object of the file once, so that what the file shares stays shared. Files whose
/// objects contain themselves, or that would unfold to much more than their size, are refused:
/// nobody downstream has to guard against them.
class BinaryReader {
  public:
    explicit BinaryReader(std::string_view bytes) : bytes_(bytes) {}

    std::optional<PropertyList> read() {
        if (!readTrailer() || !readObject(top_, 1))
            return std::nullopt;
        return slots_[top_].value;
    }

  private:
    enum class State : std::uint8_t { Unread, Open, Read };
    struct Slot {
        PropertyList value;
        std::uint64_t unfolded = 1;
        std::uint32_t height = 1;
        State state = State::Unread;
    };
    struct Body {
        std::size_t position;
        std::uint64_t length;
    };

    std::uint64_t number(std::size_t position, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | static_cast<std::uint8_t>(bytes_[position + i]);
        return value;
    }

    bool readTrailer() {
        if (bytes_.size() < HeaderSize + TrailerSize)
            return false;
        const std::size_t trailer = bytes_.size() - TrailerSize;
        offsetSize_ = static_cast<std::uint8_t>(bytes_[trailer + 6]);
        referenceSize_ = static_cast<std::uint8_t>(bytes_[trailer + 7]);
        const std::uint64_t count = number(trailer + 8, 8);
        top_ = number(trailer + 16, 8);
        const std::uint64_t table = number(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8 ||
            table < HeaderSize || table > trailer || count == 0 ||
            count > (trailer - table) / offsetSize_ || top_ >= count)
            return false;
        end_ = table;
        slots_.resize(count);
        unfoldingLimit_ = 1'000'000 + bytes_.size();
        return true;
    }

    bool fits(std::size_t position, std::uint64_t size) const {
        return position <= end_ && size <= end_ - position;
    }

    /// Where the object's bytes begin and how many elements it has.
    std::optional<Body> body(std::size_t position, unsigned info) const {
        if (info != 15)
            return Body{position + 1, info};
        if (!fits(position + 1, 1))
            return std::nullopt;
        const auto marker = static_cast<std::uint8_t>(bytes_[position + 1]);
        const std::size_t size = std::size_t{1} << (marker & 15);
        if (marker >> 4 != 1 || size > 8 || !fits(position + 2, size))
            return std::nullopt;
        return Body{position + 2 + size, number(position + 2, size)};
    }

    bool readObject(std::uint64_t index, unsigned depth) {
        Slot& slot = slots_[index];
        if (slot.state == State::Read)
            return true;
        if (slot.state == State::Open || depth > PropertyList::MaximumDepth)
            return false;
        slot.state = State::Open;
        const std::uint64_t offset = number(end_ + index * offsetSize_, offsetSize_);
        if (offset < HeaderSize || !fits(offset, 1))
            return false;
        const auto marker = static_cast<std::uint8_t>(bytes_[offset]);
        if (!readValue(slot, offset, marker, depth) || slot.unfolded > unfoldingLimit_ ||
            slot.height > PropertyList::MaximumDepth)
            return false;
        slot.state = State::Read;
        return true;
    }

    bool readValue(Slot& slot, std::size_t offset, std::uint8_t marker, unsigned depth) {
        const unsigned info = marker & 15;
        switch (marker >> 4) {
        case 0x0:
            return readSingleton(slot, marker);
        case 0x1:
            return readInteger(slot, offset, info);
        case 0x2:
        case 0x3:
            return readReal(slot, offset, marker);
        case 0x8: {
            const std::size_t size = info + 1;
            if (size > 8 || !fits(offset + 1, size))
                return false;
            slot.value = PropertyList(PropertyList::UID{number(offset + 1, size)});
            return true;
        }
        default:
            break;
        }
        const auto content = body(offset, info);
        return content.has_value() && readSized(slot, *content, marker >> 4, depth);
    }

    static bool readSingleton(Slot& slot, std::uint8_t marker) {
        if (marker == 0x08 || marker == 0x09)
            slot.value = PropertyList(marker == 0x09);
        return marker == 0x00 || marker == 0x08 || marker == 0x09;
    }

    bool readInteger(Slot& slot, std::size_t offset, unsigned info) {
        const std::size_t size = std::size_t{1} << info;
        if (size > 16 || !fits(offset + 1, size))
            return false;
        // Of sixteen bytes the low eight count: the platform writes large unsigned numbers so.
        const std::size_t used = size == 16 ? 8 : size;
        slot.value =
            PropertyList(static_cast<std::int64_t>(number(offset + 1 + size - used, used)));
        return true;
    }

    bool readReal(Slot& slot, std::size_t offset, std::uint8_t marker) {
        const std::size_t size = std::size_t{1} << (marker & 15);
        if ((size != 4 && size != 8) || !fits(offset + 1, size))
            return false;
        const std::uint64_t bits = number(offset + 1, size);
        const double value = size == 8 ? std::bit_cast<double>(bits)
                                       : std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        slot.value = marker >> 4 == 3 ? PropertyList(Date{value}) : PropertyList(value);
        return true;
    }

    bool readSized(Slot& slot, Body content, unsigned kind, unsigned depth) {
        const std::uint64_t length = content.length;
        const std::uint64_t unit = kind == 0x6 ? 2 : kind >= 0xA ? referenceSize_ : 1;
        const std::uint64_t perElement = kind == 0xD ? 2 * unit : unit;
        if (length > bytes_.size() || !fits(content.position, length * perElement))
            return false;
        switch (kind) {
        case 0x4:
            slot.value = PropertyList(std::string(bytes_.substr(content.position, length)));
            return true;
        case 0x5:
        case 0x6:
            slot.value = PropertyList(text(content, kind == 0x6));
            return true;
        case 0x7:
            slot.value = PropertyList(fromUTF8(bytes_.substr(content.position, length)));
            return true;
        case 0xA: // array, and the two kinds of set
        case 0xB:
        case 0xC:
            return readArray(slot, content, depth);
        case 0xD:
            return readDictionary(slot, content, depth);
        default:
            return false;
        }
    }

    String text(Body content, bool wide) const {
        String result(content.length, u'\0');
        for (std::size_t i = 0; i < content.length; ++i)
            result[i] = wide ? static_cast<char16_t>(number(content.position + 2 * i, 2))
                             : static_cast<std::uint8_t>(bytes_[content.position + i]);
        return result;
    }

    /// Reads the object that the reference at `position` names, and adds its weight to `parent`.
    const Slot* child(std::size_t position, Slot& parent, unsigned depth) {
        const std::uint64_t index = number(position, referenceSize_);
        if (index >= slots_.size() || !readObject(index, depth + 1))
            return nullptr;
        const Slot& slot = slots_[index];
        parent.unfolded += slot.unfolded;
        parent.height = std::max(parent.height, slot.height + 1);
        return parent.unfolded <= unfoldingLimit_ ? &slot : nullptr;
    }

    bool readArray(Slot& slot, Body content, unsigned depth) {
        PropertyList::Array elements;
        elements.reserve(content.length);
        for (std::size_t i = 0; i < content.length; ++i) {
            const Slot* element = child(content.position + i * referenceSize_, slot, depth);
            if (element == nullptr)
                return false;
            elements.push_back(element->value);
        }
        slot.value = PropertyList(std::move(elements));
        return true;
    }

    bool readDictionary(Slot& slot, Body content, unsigned depth) {
        PropertyList::Dictionary entries;
        entries.reserve(content.length);
        for (std::size_t i = 0; i < content.length; ++i) {
            const std::size_t keyPosition = content.position + i * referenceSize_;
            const Slot* key = child(keyPosition, slot, depth);
            if (key == nullptr || key->value.string() == nullptr)
                return false;
            const std::size_t valuePosition = keyPosition + content.length * referenceSize_;
            const Slot* value = child(valuePosition, slot, depth);
            if (value == nullptr)
                return false;
            entries.emplace_back(key->value.sharedString(), value->value);
        }
        slot.value = PropertyList(std::move(entries));
        return true;
    }

    std::string_view bytes_;
    std::size_t end_ = 0;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t top_ = 0;
    std::uint64_t unfoldingLimit_ = 0;
    std::vector<Slot> slots_;
};

} // namespace

std::optional<PropertyList> readBinaryPropertyList(std::string_view bytes) {
    return BinaryReader(bytes).read();
}

} // namespace dresk
