#pragma once

#include <atomic>
#include <cstdint>

namespace dresk {

/// Key code that means no key.
inline constexpr std::int32_t NoKeyCode = 65535;

/// The modifier set of the system, equal to (event flags >> 17) & 15.
namespace KeyModifier {
inline constexpr std::int32_t Shift = 1;
inline constexpr std::int32_t Control = 2;
inline constexpr std::int32_t Option = 4;
inline constexpr std::int32_t Command = 8;
} // namespace KeyModifier

/// A key code and a modifier set. With key code 65535 and modifiers it is a hot key made of
/// modifiers alone. The fields are atomic because the preferences change them on the main thread
/// while the tap thread compares.
class GeneralHotKey {
  public:
    GeneralHotKey() = default;
    GeneralHotKey(std::int32_t modifiers, std::int32_t keyCode)
        : keyCode_(keyCode), modifiers_(modifiers) {}
    GeneralHotKey(const GeneralHotKey& other) : GeneralHotKey(other.modifiers(), other.keyCode()) {}
    GeneralHotKey& operator=(const GeneralHotKey& other) {
        setValue(other.getValue());
        return *this;
    }

    std::int32_t keyCode() const { return keyCode_; }
    void setKeyCode(std::int32_t keyCode) { keyCode_ = keyCode; }
    std::int32_t modifiers() const { return modifiers_; }
    void setModifiers(std::int32_t modifiers) { modifiers_ = modifiers; }

    /// Whether it names any key or modifier at all.
    bool isValid() const { return modifiers() != 0 || keyCode() != NoKeyCode; }
    bool equals(const GeneralHotKey& other) const {
        return keyCode() == other.keyCode() && modifiers() == other.modifiers();
    }

    /// The form in the preferences: key code in the low 32 bits, modifiers in the high 32 bits.
    std::int64_t getValue() const {
        return static_cast<std::int64_t>(
            static_cast<std::uint64_t>(static_cast<std::uint32_t>(modifiers())) << 32 |
            static_cast<std::uint32_t>(keyCode()));
    }
    void setValue(std::int64_t value) {
        keyCode_ = static_cast<std::int32_t>(value & 0xFFFFFFFF);
        modifiers_ = static_cast<std::int32_t>(value >> 32);
    }

  private:
    std::atomic<std::int32_t> keyCode_{NoKeyCode};
    std::atomic<std::int32_t> modifiers_{0};
};

} // namespace dresk
