#include "input/x11/Keymap.h"

#include <algorithm>
#include <bit>
#include <sstream>

#include "input/Desktop.h"
#include "input/x11/KeyCodes.h"

#include <xkbcommon/xkbcommon-x11.h>

namespace dresk {

namespace {

constexpr std::uint16_t FirstExtraKeyCode = 256;
constexpr xkb_keysym_t KeypadEnter = XKB_KEY_KP_Enter;

std::vector<std::string> splitAtCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, ',');)
        parts.push_back(part);
    return parts;
}

} // namespace

std::shared_ptr<const Keymap> Keymap::load(const XConnection& connection,
                                           const std::vector<xcb_keycode_t>& ownCodes) {
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (context == nullptr)
        return nullptr;
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(
        context, connection.get(), connection.masterKeyboard(), XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (keymap == nullptr) {
        xkb_context_unref(context);
        return nullptr;
    }
    std::shared_ptr<Keymap> result(new Keymap(context, keymap));
    result->readModifiers(connection);
    result->readKeys(ownCodes);
    result->readLayoutNames(connection);
    return result;
}

Keymap::Keymap(xkb_context* context, xkb_keymap* keymap)
    : context_(context), keymap_(keymap), state_(xkb_state_new(keymap)) {}

Keymap::~Keymap() {
    xkb_state_unref(state_);
    xkb_keymap_unref(keymap_);
    xkb_context_unref(context_);
}

void Keymap::readModifiers(const XConnection& connection) {
    const XPointer<xcb_get_modifier_mapping_reply_t> reply(xcb_get_modifier_mapping_reply(
        connection.get(), xcb_get_modifier_mapping(connection.get()), nullptr));
    if (reply == nullptr)
        return;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(reply.get());
    for (unsigned row = 0; row < 8; ++row)
        for (unsigned i = 0; i < reply->keycodes_per_modifier; ++i) {
            const xcb_keycode_t code = codes[row * reply->keycodes_per_modifier + i];
            if (code == 0)
                continue;
            const auto bit = static_cast<std::uint8_t>(1U << row);
            modifiersOfKey_[code] = static_cast<std::uint8_t>(modifiersOfKey_[code] | bit);
            if (keysOfModifiers_[row] == 0)
                keysOfModifiers_[row] = code;
            switch (keysym(code, 0, 0)) {
            case XKB_KEY_Alt_L:
                optionModifier_ = bit;
                break;
            case XKB_KEY_Super_L:
                commandModifier_ = bit;
                break;
            case XKB_KEY_Num_Lock:
            case XKB_KEY_Scroll_Lock:
                lockModifiers_ = static_cast<std::uint8_t>(lockModifiers_ | bit);
                break;
            case XKB_KEY_ISO_Level3_Shift:
                levelModifiers_ = static_cast<std::uint8_t>(levelModifiers_ | bit);
                keysOfModifiers_[row] = code;
                break;
            default:
                break;
            }
        }
}

void Keymap::readKeys(const std::vector<xcb_keycode_t>& ownCodes) {
    const xkb_keycode_t first = std::max<xkb_keycode_t>(8, xkb_keymap_min_keycode(keymap_));
    const xkb_keycode_t last = std::min<xkb_keycode_t>(255, xkb_keymap_max_keycode(keymap_));
    for (xkb_keycode_t key = 0; key < 256; ++key)
        keyCodes_[key] = static_cast<std::uint16_t>(FirstExtraKeyCode + key);
    for (xkb_keycode_t key = first; key <= last; ++key) {
        const auto code = static_cast<xcb_keycode_t>(key);
        const char* name = xkb_keymap_key_get_name(keymap_, key);
        const std::uint16_t position = name != nullptr ? keyCodeForPosition(name) : 0xFFFF;
        if (position != 0xFFFF)
            keyCodes_[code] = position;
        const bool own = std::find(ownCodes.begin(), ownCodes.end(), code) != ownCodes.end();
        if (own || xkb_keymap_num_layouts_for_key(keymap_, key) == 0) {
            if (modifiersOfKey_[code] == 0)
                freeCodes_.push_back(code);
        } else {
            readStrokes(code);
        }
    }
}

// Keeps for each character the stroke with the fewest modifiers of every group.
void Keymap::readStrokes(xcb_keycode_t code) {
    const xkb_layout_index_t groups = xkb_keymap_num_layouts_for_key(keymap_, code);
    for (xkb_layout_index_t group = 0; group < groups; ++group)
        for (xkb_level_index_t level = 0;
             level < xkb_keymap_num_levels_for_key(keymap_, code, group); ++level) {
            const xkb_keysym_t* symbols = nullptr;
            if (xkb_keymap_key_get_syms_by_level(keymap_, code, group, level, &symbols) != 1)
                continue;
            const char32_t character = xkb_keysym_to_utf32(symbols[0]);
            const bool keypad = symbols[0] >= XKB_KEY_KP_Space && symbols[0] <= XKB_KEY_KP_9;
            if (character < 0x20 || character == 0x7F || keypad)
                continue;
            xkb_mod_mask_t masks[16];
            const std::size_t count =
                xkb_keymap_key_get_mods_for_level(keymap_, code, group, level, masks, 16);
            for (std::size_t i = 0; i < count; ++i) {
                if ((masks[i] & ~xkb_mod_mask_t{levelModifiers_}) != 0)
                    continue;
                auto& strokes = strokes_[character];
                const CharacterStroke stroke{code, static_cast<std::uint8_t>(masks[i]),
                                             static_cast<std::uint8_t>(group)};
                const auto same = std::find_if(strokes.begin(), strokes.end(), [&](const auto& s) {
                    return s.group == stroke.group;
                });
                if (same == strokes.end())
                    strokes.push_back(stroke);
                else if (std::popcount(stroke.modifiers) < std::popcount(same->modifiers))
                    *same = stroke;
            }
        }
}

void Keymap::readLayoutNames(const XConnection& connection) {
    const std::string rules = connection.property(
        connection.root(), connection.atom("_XKB_RULES_NAMES"), XCB_ATOM_STRING);
    std::vector<std::string> fields;
    std::istringstream stream(rules);
    for (std::string field; std::getline(stream, field, '\0');)
        fields.push_back(field);
    const auto layouts = fields.size() > 2 ? splitAtCommas(fields[2]) : std::vector<std::string>();
    const auto variants = fields.size() > 3 ? splitAtCommas(fields[3]) : std::vector<std::string>();
    for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts(keymap_); ++group) {
        std::string name;
        if (group < layouts.size() && !layouts[group].empty()) {
            name = layouts[group];
            if (group < variants.size() && !variants[group].empty())
                name += "(" + variants[group] + ")";
        } else if (const char* title = xkb_keymap_layout_get_name(keymap_, group)) {
            name = title;
        }
        layoutIdentifiers_.push_back(fromUTF8(name));
    }
}

xcb_keycode_t Keymap::codeForKeyCode(std::uint16_t keyCode) const {
    for (unsigned code = 8; code < 256; ++code)
        if (keyCodes_[code] == keyCode)
            return static_cast<xcb_keycode_t>(code);
    return 0;
}

xcb_keycode_t Keymap::keyForModifier(std::uint8_t modifier) const {
    return modifier == 0 ? xcb_keycode_t{0} : keysOfModifiers_[std::countr_zero(modifier)];
}

std::uint64_t Keymap::flagsForModifiers(std::uint8_t modifiers) const {
    std::uint64_t flags = 0;
    if ((modifiers & XCB_MOD_MASK_SHIFT) != 0)
        flags |= EventFlag::Shift;
    if ((modifiers & XCB_MOD_MASK_CONTROL) != 0)
        flags |= EventFlag::Control;
    if ((modifiers & optionModifier_) != 0)
        flags |= EventFlag::Option;
    if ((modifiers & commandModifier_) != 0)
        flags |= EventFlag::Command;
    return flags;
}

std::uint8_t Keymap::modifiersForFlags(std::uint64_t flags) const {
    unsigned modifiers = 0;
    if ((flags & EventFlag::Shift) != 0)
        modifiers |= XCB_MOD_MASK_SHIFT;
    if ((flags & EventFlag::Control) != 0)
        modifiers |= XCB_MOD_MASK_CONTROL;
    if ((flags & EventFlag::Option) != 0)
        modifiers |= optionModifier_;
    if ((flags & EventFlag::Command) != 0)
        modifiers |= commandModifier_;
    return static_cast<std::uint8_t>(modifiers);
}

std::optional<CharacterStroke> Keymap::strokeForCharacter(char32_t character,
                                                          std::uint8_t group) const {
    const auto found = strokes_.find(character);
    if (found == strokes_.end())
        return std::nullopt;
    for (const CharacterStroke& stroke : found->second)
        if (stroke.group == group)
            return stroke;
    return found->second.front();
}

xkb_keysym_t Keymap::keysym(xcb_keycode_t code, std::uint8_t modifiers, std::uint8_t group) const {
    if (state_ == nullptr)
        return XKB_KEY_NoSymbol;
    const std::lock_guard lock(stateMutex_);
    xkb_state_update_mask(state_, modifiers, 0, 0, 0, 0, group);
    return xkb_state_key_get_one_sym(state_, code);
}

String Keymap::layoutIdentifier(std::uint8_t group) const {
    return group < layoutIdentifiers_.size() ? layoutIdentifiers_[group] : String();
}

KeyTranslator::KeyTranslator() : context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS)) {
    // The environment is read before the program starts its threads.
    const char* locale = "en_US.UTF-8";
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
        if (value != nullptr && *value != '\0') {
            const std::string_view chosen(value);
            if (chosen != "C" && chosen != "POSIX" && chosen != "C.UTF-8")
                locale = value;
            break;
        }
    }
    if (context_ != nullptr)
        composeTable_ =
            xkb_compose_table_new_from_locale(context_, locale, XKB_COMPOSE_COMPILE_NO_FLAGS);
    if (composeTable_ != nullptr)
        composeState_ = xkb_compose_state_new(composeTable_, XKB_COMPOSE_STATE_NO_FLAGS);
}

KeyTranslator::~KeyTranslator() {
    xkb_compose_state_unref(composeState_);
    xkb_compose_table_unref(composeTable_);
    xkb_state_unref(state_);
    xkb_context_unref(context_);
}

void KeyTranslator::setKeymap(std::shared_ptr<const Keymap> keymap) {
    xkb_state_unref(state_);
    keymap_ = std::move(keymap);
    state_ = keymap_ != nullptr ? xkb_state_new(keymap_->get()) : nullptr;
}

xkb_keysym_t KeyTranslator::keysym(xcb_keycode_t code, const KeyboardState& state) {
    if (state_ == nullptr)
        return XKB_KEY_NoSymbol;
    // Control would choose another level or turn letters into control characters.
    constexpr auto textModifiers = static_cast<std::uint8_t>(~XCB_MOD_MASK_CONTROL);
    xkb_state_update_mask(state_, state.baseModifiers & textModifiers,
                          state.latchedModifiers & textModifiers, state.lockedModifiers,
                          state.baseGroup, state.latchedGroup, state.lockedGroup);
    return xkb_state_key_get_one_sym(state_, code);
}

String KeyTranslator::type(xkb_keysym_t keysym) {
    if (composeState_ != nullptr &&
        xkb_compose_state_feed(composeState_, keysym) == XKB_COMPOSE_FEED_ACCEPTED) {
        switch (xkb_compose_state_get_status(composeState_)) {
        case XKB_COMPOSE_COMPOSING:
            return {};
        case XKB_COMPOSE_CANCELLED:
            xkb_compose_state_reset(composeState_);
            return {};
        case XKB_COMPOSE_COMPOSED: {
            char text[64];
            const int length = xkb_compose_state_get_utf8(composeState_, text, sizeof text);
            xkb_compose_state_reset(composeState_);
            return length > 0 ? fromUTF8({text, std::min<std::size_t>(length, sizeof text - 1)})
                                    .substr(0, 10)
                              : String();
        }
        case XKB_COMPOSE_NOTHING:
            break;
        }
    }
    return text(keysym);
}

String KeyTranslator::text(xkb_keysym_t keysym) {
    if (keysym == KeypadEnter)
        return String(1, u'\u0003');
    const char32_t character = xkb_keysym_to_utf32(keysym);
    String text;
    if (character != 0 && character != 0x7F)
        appendCodePoint(text, character);
    return text;
}

String KeyTranslator::glyph(xkb_keysym_t keysym) {
    switch (keysym) {
    case XKB_KEY_dead_grave:
        return u"`";
    case XKB_KEY_dead_acute:
        return u"\u00B4";
    case XKB_KEY_dead_circumflex:
        return u"^";
    case XKB_KEY_dead_tilde:
        return u"~";
    case XKB_KEY_dead_diaeresis:
        return u"\u00A8";
    case XKB_KEY_dead_cedilla:
        return u"\u00B8";
    case XKB_KEY_dead_caron:
        return u"\u02C7";
    default:
        return text(keysym);
    }
}

bool KeyTranslator::isComposing() const {
    return composeState_ != nullptr &&
           xkb_compose_state_get_status(composeState_) == XKB_COMPOSE_COMPOSING;
}

void KeyTranslator::resetCompose() {
    if (composeState_ != nullptr)
        xkb_compose_state_reset(composeState_);
}

} // namespace dresk
