#include "TextField.h"

#include <cstdlib>
#include <cstring>

#include "input/x11/XkbHeader.h"

#include <xkbcommon/xkbcommon-x11.h>

namespace dresk {

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr);
    const xcb_atom_t atom = reply != nullptr ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    std::free(reply);
    return atom;
}

TextField::TextField()
    : window_(XCB_EVENT_MASK_PROPERTY_CHANGE),
      clipboard_(internAtom(window_.connection(), "CLIPBOARD")),
      targets_(internAtom(window_.connection(), "TARGETS")),
      utf8_(internAtom(window_.connection(), "UTF8_STRING")),
      context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref),
      state_(nullptr, &xkb_state_unref) {
    xkb_x11_setup_xkb_extension(window_.connection(), 1, 0, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, &xkbEvent_, nullptr);
    constexpr std::uint16_t events =
        XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY;
    xcb_xkb_select_events(window_.connection(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, 0xFFFF,
                          0xFFFF, nullptr);
    xcb_flush(window_.connection());
    readKeymap();
}

TextField::~TextField() = default;

int TextField::descriptor() const {
    return xcb_get_file_descriptor(window_.connection());
}

void TextField::serve() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(window_.connection())) {
        handle(*event);
        std::free(event);
    }
    xcb_flush(window_.connection());
}

void TextField::handle(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7F;
    if (type == XCB_KEY_PRESS)
        handleKey(reinterpret_cast<const xcb_key_press_event_t&>(event));
    else if (type == XCB_SELECTION_NOTIFY)
        selectionCame(reinterpret_cast<const xcb_selection_notify_event_t&>(event));
    else if (type == xkbEvent_ && event.pad0 != XCB_XKB_STATE_NOTIFY)
        keymapIsStale_ = true;
}

void TextField::handleKey(const xcb_key_press_event_t& key) {
    if (keymapIsStale_)
        readKeymap();
    xkb_state_update_mask(state_.get(), key.state & 0xFFU, 0, 0, 0, 0, key.state >> 13 & 3U);
    const xkb_keysym_t keysym = xkb_state_key_get_one_sym(state_.get(), key.detail);
    if (keysym == XKB_KEY_BackSpace) {
        if (!text_.empty())
            text_.pop_back();
    } else if ((key.state & XCB_MOD_MASK_CONTROL) != 0) {
        if (keysym == XKB_KEY_v)
            ask(targets_);
    } else if (const std::uint32_t character = xkb_keysym_to_utf32(keysym)) {
        text_.push_back(character);
    }
}

void TextField::ask(xcb_atom_t target) {
    xcb_convert_selection(window_.connection(), window_.window(), clipboard_, target, target,
                          XCB_CURRENT_TIME);
}

void TextField::selectionCame(const xcb_selection_notify_event_t& notice) {
    if (notice.property == XCB_ATOM_NONE)
        return;
    constexpr std::uint32_t longest = 1 << 20;
    xcb_get_property_reply_t* reply =
        xcb_get_property_reply(window_.connection(),
                               xcb_get_property(window_.connection(), 1, window_.window(),
                                                notice.property, XCB_ATOM_ANY, 0, longest),
                               nullptr);
    if (reply != nullptr && notice.target == utf8_) {
        const String text =
            fromUTF8({static_cast<const char*>(xcb_get_property_value(reply)),
                      static_cast<std::size_t>(xcb_get_property_value_length(reply))});
        for (std::size_t i = 0; i < text.size();) {
            const CodePoint point = codePointAt(text, i);
            text_.push_back(point.value);
            i += point.length;
        }
    }
    std::free(reply);
    if (notice.target == targets_)
        ask(utf8_);
}

void TextField::readKeymap() {
    keymapIsStale_ = false;
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(
        context_.get(), window_.connection(),
        xkb_x11_get_core_keyboard_device_id(window_.connection()), XKB_KEYMAP_COMPILE_NO_FLAGS);
    state_.reset(xkb_state_new(keymap));
    xkb_keymap_unref(keymap);
}

} // namespace dresk
