#include "Foundation/CharacterSetCoding.h"

#include <algorithm>
#include <bit>

namespace dresk {

namespace {

constexpr std::array<StringView, 2> CharacterSetClass{u"NSCharacterSet", u"NSObject"};
constexpr std::size_t PlaneSize = 8192;
constexpr std::size_t LargestBitmap = 17 * (PlaneSize + 1);
constexpr std::size_t FirstBitmapCount = 64;
constexpr char32_t LastCodePoint = 0x10FFFF;

/// The characters as text; null if they are many, or if surrogates among them would pair up.
std::optional<String> shortText(const CharacterSet& set) {
    std::size_t count = set.count();
    for (const auto& [number, plane] : set.supplementaryPlanes())
        for (const std::uint64_t word : plane)
            count += static_cast<std::size_t>(std::popcount(word));
    if (count >= FirstBitmapCount)
        return std::nullopt;
    String text = set.members();
    if (std::any_of(text.begin(), text.end(),
                    [](char16_t c) { return isHighSurrogate(c) || isLowSurrogate(c); }))
        return std::nullopt;
    for (const auto& [number, plane] : set.supplementaryPlanes())
        for (char32_t unit = 0; unit <= 0xFFFF; ++unit)
            if ((plane[unit >> 6] >> (unit & 63) & 1) != 0)
                appendCodePoint(text, char32_t{number} << 16 | unit);
    return text;
}

void appendPlane(std::string& bitmap, const CharacterSet::Bits& plane) {
    for (const std::uint64_t word : plane)
        for (unsigned i = 0; i < 8; ++i)
            bitmap.push_back(static_cast<char>(word >> (8 * i)));
}

std::string bitmapRepresentation(const CharacterSet& set) {
    std::string bitmap;
    appendPlane(bitmap, set.basicPlane());
    for (const auto& [number, plane] : set.supplementaryPlanes()) {
        bitmap.push_back(static_cast<char>(number));
        appendPlane(bitmap, plane);
    }
    return bitmap;
}

/// A bitmap may end early: what is missing is not in the set.
CharacterSet setFromBitmap(std::string_view bitmap) {
    CharacterSet set;
    unsigned number = 0;
    bitmap = bitmap.substr(0, LargestBitmap);
    for (;;) {
        CharacterSet::Bits plane{};
        const std::string_view bytes = bitmap.substr(0, PlaneSize);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            plane[i / 8] |= std::uint64_t{static_cast<std::uint8_t>(bytes[i])} << (8 * (i % 8));
        set.formUnion(CharacterSet(number, plane));
        bitmap.remove_prefix(bytes.size());
        if (bitmap.size() < 2)
            return set;
        number = static_cast<std::uint8_t>(bitmap.front());
        bitmap.remove_prefix(1);
    }
}

const CharacterSet* builtin(std::int64_t number) {
    switch (number) {
    case 1:
        return &CharacterSet::controlCharacterSet();
    case 2:
        return &CharacterSet::whitespaceCharacterSet();
    case 3:
        return &CharacterSet::whitespaceAndNewlineCharacterSet();
    case 4:
        return &CharacterSet::decimalDigitCharacterSet();
    case 5:
        return &CharacterSet::letterCharacterSet();
    case 6:
        return &CharacterSet::lowercaseLetterCharacterSet();
    case 7:
        return &CharacterSet::uppercaseLetterCharacterSet();
    case 8:
        return &CharacterSet::nonBaseCharacterSet();
    case 9:
        return &CharacterSet::decomposableCharacterSet();
    case 10:
        return &CharacterSet::alphanumericCharacterSet();
    case 11:
        return &CharacterSet::punctuationCharacterSet();
    case 12:
        return &CharacterSet::illegalCharacterSet();
    case 13:
        return &CharacterSet::capitalizedLetterCharacterSet();
    case 14:
        return &CharacterSet::symbolCharacterSet();
    case 15:
        return &CharacterSet::newlineCharacterSet();
    default:
        return nullptr;
    }
}

CharacterSet setFromText(StringView text) {
    CharacterSet set;
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint point = codePointAt(text, i);
        set.addCodePoint(point.value);
        i += point.length;
    }
    return set;
}

CharacterSet setFromRange(std::int64_t packed) {
    const auto bits = static_cast<std::uint64_t>(packed);
    const std::uint64_t first = bits >> 32;
    const std::uint64_t end =
        std::min<std::uint64_t>(first + (bits & 0xFFFFFFFF), std::uint64_t{LastCodePoint} + 1);
    CharacterSet set;
    CharacterSet::Bits plane{};
    for (std::uint64_t c = first; c < end; ++c) {
        plane[(c & 0xFFFF) >> 6] |= std::uint64_t{1} << (c & 63);
        if ((c & 0xFFFF) == 0xFFFF || c + 1 == end) {
            set.formUnion(CharacterSet(static_cast<unsigned>(c >> 16), plane));
            plane = {};
        }
    }
    return set;
}

std::optional<CharacterSet> readMembers(const ArchivedObject& object) {
    for (const StringView key : {u"NSString", u"NSStringObject"})
        if (const auto text = object.object(key).string())
            return setFromText(*text);
    if (object.containsValue(u"NSRange"))
        return setFromRange(object.integer(u"NSRange"));
    if (const CharacterSet* set = builtin(object.integer(u"NSBuiltinID")))
        return *set;
    return std::nullopt;
}

} // namespace

KeyedArchiver::UID encodeCharacterSet(KeyedArchiver& archiver, const CharacterSet& set) {
    KeyedArchiver::Object object(archiver, CharacterSetClass);
    if (auto text = shortText(set))
        object.encodeValue(PropertyList(std::move(*text)), u"NSString");
    else
        object.encodeValue(PropertyList(bitmapRepresentation(set)), u"NSBitmap");
    return object.finish();
}

std::optional<CharacterSet> decodeCharacterSet(const ArchivedObject& object) {
    if (!object.isKindOfClass(u"NSCharacterSet"))
        return std::nullopt;
    for (const StringView key : {u"NSBitmap", u"NSBitmapObject"})
        if (const auto bitmap = object.object(key).bytes())
            return setFromBitmap(*bitmap);
    auto set = readMembers(object);
    if (set.has_value() && object.boolean(u"NSIsInverted"))
        return set->inverted();
    return set;
}

} // namespace dresk
