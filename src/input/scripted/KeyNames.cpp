#include "input/scripted/KeyNames.h"

namespace dresk {

namespace {

struct NamedKey {
    std::string_view name;
    std::uint16_t keyCode;
};

constexpr NamedKey NamedKeys[] = {
    {"Return", KeyCode::Return},
    {"Tab", KeyCode::Tab},
    {"Space", KeyCode::Space},
    {"Delete", KeyCode::Delete},
    {"Escape", KeyCode::Escape},
    {"Enter", KeyCode::Enter},
    {"Insert", KeyCode::Insert},
    {"Home", KeyCode::Home},
    {"PageUp", KeyCode::PageUp},
    {"ForwardDelete", KeyCode::ForwardDelete},
    {"End", KeyCode::End},
    {"PageDown", KeyCode::PageDown},
    {"LeftArrow", KeyCode::LeftArrow},
    {"RightArrow", KeyCode::RightArrow},
    {"DownArrow", KeyCode::DownArrow},
    {"UpArrow", KeyCode::UpArrow},
};

} // namespace

std::string keyName(std::uint16_t keyCode) {
    for (const NamedKey& key : NamedKeys)
        if (key.keyCode == keyCode)
            return std::string(key.name);
    return std::to_string(keyCode);
}

std::optional<std::uint16_t> keyCodeNamed(std::string_view name) {
    for (const NamedKey& key : NamedKeys)
        if (key.name == name)
            return key.keyCode;
    return std::nullopt;
}

std::string modifierPrefix(std::uint64_t flags) {
    std::string result;
    for (const ModifierKey& modifier : ModifierKeys)
        if ((flags & modifier.flag) != 0)
            result.append(modifier.name).append("-");
    return result;
}

} // namespace dresk
