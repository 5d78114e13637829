#include "desktop/KeyInjector.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "desktop/ChildProcess.h"
#include "desktop/Deadline.h"
#include "input/x11/XkbHeader.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace dresk {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

void waitUntil(const timespec& start, double seconds) {
    double whole = 0;
    const double fraction = std::modf(seconds, &whole);
    timespec time = start;
    time.tv_sec += static_cast<time_t>(whole);
    time.tv_nsec += static_cast<long>(fraction * 1e9);
    if (time.tv_nsec >= 1000000000L) {
        time.tv_nsec -= 1000000000L;
        time.tv_sec++;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0) {
    }
}

timespec monotonicNow() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

bool runSetxkbmap(const std::string& display, const LayoutNames& names) {
    std::vector<std::string> command{"setxkbmap",  "-display", display,       "-rules",
                                     "evdev",      "-model",   "pc105",       "-layout",
                                     names.layout, "-variant", names.variant, "-option"};
    command.emplace_back();
    if (!names.options.empty()) {
        command.insert(command.end(), {"-option", names.options});
    }
    return ChildProcess::run(command) == 0;
}

/// A connection that speaks of keyboards; null when there is none.
Connection connectForKeyboard(const std::string& display) {
    Connection connection(xcb_connect(display.c_str(), nullptr));
    const std::unique_ptr<xcb_xkb_use_extension_reply_t, Free> extension(
        xcb_xkb_use_extension_reply(connection.get(), xcb_xkb_use_extension(connection.get(), 1, 0),
                                    nullptr));
    return extension != nullptr ? std::move(connection) : nullptr;
}

/// Locks the first group and no modifier, and waits until the server has done it.
bool clearLocks(const std::string& display) {
    const Connection connection = connectForKeyboard(display);
    if (connection == nullptr) {
        return false;
    }
    const auto request = xcb_xkb_latch_lock_state_checked(connection.get(), XCB_XKB_ID_USE_CORE_KBD,
                                                          0xFF, 0, 1, 0, 0, 0, 0);
    const std::unique_ptr<xcb_generic_error_t, Free> error(
        xcb_request_check(connection.get(), request));
    return error == nullptr;
}

bool capsLockIsOn(xcb_connection_t* connection) {
    const std::unique_ptr<xcb_xkb_get_state_reply_t, Free> state(xcb_xkb_get_state_reply(
        connection, xcb_xkb_get_state(connection, XCB_XKB_ID_USE_CORE_KBD), nullptr));
    return state != nullptr && (state->lockedMods & XCB_MOD_MASK_LOCK) != 0;
}

} // namespace

std::unique_ptr<KeyInjector> KeyInjector::connect(std::string& error) {
    // Read before any other thread starts.
    const char* inner = std::getenv("DISPLAY");                  // NOLINT(concurrency-mt-unsafe)
    const char* outer = std::getenv("DRESK_TEST_OUTER_DISPLAY"); // NOLINT(concurrency-mt-unsafe)
    if (inner == nullptr || outer == nullptr) {
        error = "run this through tools/with-display";
        return nullptr;
    }
    Connection connection(xcb_connect(outer, nullptr));
    if (xcb_connection_has_error(connection.get()) != 0) {
        error = std::string("no display ") + outer;
        return nullptr;
    }
    std::unique_ptr<KeyInjector> injector(new KeyInjector(connection.release(), outer, inner));
    if (!injector->enterInnerDisplay(error)) {
        return nullptr;
    }
    if (!injector->setLayout({})) {
        error = "cannot set the keyboard layout";
        return nullptr;
    }
    return injector;
}

KeyInjector::KeyInjector(xcb_connection_t* outer, std::string outerName, std::string innerName)
    : outer_(outer), outerName_(std::move(outerName)), innerName_(std::move(innerName)),
      down_(256) {}

KeyInjector::~KeyInjector() {
    for (unsigned key = 0; key < down_.size(); key++) {
        if (down_[key]) {
            send(false, static_cast<std::uint8_t>(key));
        }
    }
    std::free(xcb_get_input_focus_reply(outer_, xcb_get_input_focus(outer_), nullptr));
    xcb_disconnect(outer_);
}

bool KeyInjector::enterInnerDisplay(std::string& error) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(outer_)).data;
    const std::unique_ptr<xcb_query_tree_reply_t, Free> tree(
        xcb_query_tree_reply(outer_, xcb_query_tree(outer_, screen->root), nullptr));
    if (tree == nullptr || xcb_query_tree_children_length(tree.get()) == 0) {
        error = "the outer display holds no nested one";
        return false;
    }
    const xcb_window_t window = xcb_query_tree_children(tree.get())[0];
    xcb_set_input_focus(outer_, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    // The corner, where no window of a test shows tool tips or follows the pointer.
    xcb_warp_pointer(outer_, XCB_NONE, window, 0, 0, 0, 0,
                     static_cast<std::int16_t>(screen->width_in_pixels - 2),
                     static_cast<std::int16_t>(screen->height_in_pixels - 2));
    // Only the inner server repeats held keys, as it does for a keyboard.
    const std::uint32_t off = XCB_AUTO_REPEAT_MODE_OFF;
    xcb_change_keyboard_control(outer_, XCB_KB_AUTO_REPEAT_MODE, &off);
    const std::unique_ptr<xcb_get_input_focus_reply_t, Free> focus(
        xcb_get_input_focus_reply(outer_, xcb_get_input_focus(outer_), nullptr));
    if (focus == nullptr || focus->focus != window) {
        error = "the nested display does not take the focus";
        return false;
    }
    return true;
}

bool KeyInjector::setLayout(const LayoutNames& names) {
    auto layout = KeyboardLayout::make(names);
    if (layout == nullptr) {
        return false;
    }
    for (const std::string& display : {outerName_, innerName_}) {
        if (!runSetxkbmap(display, names) || !clearLocks(display)) {
            return false;
        }
    }
    layout_ = std::move(layout);
    return true;
}

void KeyInjector::press(std::uint8_t key) {
    send(true, key);
}

void KeyInjector::release(std::uint8_t key) {
    send(false, key);
}

void KeyInjector::tap(std::uint8_t key, double hold) {
    const timespec start = monotonicNow();
    send(true, key);
    waitUntil(start, hold);
    send(false, key);
}

bool KeyInjector::toggleCapsLock() {
    constexpr double SecondsToAgree = 5;
    const Connection outer = connectForKeyboard(outerName_);
    const Connection inner = connectForKeyboard(innerName_);
    if (outer == nullptr || inner == nullptr) {
        return false;
    }
    const bool wanted = !capsLockIsOn(outer.get());
    tap(CapsLock);
    // Each look is a round trip to both servers.
    const Deadline deadline(SecondsToAgree);
    while (capsLockIsOn(outer.get()) != wanted || capsLockIsOn(inner.get()) != wanted) {
        if (deadline.passed()) {
            return false;
        }
    }
    return true;
}

bool KeyInjector::type(StringView text, TypingPace pace) {
    const auto strokes = layout_->strokesFor(text);
    if (!strokes) {
        return false;
    }
    const timespec start = monotonicNow();
    for (const TimedKey& key : plan(*strokes, pace)) {
        waitUntil(start, key.time);
        send(key.press, key.key);
    }
    return true;
}

/// A level chooser stays down until a key comes that does not want it.
std::vector<KeyInjector::TimedKey> KeyInjector::plan(const std::vector<KeyStroke>& strokes,
                                                     TypingPace pace) {
    std::vector<TimedKey> keys;
    std::vector<std::uint8_t> held;
    double lastTime = 0;
    for (std::size_t i = 0; i < strokes.size(); i++) {
        const KeyStroke& stroke = strokes[i];
        const double time = static_cast<double>(i) * pace.interval;
        double end = time + pace.hold;
        for (std::size_t next = i + 1; next < strokes.size(); next++) {
            const double nextTime = static_cast<double>(next) * pace.interval;
            if (nextTime >= end) {
                break;
            }
            if (strokes[next].key == stroke.key) {
                end = nextTime;
            }
        }
        for (const std::uint8_t modifier : held) {
            if (std::find(stroke.modifiers.begin(), stroke.modifiers.end(), modifier) ==
                stroke.modifiers.end()) {
                keys.push_back({time, false, modifier});
            }
        }
        for (const std::uint8_t modifier : stroke.modifiers) {
            if (std::find(held.begin(), held.end(), modifier) == held.end()) {
                keys.push_back({time, true, modifier});
            }
        }
        held = stroke.modifiers;
        keys.push_back({time, true, stroke.key});
        keys.push_back({end, false, stroke.key});
        lastTime = std::max(lastTime, end);
    }
    for (const std::uint8_t modifier : held) {
        keys.push_back({lastTime, false, modifier});
    }
    // At one time what goes up goes up first: the same key may come down again.
    std::stable_sort(keys.begin(), keys.end(), [](const TimedKey& a, const TimedKey& b) {
        return a.time != b.time ? a.time < b.time : a.press < b.press;
    });
    return keys;
}

// The inner display fills the outer one, so that places are the same on both.
void KeyInjector::movePointer(int x, int y) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(outer_)).data->root;
    xcb_test_fake_input(outer_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root,
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    xcb_flush(outer_);
}

void KeyInjector::click() {
    for (const std::uint8_t type : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE})
        xcb_test_fake_input(outer_, type, XCB_BUTTON_INDEX_1, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0,
                            0, 0);
    xcb_flush(outer_);
}

void KeyInjector::send(bool press, std::uint8_t key) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(outer_)).data->root;
    xcb_test_fake_input(outer_, press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, XCB_CURRENT_TIME,
                        root, 0, 0, 0);
    xcb_flush(outer_);
    down_[key] = press;
}

} // namespace dresk
