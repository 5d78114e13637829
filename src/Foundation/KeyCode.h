#pragma once

#include <cstdint>

namespace dresk {

/// Virtual key codes of keys that mean the same under every layout: they name the place of a key.
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
inline constexpr std::uint16_t Insert = 114;
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

} // namespace dresk
