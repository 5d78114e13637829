#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/String.h"

struct xkb_context;
struct xkb_keymap;

namespace dresk {

/// Names of a keyboard layout as setxkbmap takes them, several separated by commas.
struct LayoutNames {
    std::string layout = "us";
    std::string variant;
    std::string options;
};

/// One key with the level choosers (Shift, AltGr) that must be down for it. X key codes.
struct KeyStroke {
    std::vector<std::uint8_t> modifiers;
    std::uint8_t key = 0;

    friend bool operator==(const KeyStroke&, const KeyStroke&) = default;
};

/// Which keys type which characters in a layout, dead keys included: what a user's fingers know.
class KeyboardLayout {
  public:
    /// Null for names that xkeyboard-config does not know.
    static std::unique_ptr<KeyboardLayout> make(const LayoutNames& names);

    /// The strokes that type `text`, beginning in the first group: characters of other groups are
    /// typed behind a tap on the key that switches to the next group. Line feed is Return, tab is
    /// Tab, U+0008 is Backspace. Null when a character is not on the keyboard.
    std::optional<std::vector<KeyStroke>> strokesFor(StringView text);

    /// The group that is active behind all strokes so far, from 0.
    unsigned group() const { return group_; }

  private:
    using Strokes = std::vector<KeyStroke>;

    KeyboardLayout(xkb_context* context, xkb_keymap* keymap);
    void findChoosers();
    void findCharacters(unsigned group, const std::vector<std::uint8_t>& modifiers);
    void findComposed(xkb_context* context);
    std::optional<std::uint8_t> keyOf(std::uint32_t keysym) const;
    bool appendStrokes(char32_t character, Strokes& strokes);

    xkb_keymap* keymap_;
    unsigned groups_;
    unsigned group_ = 0;
    std::vector<std::vector<std::uint8_t>> choosers_;
    std::optional<std::uint8_t> nextGroupKey_;
    /// By group.
    std::vector<std::map<char32_t, Strokes>> characters_;
    std::vector<std::map<std::uint32_t, KeyStroke>> keysyms_;
};

} // namespace dresk
