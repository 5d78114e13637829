#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "input/Desktop.h"

namespace dresk {

/// Virtual key codes of keys that mean the same under every layout.
namespace KeyCode {
inline constexpr std::uint16_t Return = 36;
inline constexpr std::uint16_t Tab = 48;
inline constexpr std::uint16_t Space = 49;
inline constexpr std::uint16_t Delete = 51;
inline constexpr std::uint16_t Escape = 53;
inline constexpr std::uint16_t Command = 55;
inline constexpr std::uint16_t Shift = 56;
inline constexpr std::uint16_t Option = 58;
inline constexpr std::uint16_t Control = 59;
inline constexpr std::uint16_t Enter = 76;
inline constexpr std::uint16_t Home = 115;
inline constexpr std::uint16_t PageUp = 116;
inline constexpr std::uint16_t ForwardDelete = 117;
inline constexpr std::uint16_t End = 119;
inline constexpr std::uint16_t PageDown = 121;
inline constexpr std::uint16_t LeftArrow = 123;
inline constexpr std::uint16_t RightArrow = 124;
inline constexpr std::uint16_t DownArrow = 125;
inline constexpr std::uint16_t UpArrow = 126;
} // namespace KeyCode

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
