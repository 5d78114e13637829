#pragma once

#include <cstdint>

namespace dresk {

/// Virtual key codes of the keys that steer the engine.
namespace VirtualKey {
inline constexpr std::uint16_t Return = 36;
inline constexpr std::uint16_t Space = 49;
inline constexpr std::uint16_t Delete = 51;
inline constexpr std::uint16_t Escape = 53;
inline constexpr std::uint16_t Enter = 76;
inline constexpr std::uint16_t Home = 115;
inline constexpr std::uint16_t PageUp = 116;
inline constexpr std::uint16_t ForwardDelete = 117;
inline constexpr std::uint16_t End = 119;
inline constexpr std::uint16_t PageDown = 121;
inline constexpr std::uint16_t Left = 123;
inline constexpr std::uint16_t Right = 124;
inline constexpr std::uint16_t Down = 125;
inline constexpr std::uint16_t Up = 126;
} // namespace VirtualKey

} // namespace dresk
