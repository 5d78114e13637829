#include "BareSender.h"

#include <cstdlib>
#include <memory>

#include "TextField.h"

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon.h>

namespace dresk {

namespace {

constexpr xcb_keycode_t Backspace = 22;
constexpr xcb_keycode_t Control = 37;
constexpr xcb_keycode_t Shift = 50;
constexpr xcb_keycode_t V = 55;

} // namespace

BareSender::BareSender()
    : connection_(xcb_connect(nullptr, nullptr)), window_(xcb_generate_id(connection_)),
      clipboard_(internAtom(connection_, "CLIPBOARD")),
      targets_(internAtom(connection_, "TARGETS")), utf8_(internAtom(connection_, "UTF8_STRING")) {
    xcb_create_window(connection_, 0, window_,
                      xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root, -1, -1, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    readLayout();
}

BareSender::~BareSender() {
    for (const xcb_keycode_t key : bound_)
        bind(key, XCB_NO_SYMBOL);
    internAtom(connection_, "CLIPBOARD"); // a round trip
    xcb_disconnect(connection_);
}

void BareSender::readLayout() {
    const xcb_setup_t* setup = xcb_get_setup(connection_);
    const unsigned first = setup->min_keycode;
    const unsigned count = setup->max_keycode - first + 1U;
    const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, void (*)(void*)> map(
        xcb_get_keyboard_mapping_reply(connection_,
                                       xcb_get_keyboard_mapping(connection_, setup->min_keycode,
                                                                static_cast<std::uint8_t>(count)),
                                       nullptr),
        &std::free);
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(map.get());
    const unsigned width = map->keysyms_per_keycode;
    for (unsigned i = 0; i < count; ++i) {
        const auto key = static_cast<xcb_keycode_t>(first + i);
        const xcb_keysym_t* own = keysyms + std::size_t{i} * width;
        bool isFree = true;
        for (unsigned level = 0; level < width; ++level)
            isFree = isFree && own[level] == XCB_NO_SYMBOL;
        if (isFree)
            spare_.push_back(key);
        for (unsigned level = 0; level < 2 && level < width; ++level)
            strokes_.try_emplace(own[level], Stroke{key, level == 1});
    }
}

void BareSender::bind(xcb_keycode_t key, xcb_keysym_t keysym) {
    const xcb_keysym_t both[] = {keysym, keysym};
    xcb_change_keyboard_mapping(connection_, 1, key, 2, both);
}

void BareSender::prepareToType(const std::u32string& text) {
    for (const char32_t character : text) {
        const xcb_keysym_t keysym = xkb_utf32_to_keysym(character);
        if (strokes_.contains(keysym) || spare_.empty())
            continue;
        bound_.push_back(spare_.back());
        spare_.pop_back();
        bind(bound_.back(), keysym);
        strokes_.emplace(keysym, Stroke{bound_.back(), false});
    }
    internAtom(connection_, "CLIPBOARD"); // a round trip
}

void BareSender::fake(bool press, xcb_keycode_t key) {
    xcb_test_fake_input(connection_, press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, XCB_CURRENT_TIME,
                        XCB_WINDOW_NONE, 0, 0, 0);
}

void BareSender::tap(xcb_keycode_t key) {
    fake(true, key);
    fake(false, key);
}

void BareSender::type(int backspaces, const std::u32string& text) {
    for (int i = 0; i < backspaces; ++i)
        tap(Backspace);
    for (const char32_t character : text) {
        const Stroke stroke = strokes_.at(xkb_utf32_to_keysym(character));
        if (stroke.shift)
            fake(true, Shift);
        tap(stroke.key);
        if (stroke.shift)
            fake(false, Shift);
    }
    xcb_flush(connection_);
}

void BareSender::paste(int backspaces, std::string utf8) {
    for (int i = 0; i < backspaces; ++i)
        tap(Backspace);
    own(std::move(utf8));
    fake(true, Control);
    tap(V);
    fake(false, Control);
    xcb_flush(connection_);
}

void BareSender::own(std::string utf8) {
    text_ = std::move(utf8);
    xcb_set_selection_owner(connection_, window_, clipboard_, XCB_CURRENT_TIME);
    xcb_flush(connection_);
}

void BareSender::serve() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        if ((event->response_type & 0x7F) == XCB_SELECTION_REQUEST)
            answer(reinterpret_cast<const xcb_selection_request_event_t&>(*event));
        std::free(event);
    }
    xcb_flush(connection_);
}

void BareSender::answer(const xcb_selection_request_event_t& request) {
    xcb_selection_notify_event_t notice{};
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.requestor = request.requestor;
    notice.selection = request.selection;
    notice.target = request.target;
    notice.property = request.property;
    if (request.target == targets_) {
        const xcb_atom_t targets[] = {targets_, utf8_};
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            XCB_ATOM_ATOM, 32, 2, targets);
    } else if (request.target == utf8_) {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                            utf8_, 8, static_cast<std::uint32_t>(text_.size()), text_.data());
    } else {
        notice.property = XCB_ATOM_NONE;
    }
    xcb_send_event(connection_, 0, request.requestor, 0, reinterpret_cast<const char*>(&notice));
}

} // namespace dresk
