#pragma once

#include <string>
#include <variant>
#include <vector>

#include "input/scripted/ScriptedLayout.h"

namespace dresk {

/// Lets so many seconds go by.
struct PlayPause {
    double seconds = 0;
};
/// One thing that the player does: types one character, presses a key, or waits.
using PlayStep = std::variant<char32_t, KeyPress, PlayPause>;

/// The hot keys of the player.
inline constexpr KeyPress ExpandKey{49, 0x40000};
inline constexpr KeyPress UndoKey{51, 0x40000};

/// Steps of a line in UTF-8. All characters stand for themselves but `<`, which begins a key:
/// `<Return>`, `<Shift-LeftArrow>`, `<Command-v>`, or `<Expand>` and `<Undo>` for the hot keys, or
/// `<Wait 0.5>`; `<<` is the character itself. Letters behind a modifier are keys of the US layout.
/// Null, and `error` says why, when a key is unknown.
std::optional<std::vector<PlayStep>> parseKeyNotation(std::string_view typed, std::string& error);

} // namespace dresk
