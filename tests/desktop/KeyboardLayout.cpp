#include "desktop/KeyboardLayout.h"

#include <string_view>

#include <xkbcommon/xkbcommon-compose.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

namespace dresk {
namespace {

template <auto Release>
struct Releaser {
    template <class T>
    void operator()(T* object) const {
        Release(object);
    }
};
using Context = std::unique_ptr<xkb_context, Releaser<xkb_context_unref>>;
using Keymap = std::unique_ptr<xkb_keymap, Releaser<xkb_keymap_unref>>;
using State = std::unique_ptr<xkb_state, Releaser<xkb_state_unref>>;
using ComposeTable = std::unique_ptr<xkb_compose_table, Releaser<xkb_compose_table_unref>>;
using ComposeState = std::unique_ptr<xkb_compose_state, Releaser<xkb_compose_state_unref>>;

/// Whether it is one of the keys that people type text with: no number pad, no pseudo key.
bool isTypingKey(std::uint32_t key) {
    constexpr std::uint32_t LastOfBlock = 65;
    constexpr std::uint32_t NumberPadMultiply = 63;
    constexpr std::uint32_t LessGreater = 94;
    return (key <= LastOfBlock && key != NumberPadMultiply) || key == LessGreater;
}

bool isDead(std::uint32_t keysym) {
    return keysym >= XKB_KEY_dead_grave && keysym <= XKB_KEY_dead_longsolidusoverlay;
}

} // namespace

std::unique_ptr<KeyboardLayout> KeyboardLayout::make(const LayoutNames& names) {
    const Context context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const xkb_rule_names rules{"evdev", "pc105", names.layout.c_str(), names.variant.c_str(),
                               names.options.c_str()};
    Keymap keymap(xkb_keymap_new_from_names(context.get(), &rules, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (keymap == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<KeyboardLayout>(new KeyboardLayout(context.get(), keymap.release()));
}

KeyboardLayout::KeyboardLayout(xkb_context* context, xkb_keymap* keymap)
    : keymap_(keymap), groups_(xkb_keymap_num_layouts(keymap)), characters_(groups_),
      keysyms_(groups_) {
    findChoosers();
    for (unsigned group = 0; group < groups_; group++) {
        for (const auto& modifiers : choosers_) {
            findCharacters(group, modifiers);
        }
    }
    findComposed(context);
    const Keymap done(keymap_);
    keymap_ = nullptr;
}

/// Fewest keys first, so that a character is typed the simplest way.
void KeyboardLayout::findChoosers() {
    choosers_.emplace_back();
    const auto shift = keyOf(XKB_KEY_Shift_L);
    const auto altGr = keyOf(XKB_KEY_ISO_Level3_Shift);
    if (shift) {
        choosers_.push_back({*shift});
    }
    if (altGr) {
        choosers_.push_back({*altGr});
    }
    if (shift && altGr) {
        choosers_.push_back({*shift, *altGr});
    }
    nextGroupKey_ = keyOf(XKB_KEY_ISO_Next_Group);
}

/// The first such key: it is also the one with which the nested server mends its modifiers when
/// they lag behind those outside, so that no other key of the same meaning stays down.
std::optional<std::uint8_t> KeyboardLayout::keyOf(std::uint32_t keysym) const {
    for (auto key = xkb_keymap_min_keycode(keymap_); key <= 255; key++) {
        const xkb_keysym_t* symbols = nullptr;
        const int count = xkb_keymap_key_get_syms_by_level(keymap_, key, 0, 0, &symbols);
        if (count == 1 && symbols[0] == keysym) {
            return static_cast<std::uint8_t>(key);
        }
    }
    return std::nullopt;
}

void KeyboardLayout::findCharacters(unsigned group, const std::vector<std::uint8_t>& modifiers) {
    const State state(xkb_state_new(keymap_));
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, group);
    for (const std::uint8_t modifier : modifiers) {
        xkb_state_update_key(state.get(), modifier, XKB_KEY_DOWN);
    }
    for (auto key = xkb_keymap_min_keycode(keymap_); key <= 255; key++) {
        if (!isTypingKey(key)) {
            continue;
        }
        const KeyStroke stroke{modifiers, static_cast<std::uint8_t>(key)};
        const xkb_keysym_t keysym = xkb_state_key_get_one_sym(state.get(), key);
        if (keysym != XKB_KEY_NoSymbol) {
            keysyms_[group].try_emplace(keysym, stroke);
        }
        if (const char32_t character = xkb_keysym_to_utf32(keysym)) {
            characters_[group].try_emplace(character == U'\r' ? U'\n' : character, Strokes{stroke});
        }
    }
}

/// Adds what a dead key and one more key compose to.
void KeyboardLayout::findComposed(xkb_context* context) {
    const ComposeTable table(
        xkb_compose_table_new_from_locale(context, "C.UTF-8", XKB_COMPOSE_COMPILE_NO_FLAGS));
    if (table == nullptr) {
        return;
    }
    const ComposeState compose(xkb_compose_state_new(table.get(), XKB_COMPOSE_STATE_NO_FLAGS));
    for (unsigned group = 0; group < groups_; group++) {
        for (const auto& [dead, deadStroke] : keysyms_[group]) {
            for (const auto& [keysym, stroke] : keysyms_[group]) {
                if (!isDead(dead) || isDead(keysym)) {
                    continue;
                }
                xkb_compose_state_reset(compose.get());
                xkb_compose_state_feed(compose.get(), dead);
                xkb_compose_state_feed(compose.get(), keysym);
                const xkb_keysym_t result = xkb_compose_state_get_one_sym(compose.get());
                if (const char32_t character = xkb_keysym_to_utf32(result)) {
                    characters_[group].try_emplace(character, Strokes{deadStroke, stroke});
                }
            }
        }
    }
}

std::optional<std::vector<KeyStroke>> KeyboardLayout::strokesFor(StringView text) {
    Strokes strokes;
    const unsigned groupBefore = group_;
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint point = codePointAt(text, i);
        i += point.length;
        if (!appendStrokes(point.value, strokes)) {
            group_ = groupBefore;
            return std::nullopt;
        }
    }
    return strokes;
}

bool KeyboardLayout::appendStrokes(char32_t character, Strokes& strokes) {
    Strokes switches;
    for (unsigned step = 0; step < groups_; step++) {
        const unsigned group = (group_ + step) % groups_;
        const auto found = characters_[group].find(character);
        if (found != characters_[group].end()) {
            strokes.insert(strokes.end(), switches.begin(), switches.end());
            strokes.insert(strokes.end(), found->second.begin(), found->second.end());
            group_ = group;
            return true;
        }
        if (!nextGroupKey_) {
            return false;
        }
        switches.push_back({{}, *nextGroupKey_});
    }
    return false;
}

} // namespace dresk
