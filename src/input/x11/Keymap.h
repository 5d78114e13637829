#pragma once

#include <algorithm>
#include <mutex>
#include <unordered_map>

#include "Foundation/String.h"
#include "input/x11/XConnection.h"

#include <xkbcommon/xkbcommon-compose.h>
#include <xkbcommon/xkbcommon.h>

namespace dresk {

/// Modifiers and group as an event carries them.
struct KeyboardState {
    std::uint8_t baseModifiers = 0;
    std::uint8_t latchedModifiers = 0;
    std::uint8_t lockedModifiers = 0;
    std::uint8_t baseGroup = 0;
    std::uint8_t latchedGroup = 0;
    std::uint8_t lockedGroup = 0;

    std::uint8_t effectiveModifiers() const {
        return static_cast<std::uint8_t>(baseModifiers | latchedModifiers | lockedModifiers);
    }
    std::uint8_t group() const {
        return static_cast<std::uint8_t>(baseGroup + latchedGroup + lockedGroup);
    }
};

/// The key that types a character: which modifiers are held, and in which group.
struct CharacterStroke {
    xcb_keycode_t code = 0;
    std::uint8_t modifiers = 0;
    std::uint8_t group = 0;
};

/// The keyboard layout as it was when it was read from the server. Immutable; any thread.
class Keymap {
  public:
    /// Null when the server does not tell its layout. `ownCodes` are keycodes that this program has
    /// bound itself: they count as free.
    static std::shared_ptr<const Keymap> load(const XConnection& connection,
                                              const std::vector<xcb_keycode_t>& ownCodes);

    Keymap(const Keymap&) = delete;
    Keymap& operator=(const Keymap&) = delete;
    ~Keymap();

    /// Counts its references without atomics: to be referenced on the tap thread only.
    xkb_keymap* get() const { return keymap_; }
    /// Virtual key code of a key, from 256 on for positions that have none of their own.
    std::uint16_t keyCode(xcb_keycode_t code) const { return keyCodes_[code]; }
    /// 0 when no key has that virtual key code.
    xcb_keycode_t codeForKeyCode(std::uint16_t keyCode) const;
    /// Modifier bits that the key holds while it is down; 0 for ordinary keys.
    std::uint8_t modifiersOfKey(xcb_keycode_t code) const { return modifiersOfKey_[code]; }
    /// A key that holds that modifier bit; 0 when there is none.
    xcb_keycode_t keyForModifier(std::uint8_t modifier) const;

    /// Shift, Control, Alt (Option) and Super (Command) as EventFlag bits, and back.
    std::uint64_t flagsForModifiers(std::uint8_t modifiers) const;
    std::uint8_t modifiersForFlags(std::uint64_t flags) const;
    /// Modifiers of keys that lock: Caps Lock, Num Lock and the like.
    std::uint8_t lockModifiers() const { return lockModifiers_; }
    std::uint8_t optionModifier() const { return optionModifier_; }

    /// How to type a character with this layout, preferably in `group`; nothing when it has none.
    std::optional<CharacterStroke> strokeForCharacter(char32_t character, std::uint8_t group) const;
    /// What a key types with the given modifiers, one keysym; NoSymbol for none.
    xkb_keysym_t keysym(xcb_keycode_t code, std::uint8_t modifiers, std::uint8_t group) const;
    /// Keycodes without any symbol.
    const std::vector<xcb_keycode_t>& freeCodes() const { return freeCodes_; }
    /// Number of groups, at least 1.
    unsigned groupCount() const { return std::max(1U, xkb_keymap_num_layouts(keymap_)); }
    /// Name and, in brackets, variant of the layout in that group, such as "us" or "us(intl)".
    String layoutIdentifier(std::uint8_t group) const;

  private:
    Keymap(xkb_context* context, xkb_keymap* keymap);
    void readModifiers(const XConnection& connection);
    void readKeys(const std::vector<xcb_keycode_t>& ownCodes);
    void readStrokes(xcb_keycode_t code);
    void readLayoutNames(const XConnection& connection);

    xkb_context* context_;
    xkb_keymap* keymap_;
    mutable std::mutex stateMutex_;
    xkb_state* state_;
    std::uint16_t keyCodes_[256] = {};
    std::uint8_t modifiersOfKey_[256] = {};
    xcb_keycode_t keysOfModifiers_[8] = {};
    std::uint8_t optionModifier_ = XCB_MOD_MASK_1;
    std::uint8_t commandModifier_ = XCB_MOD_MASK_4;
    std::uint8_t lockModifiers_ = XCB_MOD_MASK_LOCK;
    std::uint8_t levelModifiers_ = XCB_MOD_MASK_SHIFT;
    std::unordered_map<char32_t, std::vector<CharacterStroke>> strokes_;
    std::vector<xcb_keycode_t> freeCodes_;
    std::vector<String> layoutIdentifiers_;
};

/// Follows the keys that are typed and tells what they type, dead keys and compose sequences
/// included. Tap thread.
class KeyTranslator {
  public:
    KeyTranslator();
    KeyTranslator(const KeyTranslator&) = delete;
    KeyTranslator& operator=(const KeyTranslator&) = delete;
    ~KeyTranslator();

    void setKeymap(std::shared_ptr<const Keymap> keymap);
    /// The keysym of a key in that state.
    xkb_keysym_t keysym(xcb_keycode_t code, const KeyboardState& state);
    /// What a pressed key adds to the text; empty while a sequence is being composed and for keys
    /// without text.
    String type(xkb_keysym_t keysym);
    /// What the key would add by itself, whatever is being composed.
    static String text(xkb_keysym_t keysym);
    /// The same, or for a dead key the accent itself.
    static String glyph(xkb_keysym_t keysym);
    /// Whether a sequence is open behind the last key.
    bool isComposing() const;
    /// Forgets a sequence that was begun.
    void resetCompose();

  private:
    std::shared_ptr<const Keymap> keymap_;
    xkb_state* state_ = nullptr;
    xkb_context* context_;
    xkb_compose_table* composeTable_ = nullptr;
    xkb_compose_state* composeState_ = nullptr;
};

} // namespace dresk
