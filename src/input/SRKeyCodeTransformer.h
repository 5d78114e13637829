#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Foundation/String.h"

namespace dresk {

class KeyboardLayouts;

/// Names keys for people: fixed names for keys that type nothing, else what the key types under the
/// layout now in force. Any thread.
class SRKeyCodeTransformer {
  public:
    /// `layouts` outlives it.
    explicit SRKeyCodeTransformer(KeyboardLayouts& layouts);

    /// Name of a key; null for no key, for no number at all, and for a key that types nothing. The
    /// number counts as a signed 16-bit value, so that no key (65535) is negative.
    std::optional<String> transformedValue(std::optional<std::int64_t> keyCode) const;
    /// The key of a name; null when no key has it.
    std::optional<std::uint16_t> reverseTransformedValue(StringView name) const;
    /// The same, NoKeyCode (65535) when no key has the name.
    std::uint16_t keyCodeForString(StringView name) const;
    /// Names keys 0 to 127 anew for the operations that lead back from a name, as is due when the
    /// layout has changed. Of two keys with one name the later counts.
    void regenerateStringToKeyCodeMapping();

  private:
    KeyboardLayouts& layouts_;
    mutable std::mutex mutex_;
    std::unordered_map<String, std::uint16_t> keyCodes_;
};

/// Bits of the older event records; the other functions take EventFlag bits.
namespace CarbonFlag {
inline constexpr std::uint64_t Command = 0x100;
inline constexpr std::uint64_t Shift = 0x200;
inline constexpr std::uint64_t Option = 0x800;
inline constexpr std::uint64_t Control = 0x1000;
} // namespace CarbonFlag

/// Each maps the four modifiers; of all other bits only the one of function keys, 0x800000, stays.
std::uint64_t SRCarbonToCocoaFlags(std::uint64_t flags);
std::uint64_t SRCocoaToCarbonFlags(std::uint64_t flags);

/// The name, as transformedValue gives it.
std::optional<String> SRStringForKeyCode(const SRKeyCodeTransformer& transformer,
                                         std::uint16_t keyCode);

/// Glyphs in the order Control, Option, Shift, Command, and behind them the name of the key.
String SRStringForCocoaModifierFlags(std::uint64_t flags);
String SRStringForCarbonModifierFlags(std::uint64_t flags);
String SRStringForCocoaModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                               std::uint64_t flags, std::uint16_t keyCode);
String SRStringForCarbonModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                                std::uint64_t flags, std::uint16_t keyCode);
/// Words in the order Command, Option, Control, Shift, which differs on purpose, and behind them
/// the name of the key.
String SRReadableStringForCocoaModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                                       std::uint64_t flags, std::uint16_t keyCode);
String SRReadableStringForCarbonModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                                        std::uint64_t flags, std::uint16_t keyCode);

/// What the key types with Shift and Option as in `flags`, capitalised; its name where it types
/// nothing.
std::optional<String> SRCharacterForKeyCodeAndCocoaFlags(const SRKeyCodeTransformer& transformer,
                                                         KeyboardLayouts& layouts,
                                                         std::uint16_t keyCode,
                                                         std::uint64_t flags);
std::optional<String> SRCharacterForKeyCodeAndCarbonFlags(const SRKeyCodeTransformer& transformer,
                                                          KeyboardLayouts& layouts,
                                                          std::uint16_t keyCode,
                                                          std::uint64_t flags);

} // namespace dresk
