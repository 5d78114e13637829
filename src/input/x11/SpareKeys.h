#pragma once

#include <array>

#include "input/x11/Keymap.h"

namespace dresk {

/// Characters that the layout lacks, bound to keycodes that it leaves free, two to a keycode. What
/// is bound stays for reuse, because changing the map costs every client time; the list of own
/// keycodes stands in a property of the root window, so that the next start takes over what a
/// killed process left. Tap thread.
class SpareKeys {
  public:
    explicit SpareKeys(const XConnection& connection);

    /// Own keycodes, those of an earlier process included.
    std::vector<xcb_keycode_t> ownCodes() const;
    /// Takes the keycodes that may be bound from a layout just read, and forgets what it does not
    /// have any more: a change of layout wipes all bindings.
    void setKeymap(const Keymap& keymap);

    /// Binds those of the characters that are not bound yet, in one change of the map. False when
    /// there is no room, without any change: a binding that was used a moment ago is not given up,
    /// since its client may still be reading, nor any before the clients have read all
    /// (`allIsRead`). `now` is in seconds on the run loop's clock.
    bool bind(const std::vector<char32_t>& characters, double now, bool allIsRead);
    /// The stroke for a bound character, in any group.
    std::optional<CharacterStroke> strokeForCharacter(char32_t character, double now);
    bool hasBindings() const;
    /// Makes every keycode free again.
    void unbindAll();

    /// Whether a map notice with that sequence number comes from a change made here.
    bool isOwnChange(std::uint16_t sequence) const;

  private:
    struct Slot {
        xcb_keycode_t code = 0;
        std::uint8_t modifiers = 0;
        char32_t character = 0;
        double lastUse = 0;
    };

    Slot* slotOf(char32_t character);
    bool writeMap();
    void writeOwnCodes();

    const XConnection& connection_;
    xcb_atom_t property_;
    std::vector<xcb_keycode_t> inherited_;
    std::vector<Slot> slots_;
    std::array<unsigned, 8> ownSequences_{};
    std::size_t nextSequence_ = 0;
};

} // namespace dresk
