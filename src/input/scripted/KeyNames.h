#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Foundation/KeyCode.h"
#include "input/Desktop.h"

namespace dresk {

/// A modifier in its three forms.
struct ModifierKey {
    std::string_view name;
    std::uint64_t flag;
    std::uint16_t keyCode;
};
inline constexpr ModifierKey ModifierKeys[] = {
    {"Shift", EventFlag::Shift, KeyCode::Shift},
    {"Control", EventFlag::Control, KeyCode::Control},
    {"Option", EventFlag::Option, KeyCode::Option},
    {"Command", EventFlag::Command, KeyCode::Command},
};

/// English name of the key ("Return", "LeftArrow"), or its number.
std::string keyName(std::uint16_t keyCode);
/// Null for an unknown name; numbers are not names.
std::optional<std::uint16_t> keyCodeNamed(std::string_view name);
/// Names of the modifiers in the flags, each followed by a hyphen ("Control-Shift-").
std::string modifierPrefix(std::uint64_t flags);

} // namespace dresk
