#include "Foundation/KeyCode.h"
#include "Foundation/Log.h"
#include "input/x11/X11EventTaps.h"
#include "input/x11/XkbHeader.h"

// How events travel from the server to the taps, and what is posted from there to the writer.
namespace dresk {

namespace {

constexpr double UnbindSpareKeysAfter = 2.0;
/// Seconds within which a key seen on the keyboard must have reached the grab.
constexpr double ExpectedKeyWithin = 0.05;

std::size_t characterCount(StringView text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); i += codePointAt(text, i).length)
        ++count;
    return count;
}

// What a key of the pad does without Num Lock is what the navigation key does.
std::uint16_t navigationKeyCode(xkb_keysym_t keysym) {
    switch (keysym) {
    case XKB_KEY_KP_Home:
        return KeyCode::Home;
    case XKB_KEY_KP_Up:
        return KeyCode::UpArrow;
    case XKB_KEY_KP_Page_Up:
        return KeyCode::PageUp;
    case XKB_KEY_KP_Left:
        return KeyCode::LeftArrow;
    case XKB_KEY_KP_Right:
        return KeyCode::RightArrow;
    case XKB_KEY_KP_End:
        return KeyCode::End;
    case XKB_KEY_KP_Down:
        return KeyCode::DownArrow;
    case XKB_KEY_KP_Page_Down:
        return KeyCode::PageDown;
    case XKB_KEY_KP_Insert:
        return KeyCode::Insert;
    case XKB_KEY_KP_Delete:
        return KeyCode::ForwardDelete;
    default:
        return 0;
    }
}

} // namespace

void X11EventTaps::readEvents() {
    while (XEvent event = port_.nextEvent())
        dispatch(*event);
    if (!connection_.isAlive()) {
        logLine("The X server has gone");
        setLoop(nullptr);
        return;
    }
    if (expectedCode_ != 0)
        currentLoop()->cancelAndCallAfter(ExpectedKeyWithin, {this, "checkExpectedKey"},
                                          [this] { checkExpectedKey(); });
    connection_.flush();
}

void X11EventTaps::dispatch(const xcb_generic_event_t& event) {
    xcb_keycode_t code = 0;
    if (const auto raw = port_.rawKey(event)) {
        handleRaw(*raw);
    } else if (const auto press = port_.grabbedPress(event)) {
        handlePress(*press);
    } else if (port_.isGrabbedRelease(event, code)) {
        handleRelease(code);
    } else if (ping_.takeAnswer(event)) {
        return;
    } else if (grab_.concernsFocus(event)) {
        if (grab_.refresh())
            handleFocus();
    } else if ((event.response_type & 0x7F) == connection_.xkbFirstEvent()) {
        handleStateNotice(event);
    } else if ((event.response_type & 0x7F) == XCB_GE_GENERIC) {
        const auto& button = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
        if (button.extension == connection_.inputOpcode() &&
            button.event_type == XCB_INPUT_RAW_BUTTON_PRESS)
            handleButton(button.detail);
    }
}

void X11EventTaps::handlePress(const GrabbedPress& press) {
    expectedCode_ = 0;
    missingSince_ = 0;
    if (keymapIsStale_)
        reloadKeymap();
    if (keymap_ == nullptr || keymap_->modifiersOfKey(press.code) != 0) {
        port_.replay();
        keptCode_ = 0;
        connection_.flush();
        return;
    }
    watchdog_.arm();
    const bool swallow = deliverPress(press.code, press.state);
    if (watchdog_.disarm()) {
        // The key has reached the application meanwhile. What was posted follows behind it, and
        // counts on a swallowed key not to be there.
        if (swallow && !posted_.empty())
            postEraseFirst(1);
        reportStall();
        return;
    }
    if (!posted_.empty()) {
        write(&press, swallow);
        return;
    }
    if (swallow) {
        port_.keepAndHoldNext();
        if (keptCode_ == 0)
            keptCode_ = press.code;
    } else {
        port_.replay();
        keptCode_ = 0;
    }
    connection_.flush();
}

// Comes only while a kept key is down. Its own release ends the grab by itself; that of another key
// waits for an answer, and letting it on ends the grab as well.
void X11EventTaps::handleRelease(xcb_keycode_t code) {
    if (code == keptCode_) {
        keptCode_ = 0;
    } else if (releaseIsKept_) {
        port_.keepAndHoldNext();
    } else {
        port_.replay();
        keptCode_ = 0;
    }
    connection_.flush();
}

void X11EventTaps::handleRaw(const RawKey& key) {
    if (key.own || keymap_ == nullptr)
        return;
    if (!key.press)
        writer_.noteUserRelease(key.code);
    if (keymap_->modifiersOfKey(key.code) != 0)
        return;
    if (key.press) {
        if (expectedCode_ != 0)
            noteMissedKey();
        expectedCode_ = 0;
        if (grab_.isHeld() && !isRootChord(key.code))
            expectedCode_ = key.code;
        return;
    }
    KeyboardState state;
    state.lockedGroup = group_;
    releaseIsKept_ = deliverRelease(key.code, state, lastFlags_);
}

// On a busy machine the key itself may just not have been read.
void X11EventTaps::checkExpectedKey() {
    const xcb_keycode_t code = expectedCode_;
    if (code == 0)
        return;
    port_.roundTrip();
    while (XEvent event = port_.nextEvent())
        dispatch(*event);
    connection_.flush();
    if (expectedCode_ != code)
        return;
    expectedCode_ = 0;
    noteMissedKey();
}

// Another program has the keyboard to itself. What is typed there is none of our business.
void X11EventTaps::noteMissedKey() {
    if (missingSince_ == 0)
        missingSince_ = steadySeconds();
    translator_.resetCompose();
    deliver({EventType::ContextLost, 0, 0, {}, false});
}

void X11EventTaps::handleStateNotice(const xcb_generic_event_t& event) {
    switch (event.pad0) {
    case XCB_XKB_STATE_NOTIFY: {
        const auto& notice = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
        deliverFlags(static_cast<std::uint8_t>(notice.baseMods | notice.latchedMods),
                     notice.keycode);
        if (group_.exchange(notice.group) != notice.group && inputSourceChanged_)
            inputSourceChanged_();
        break;
    }
    case XCB_XKB_MAP_NOTIFY:
    case XCB_XKB_NEW_KEYBOARD_NOTIFY:
        if (spareKeys_.isOwnChange(event.sequence) || std::exchange(keymapIsStale_, true))
            break;
        currentLoop()->post({this, "reloadKeymap"}, [this] {
            if (keymapIsStale_)
                reloadKeymap();
            if (inputSourceChanged_)
                inputSourceChanged_();
        });
        break;
    default:
        break;
    }
}

void X11EventTaps::handleButton(std::uint32_t button) {
    if (button == XCB_BUTTON_INDEX_1)
        deliver({EventType::LeftMouseDown, 0, 0, {}, false});
    else if (button == XCB_BUTTON_INDEX_3)
        deliver({EventType::RightMouseDown, 0, 0, {}, false});
}

void X11EventTaps::handleFocus() {
    translator_.resetCompose();
    expectedCode_ = 0;
    missingSince_ = 0;
    {
        const Watchdog::Pause pause(watchdog_);
        if (focusChanged_)
            focusChanged_(grab_.window());
        if (!grab_.isHeld())
            retryGrab();
    }
    deliver({EventType::ContextLost, 0, 0, {}, false});
}

DesktopEvent X11EventTaps::keyEvent(EventType type, xcb_keycode_t code,
                                    const KeyboardState& state) {
    const xkb_keysym_t keysym = translator_.keysym(code, state);
    const std::uint16_t navigation = navigationKeyCode(keysym);
    DesktopEvent event;
    event.type = type;
    event.keyCode = navigation != 0 ? navigation : keymap_->keyCode(code);
    event.flags = keymap_->flagsForModifiers(
        static_cast<std::uint8_t>(state.baseModifiers | state.latchedModifiers));
    const bool chord = (event.flags & (EventFlag::Control | EventFlag::Command)) != 0;
    if (navigation != 0)
        return event;
    if (type == EventType::KeyDown && !chord) {
        const bool wasComposing = translator_.isComposing();
        event.unicodeString = translator_.type(keysym);
        event.isComposing = translator_.isComposing();
        composedLength_ = wasComposing ? characterCount(event.unicodeString) : 0;
    } else {
        event.unicodeString = KeyTranslator::text(keysym);
    }
    return event;
}

void X11EventTaps::deliverFlags(std::uint8_t modifiers, xcb_keycode_t code) {
    if (keymap_ == nullptr)
        return;
    const std::uint64_t flags = keymap_->flagsForModifiers(modifiers);
    if (flags == std::exchange(lastFlags_, flags))
        return;
    deliver({EventType::FlagsChanged, keymap_->keyCode(code), flags, {}, false});
}

bool X11EventTaps::deliverPress(xcb_keycode_t code, const KeyboardState& state) {
    deliverFlags(static_cast<std::uint8_t>(state.baseModifiers | state.latchedModifiers), 0);
    deliveredKeys_.set(code);
    return deliver(keyEvent(EventType::KeyDown, code, state));
}

// Releases are seen wherever the press went; those of a password are nobody's business.
bool X11EventTaps::deliverRelease(xcb_keycode_t code, const KeyboardState& state,
                                  std::optional<std::uint64_t> flags) {
    if (!deliveredKeys_.test(code))
        return false;
    deliveredKeys_.reset(code);
    DesktopEvent event = keyEvent(EventType::KeyUp, code, state);
    event.flags = flags.value_or(event.flags);
    return deliver(event);
}

void X11EventTaps::postEraseFirst(std::size_t count) {
    DesktopEvent press;
    press.keyCode = KeyCode::Delete;
    DesktopEvent release = press;
    release.type = EventType::KeyUp;
    for (std::size_t i = 0; i < count; ++i)
        posted_.insert(posted_.begin(), {press, release});
}

// Writes what was posted, ahead of the key if that is passed. A swallowed key that completes a dead
// key's sequence is typed and erased all the same: the application has the sequence open, and the
// first key of the text would be lost in it.
void X11EventTaps::writeAnswer(xcb_keycode_t code, const KeyboardState& state, bool swallow) {
    if (swallow && composedLength_ != 0 && !posted_.empty()) {
        writer_.writeStroke(code, state);
        postEraseFirst(composedLength_);
    }
    writePosted();
    if (!swallow)
        writer_.writeStroke(code, state);
}

// Writes what was posted, with the key that was pending, then whatever the user typed meanwhile,
// which may be expanded in its turn.
void X11EventTaps::write(const GrabbedPress* pending, bool swallow) {
    if (keymap_ == nullptr) {
        posted_.clear();
        return;
    }
    watchdog_.arm();
    writer_.begin(pending, std::exchange(keptCode_, xcb_keycode_t{0}));
    if (pending != nullptr)
        writeAnswer(pending->code, pending->state, swallow);
    else
        writePosted();
    handleStash();
    writer_.end();
    while (writer_.hasStashed()) {
        writer_.begin(nullptr, 0);
        handleStash();
        writer_.end();
    }
    expectedCode_ = 0;
    const KeyboardState state = writer_.userState();
    if (writer_.takeFocusMoved())
        handleFocus();
    if (watchdog_.disarm())
        reportStall();
    deliverFlags(state.baseModifiers, 0);
    if (group_.exchange(state.lockedGroup) != state.lockedGroup && inputSourceChanged_)
        inputSourceChanged_();
    if (spareKeys_.hasBindings() && loop_ != nullptr)
        keepSpareKeysUntilRead();
}

// An application that is behind still has to find the characters at their keys.
void X11EventTaps::keepSpareKeysUntilRead() {
    ping_.send(grab_.window());
    unbindSpareKeysLater();
}

void X11EventTaps::unbindSpareKeysLater() {
    currentLoop()->cancelAndCallAfter(UnbindSpareKeysAfter, {this, "unbindSpareKeys"}, [this] {
        if (ping_.hasUnanswered())
            unbindSpareKeysLater();
        else
            spareKeys_.unbindAll();
    });
}

void X11EventTaps::writePosted() {
    std::vector<DesktopEvent> events;
    events.swap(posted_);
    const double now = loop_ != nullptr ? currentLoop()->now() : steadySeconds();
    for (const DesktopEvent& event : events)
        writer_.write(event, now);
}

void X11EventTaps::handleStash() {
    StashedKey key;
    while (writer_.takeStashed(key)) {
        if (writer_.takeFocusMoved())
            handleFocus();
        watchdog_.arm();
        if (!key.press) {
            deliverRelease(key.code, key.state, std::nullopt);
            continue;
        }
        writeAnswer(key.code, key.state, deliverPress(key.code, key.state));
    }
}

// The grab is gone until the tap is enabled again.
void X11EventTaps::reportStall() {
    deliver({EventType::TapDisabledByTimeout, 0, 0, {}, false});
}

} // namespace dresk
