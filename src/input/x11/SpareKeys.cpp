#include "input/x11/SpareKeys.h"

#include <algorithm>
#include <cstring>

#include "input/x11/XkbHeader.h"

namespace dresk {

namespace {

constexpr double ReuseAfter = 0.3;
constexpr std::uint8_t TwoLevelType = 1;

void append(std::vector<std::uint8_t>& buffer, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    buffer.insert(buffer.end(), bytes, bytes + size);
}

} // namespace

SpareKeys::SpareKeys(const XConnection& connection)
    : connection_(connection), property_(connection.atom("_DRESK_SPARE_KEYCODES")) {
    for (const std::uint32_t code :
         connection_.property32(connection_.root(), property_, XCB_ATOM_CARDINAL))
        if (code >= 8 && code <= 255)
            inherited_.push_back(static_cast<xcb_keycode_t>(code));
}

std::vector<xcb_keycode_t> SpareKeys::ownCodes() const {
    std::vector<xcb_keycode_t> codes = inherited_;
    for (const Slot& slot : slots_)
        if (slot.character != 0)
            codes.push_back(slot.code);
    std::sort(codes.begin(), codes.end());
    codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    return codes;
}

void SpareKeys::setKeymap(const Keymap& keymap) {
    std::vector<Slot> slots;
    for (const xcb_keycode_t code : keymap.freeCodes())
        for (const std::uint8_t modifiers : {std::uint8_t{0}, std::uint8_t{XCB_MOD_MASK_SHIFT}}) {
            const auto old = std::find_if(slots_.begin(), slots_.end(), [&](const Slot& slot) {
                return slot.code == code && slot.modifiers == modifiers && slot.character != 0 &&
                       keymap.keysym(code, modifiers, 0) == xkb_utf32_to_keysym(slot.character);
            });
            slots.push_back(old != slots_.end() ? *old : Slot{code, modifiers, 0, 0});
        }
    slots_ = std::move(slots);
}

SpareKeys::Slot* SpareKeys::slotOf(char32_t character) {
    const auto found = std::find_if(slots_.begin(), slots_.end(),
                                    [&](const Slot& slot) { return slot.character == character; });
    return found != slots_.end() ? &*found : nullptr;
}

bool SpareKeys::bind(const std::vector<char32_t>& characters, double now, bool allIsRead) {
    std::vector<char32_t> missing;
    for (const char32_t character : characters)
        if (Slot* slot = slotOf(character))
            slot->lastUse = now;
        else
            missing.push_back(character);
    if (missing.empty())
        return true;

    std::vector<Slot*> free;
    for (Slot& slot : slots_)
        if (slot.character == 0 || (allIsRead && now - slot.lastUse > ReuseAfter))
            free.push_back(&slot);
    if (free.size() < missing.size())
        return false;
    std::stable_sort(free.begin(), free.end(), [](const Slot* a, const Slot* b) {
        const double useA = a->character == 0 ? -1 : a->lastUse;
        const double useB = b->character == 0 ? -1 : b->lastUse;
        return useA < useB;
    });
    for (std::size_t i = 0; i < missing.size(); ++i) {
        free[i]->character = missing[i];
        free[i]->lastUse = now;
    }
    return writeMap();
}

std::optional<CharacterStroke> SpareKeys::strokeForCharacter(char32_t character, double now) {
    Slot* slot = slotOf(character);
    if (slot == nullptr)
        return std::nullopt;
    slot->lastUse = now;
    return CharacterStroke{slot->code, slot->modifiers, 0};
}

bool SpareKeys::hasBindings() const {
    return !inherited_.empty() || std::any_of(slots_.begin(), slots_.end(),
                                              [](const Slot& slot) { return slot.character != 0; });
}

void SpareKeys::unbindAll() {
    if (!hasBindings())
        return;
    for (Slot& slot : slots_)
        slot.character = 0;
    writeMap();
}

bool SpareKeys::isOwnChange(std::uint16_t sequence) const {
    return std::any_of(ownSequences_.begin(), ownSequences_.end(), [&](unsigned own) {
        return own != 0 && static_cast<std::uint16_t>(own) == sequence;
    });
}

// One request for the whole stretch from the first to the last spare keycode; the ordinary keys in
// between are written back as they are.
bool SpareKeys::writeMap() {
    if (slots_.empty())
        return false;
    writeOwnCodes();
    const xcb_keycode_t first = slots_.front().code;
    const xcb_keycode_t last = slots_.back().code;
    const auto count = static_cast<std::uint8_t>(last - first + 1);
    const XPointer<xcb_xkb_get_map_reply_t> reply(xcb_xkb_get_map_reply(
        connection_.get(),
        xcb_xkb_get_map(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, 0, XCB_XKB_MAP_PART_KEY_SYMS, 0,
                        0, first, count, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0),
        nullptr));
    if (reply == nullptr || reply->nKeySyms != count)
        return false;
    xcb_xkb_get_map_map_t map;
    xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms,
                               reply->nKeyActions, reply->totalActions, reply->totalKeyBehaviors,
                               reply->virtualMods, reply->totalKeyExplicit, reply->totalModMapKeys,
                               reply->totalVModMapKeys, reply->present, &map);
    std::vector<std::uint8_t> values;
    std::uint16_t total = 0;
    auto keys = xcb_xkb_get_map_map_syms_rtrn_iterator(reply.get(), &map);
    for (unsigned code = first; keys.rem > 0; ++code, xcb_xkb_key_sym_map_next(&keys)) {
        xcb_xkb_key_sym_map_t entry = *keys.data;
        const auto slot = std::find_if(slots_.begin(), slots_.end(),
                                       [&](const Slot& s) { return s.code == code; });
        if (slot == slots_.end()) {
            append(values, &entry, sizeof entry);
            append(values, xcb_xkb_key_sym_map_syms(keys.data), entry.nSyms * sizeof(xcb_keysym_t));
        } else {
            const bool bound = slot->character != 0 || (slot + 1)->character != 0;
            const xcb_keysym_t symbols[2] = {xkb_utf32_to_keysym(slot->character),
                                             xkb_utf32_to_keysym((slot + 1)->character)};
            entry = {};
            entry.kt_index[0] = bound ? TwoLevelType : std::uint8_t{0};
            entry.groupInfo = bound ? 1 : 0;
            entry.width = bound ? 2 : 0;
            entry.nSyms = bound ? 2 : 0;
            append(values, &entry, sizeof entry);
            append(values, symbols, entry.nSyms * sizeof(xcb_keysym_t));
        }
        total = static_cast<std::uint16_t>(total + entry.nSyms);
    }
    const auto cookie =
        xcb_xkb_set_map(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS, 0,
                        xcb_get_setup(connection_.get())->min_keycode,
                        xcb_get_setup(connection_.get())->max_keycode, 0, 0, first, count, total, 0,
                        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, values.data());
    ownSequences_[nextSequence_++ % ownSequences_.size()] = cookie.sequence;
    inherited_.clear(); // the map just written holds them no longer
    writeOwnCodes();
    connection_.flush();
    return true;
}

// Written before the change with what was bound as well, so that a process killed in between leaves
// nothing unknown behind.
void SpareKeys::writeOwnCodes() {
    const std::vector<xcb_keycode_t> codes = ownCodes();
    const std::vector<std::uint32_t> items(codes.begin(), codes.end());
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, connection_.root(), property_,
                        XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(items.size()),
                        items.data());
}

} // namespace dresk
