#include "input/scripted/ScriptedKeyboard.h"

#include <utility>

namespace dresk {

std::optional<String> ScriptedKeyboard::stringForKeyCode(std::int64_t keyCode,
                                                         std::uint64_t flags) {
    const auto character = layout().character(keyCode, flags);
    if (!character.has_value())
        return std::nullopt;
    return String(1, character->unit);
}

std::optional<String> ScriptedKeyboard::currentInputSourceIdentifier() {
    return layout().identifier();
}

bool ScriptedKeyboard::select(StringView identifier) {
    const ScriptedLayout* layout = ScriptedLayout::named(identifier);
    if (layout == nullptr)
        return false;
    pendingDeadGlyph_ = 0;
    if (layout_.exchange(layout) != layout && changed_)
        changed_();
    return true;
}

String ScriptedKeyboard::typedString(std::uint16_t keyCode, std::uint64_t flags) {
    const auto character = layout().character(keyCode, flags);
    if (!character.has_value())
        return {};
    const char16_t dead = std::exchange(pendingDeadGlyph_, 0);
    if (character->isDead) {
        pendingDeadGlyph_ = character->unit;
        return dead != 0 ? String(1, dead) : String();
    }
    const String text(1, character->unit);
    return dead != 0 && character->unit >= u' ' ? ScriptedLayout::compose(dead, text) : text;
}

} // namespace dresk
