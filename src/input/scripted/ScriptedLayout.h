#pragma once

#include <array>
#include <vector>

#include "Foundation/String.h"

namespace dresk {

/// One press of a key: its code and the EventFlag bits it needs.
struct KeyPress {
    std::uint16_t keyCode = 0;
    std::uint64_t flags = 0;
};

/// What the keys type under one keyboard layout, with and without Shift and Option. Immutable.
class ScriptedLayout {
  public:
    struct Character {
        char16_t unit;
        /// Types nothing by itself and marks the next character.
        bool isDead;
    };

    /// "us", "de" or "us(dvorak)"; null for any other name.
    static const ScriptedLayout* named(StringView identifier);

    const String& identifier() const { return identifier_; }
    /// Null when the key types nothing with these flags. Control and Command do not count.
    std::optional<Character> character(std::int64_t keyCode, std::uint64_t flags) const;
    /// The presses that type the code point, dead keys first; empty when the layout lacks it.
    std::vector<KeyPress> pressesFor(char32_t codePoint) const;

    /// What a dead key makes of the text typed behind it.
    static String compose(char16_t deadGlyph, StringView text);

  private:
    static constexpr std::size_t KeyCount = 128;
    static constexpr std::size_t LevelCount = 4;
    struct Key {
        std::array<char16_t, LevelCount> levels{};
        /// One bit per level.
        unsigned deadLevels = 0;
    };
    struct Row {
        std::uint16_t keyCode;
        /// One unit per level; U+0000 for none.
        StringView levels;
        unsigned deadLevels = 0;
    };

    ScriptedLayout(StringView identifier, const std::vector<Row>& rows);
    static std::uint64_t flagsOfLevel(std::size_t level);
    std::optional<KeyPress> find(char32_t unit, bool dead) const;
    static ScriptedLayout makeUS();
    static ScriptedLayout makeGerman();
    static ScriptedLayout makeDvorak();

    String identifier_;
    std::array<Key, KeyCount> keys_{};
};

} // namespace dresk
