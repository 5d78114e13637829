#include "Foundation/AttributedStringCoding.h"

#include <array>

namespace dresk {

namespace {

constexpr std::array<StringView, 2> AttributedStringClass{u"NSAttributedString", u"NSObject"};
constexpr std::array<StringView, 3> MutableDataClass{u"NSMutableData", u"NSData", u"NSObject"};

void appendLEB128(std::string& out, std::uint64_t value) {
    while (value >= 0x80) {
        out.push_back(static_cast<char>(value | 0x80));
        value >>= 7;
    }
    out.push_back(static_cast<char>(value));
}

std::optional<std::uint64_t> takeLEB128(std::string_view& bytes) {
    std::uint64_t value = 0;
    for (unsigned shift = 0; shift < 63 && !bytes.empty(); shift += 7) {
        const auto byte = static_cast<std::uint8_t>(bytes.front());
        bytes.remove_prefix(1);
        value |= std::uint64_t{byte & 0x7FU} << shift;
        if (byte < 0x80)
            return value;
    }
    return std::nullopt;
}

void encodeRuns(KeyedArchiver& archiver, KeyedArchiver::Object& object,
                const std::vector<AttributedString::Run>& runs) {
    std::map<const TextAttributes*, std::uint64_t> places;
    std::vector<KeyedArchiver::UID> table;
    std::string info;
    for (const AttributedString::Run& run : runs) {
        const auto [place, isNew] = places.try_emplace(run.attributes.get(), table.size());
        if (isNew)
            table.push_back(encodeTextAttributes(archiver, run.attributes));
        appendLEB128(info, run.length);
        appendLEB128(info, place->second);
    }
    object.encodeObject(archiver.addArray(table, KeyedArchiver::Mutability::Mutable),
                        u"NSAttributes");
    KeyedArchiver::Object data(archiver, MutableDataClass);
    data.encodeValue(PropertyList(std::move(info)), u"NS.data");
    object.encodeObject(data.finish(), u"NSAttributeInfo");
}

std::vector<AttributedString::Run> decodeRuns(const std::vector<ArchivedObject>& table,
                                              std::string_view info, std::uint64_t length) {
    std::vector<AttributedString::Attributes> attributes;
    attributes.reserve(table.size());
    for (const ArchivedObject& entry : table)
        attributes.push_back(decodeTextAttributes(entry));
    std::vector<AttributedString::Run> runs;
    for (std::uint64_t covered = 0; covered < length;) {
        const auto runLength = takeLEB128(info);
        const auto index = takeLEB128(info);
        if (!runLength.has_value() || !index.has_value() || *runLength > length - covered)
            break;
        runs.push_back({*runLength, *index < attributes.size() ? attributes[*index] : nullptr});
        covered += *runLength;
        if (*runLength == 0 && info.empty())
            break;
    }
    return runs;
}

} // namespace

KeyedArchiver::UID encodeAttributedString(KeyedArchiver& archiver, const AttributedString& text) {
    KeyedArchiver::Object object(archiver, AttributedStringClass);
    object.encodeObject(archiver.addString(StringView(text.string())), u"NSString");
    if (text.runs().size() > 1)
        encodeRuns(archiver, object, text.runs());
    else
        object.encodeObject(encodeTextAttributes(archiver, text.runs().empty()
                                                               ? nullptr
                                                               : text.runs().front().attributes),
                            u"NSAttributes");
    return object.finish();
}

std::optional<AttributedString> decodeAttributedString(const ArchivedObject& object) {
    if (!object.isKindOfClass(u"NSAttributedString"))
        return std::nullopt;
    const ArchivedObject characters = object.object(u"NSString");
    auto text = characters.string();
    if (!text.has_value()) {
        if (!characters.isNull())
            object.unarchiver().noteLoss();
        text = String();
    }
    const ArchivedObject attributes = object.object(u"NSAttributes");
    const auto info = object.object(u"NSAttributeInfo").bytes();
    const auto table = attributes.array();
    if (!info.has_value() || !table.has_value())
        return AttributedString(*text,
                                attributes.isNull() ? nullptr : decodeTextAttributes(attributes));
    if (!object.unarchiver().spend(sizeof(AttributedString::Run) * (info->size() + table->size())))
        return AttributedString(*text);
    auto runs = decodeRuns(*table, *info, text->size());
    return AttributedString(std::move(*text), std::move(runs));
}

} // namespace dresk
