#pragma once

#include <cstdint>
#include <string_view>

namespace dresk {

/// Virtual key code of a key by its physical position, named as keyboard descriptions name it
/// ("AC01" is the first letter of the home row); 0xFFFF for a position without one.
std::uint16_t keyCodeForPosition(std::string_view name);

} // namespace dresk
