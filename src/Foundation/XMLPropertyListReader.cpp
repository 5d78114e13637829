#include <memory>

#include <plist/plist.h>

#include "Foundation/PropertyList.h"

namespace dresk {

namespace {

constexpr std::size_t MaximumXMLSize = std::size_t{256} << 20;

struct NodeDeleter {
    void operator()(void* node) const { plist_free(node); }
};
struct MemoryDeleter {
    void operator()(void* memory) const { plist_to_xml_free(static_cast<char*>(memory)); }
};
using Memory = std::unique_ptr<void, MemoryDeleter>;

/// Whether the elements nest no deeper than allowed. The library frees its tree by recursion, so
/// that a deep file has to be refused before it is read.
bool isShallow(std::string_view xml) {
    unsigned depth = 0;
    for (std::size_t i = xml.find('<'); i != std::string_view::npos; i = xml.find('<', i + 1)) {
        const std::string_view rest = xml.substr(i);
        std::string_view ending;
        if (rest.starts_with("<!--"))
            ending = "-->";
        else if (rest.starts_with("<![CDATA["))
            ending = "]]>";
        if (!ending.empty()) {
            i = xml.find(ending, i);
        } else if (rest.starts_with("</")) {
            depth -= depth > 0 ? 1 : 0;
        } else if (rest.size() > 1 && rest[1] != '?' && rest[1] != '!') {
            i = xml.find('>', i);
            if (i != std::string_view::npos && xml[i - 1] != '/')
                ++depth;
        }
        if (i == std::string_view::npos)
            return true;
        if (depth > PropertyList::MaximumDepth)
            return false;
    }
    return true;
}

/// Whether a zero character stands in it, as a byte or by number. The library ends the program when
/// it meets one, so that such a file has to be refused before it is read.
bool hasZeroCharacter(std::string_view xml) {
    if (xml.find('\0') != std::string_view::npos)
        return true;
    constexpr std::size_t LongestReference = 8;
    for (std::size_t i = xml.find("&#"); i != std::string_view::npos; i = xml.find("&#", i + 1)) {
        std::string_view digits = xml.substr(i + 2);
        if (digits.starts_with('x') || digits.starts_with('X'))
            digits.remove_prefix(1);
        const std::size_t end = digits.find(';');
        if (end > LongestReference || digits.find_first_not_of('0') == end)
            return true;
    }
    return false;
}

PropertyList converted(plist_t node);

PropertyList convertedArray(plist_t node) {
    PropertyList::Array elements;
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    const Memory owner(iterator);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator, &item);
        if (item == nullptr)
            return PropertyList(std::move(elements));
        elements.push_back(converted(item));
    }
}

PropertyList convertedDictionary(plist_t node) {
    PropertyList::Dictionary entries;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const Memory owner(iterator);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        const Memory keyOwner(key);
        if (item == nullptr || key == nullptr)
            break;
        entries.emplace_back(StringView(fromUTF8(key)), converted(item));
    }
    // References stand in the XML form as a dictionary of their own.
    if (entries.size() == 1 && *entries.front().key == u"CF$UID")
        if (const auto value = entries.front().value.integer())
            return PropertyList(PropertyList::UID{static_cast<std::uint64_t>(*value)});
    return PropertyList(std::move(entries));
}

PropertyList convertedScalar(plist_t node, plist_type type) {
    switch (type) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return PropertyList(value != 0);
    }
    case PLIST_UINT: {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return PropertyList(static_cast<std::int64_t>(value));
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return PropertyList(value);
    }
    case PLIST_DATE: {
        std::int32_t seconds = 0;
        std::int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return PropertyList(Date{seconds + microseconds / 1e6});
    }
    case PLIST_UID: {
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return PropertyList(PropertyList::UID{value});
    }
    default:
        return {};
    }
}

PropertyList converted(plist_t node) {
    const plist_type type = plist_get_node_type(node);
    switch (type) {
    case PLIST_ARRAY:
        return convertedArray(node);
    case PLIST_DICT:
        return convertedDictionary(node);
    case PLIST_STRING: {
        char* text = nullptr;
        plist_get_string_val(node, &text);
        const Memory owner(text);
        return PropertyList(text != nullptr ? fromUTF8(text) : String());
    }
    case PLIST_DATA: {
        char* bytes = nullptr;
        std::uint64_t length = 0;
        plist_get_data_val(node, &bytes, &length);
        const Memory owner(bytes);
        return PropertyList(bytes != nullptr ? std::string(bytes, length) : std::string());
    }
    default:
        return convertedScalar(node, type);
    }
}

} // namespace

std::optional<PropertyList> readXMLPropertyList(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    if (bytes.empty() || bytes.size() > MaximumXMLSize || hasZeroCharacter(bytes) ||
        !isShallow(bytes))
        return std::nullopt;
    plist_t root = nullptr;
    plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    if (root == nullptr)
        return std::nullopt;
    const std::unique_ptr<void, NodeDeleter> owner(root);
    return converted(root);
}

} // namespace dresk
