#include "input/x11/KeyWriter.h"

#include <algorithm>

#include <poll.h>

#include "Foundation/KeyCode.h"
#include "Foundation/Log.h"
#include "input/x11/XkbHeader.h"

namespace dresk {

namespace {

// Seconds.
constexpr double LongestPress = 1;
constexpr double LongestAwait = 5;
constexpr double LongestAwaitUnanswered = 0.5;
constexpr double AwaitBehindAnswer = 0.25;
constexpr double LongestPause = 0.5;
constexpr double PauseForCommand = 0.001;
constexpr int HoldStepMilliseconds = 1;

} // namespace

void KeyWriter::begin(const GrabbedPress* pending, xcb_keycode_t grabKey) {
    writing_ = true;
    modifiers_ = 0;
    postedModifiers_ = 0;
    blocked_.reset();
    ownDown_.reset();
    restored_.reset();
    const KeyboardState state = pending != nullptr ? pending->state : port_.currentState();
    userLocks_ = state.lockedModifiers;
    userCapsLock_ = capsLock_ = (state.lockedModifiers & XCB_MOD_MASK_LOCK) != 0;
    userGroup_ = group_ = state.group();

    if (pending != nullptr) {
        port_.keepAndHoldNext();
        if (grabKey != 0 && grabKey != pending->code)
            port_.fake(false, pending->code);
        else
            grabKey = pending->code;
    }
    if (grabKey != 0)
        endGrabOf(grabKey);
    const KeySet down = port_.keysDown();
    for (std::size_t code = 8; code < down.size(); ++code)
        if (down.test(code))
            port_.fake(false, static_cast<xcb_keycode_t>(code));
    setState(0, false, group_);
    while (takeOutUserKeys()) {
    }
}

// A kept key is let go inside its grab, which ends with that: its release never reaches the
// application. Until then every key comes here and waits for an answer.
void KeyWriter::endGrabOf(xcb_keycode_t grabKey) {
    port_.fake(false, grabKey);
    for (;;) {
        const Batch batch = readBatch(0, grabKey);
        if (batch.grabEnded)
            return;
        if (!batch.userPress) {
            port_.keepAndEndGrab(); // it had ended already
            return;
        }
    }
}

void KeyWriter::end() {
    awaitCommands();
    setState(0, userCapsLock_, userGroup_);
    restoreHeldModifiers();
    while (takeOutUserKeys()) {
    }
    connection_.flush();
    writing_ = false;
}

void KeyWriter::restoreHeldModifiers() {
    for (unsigned code = 8; code < 256; ++code) {
        const auto key = static_cast<xcb_keycode_t>(code);
        const std::uint8_t modifiers = keymap_->modifiersOfKey(key);
        if (port_.userKeys().test(code) && modifiers != 0 &&
            (modifiers & keymap_->lockModifiers()) == 0) {
            press(key, false);
            modifiers_ = static_cast<std::uint8_t>(modifiers_ | modifiers);
            restored_.set(code);
        }
    }
}

void KeyWriter::noteUserRelease(xcb_keycode_t code) {
    if (!restored_.test(code))
        return;
    restored_.reset(code);
    port_.fake(false, code);
}

void KeyWriter::write(const DesktopEvent& event, double now) {
    if (event.type != EventType::KeyDown && event.type != EventType::KeyUp)
        return;
    const bool down = event.type == EventType::KeyDown;
    commandsLag_ = event.commandsLag;
    if (!event.unicodeString.empty()) {
        if (down)
            writeText(event.unicodeString, now);
        return;
    }
    pendingSurrogate_ = 0;
    writeKey(event, down);
    if (event.awaited != nullptr && await(*event.awaited)) {
        lateCommands_ = 0;
        const double end = steadySeconds() + LongestPause;
        holdUntil([&] {
            const double time = steadySeconds();
            return time >= *event.awaited + event.pauseBehindAwaited || focusMoved_ || time >= end;
        });
    }
}

void KeyWriter::writeKey(const DesktopEvent& event, bool down) {
    // The command key of this desktop is Control.
    const xcb_keycode_t code = keymap_->codeForKeyCode(
        event.keyCode == KeyCode::Command ? KeyCode::Control : event.keyCode);
    if (code == 0) {
        if (down)
            logLine("The keyboard has no key with code " + std::to_string(event.keyCode));
        return;
    }
    if (const std::uint8_t modifiers = keymap_->modifiersOfKey(code)) {
        postedModifiers_ = static_cast<std::uint8_t>(down ? postedModifiers_ | modifiers
                                                          : postedModifiers_ & ~modifiers);
        setState(postedModifiers_, false, group_);
        return;
    }
    if (!down) {
        port_.fake(false, code);
        return;
    }
    setState(modifiersForFlags(event.flags) | postedModifiers_, false, group_);
    press(code, false);
    // Behind the service's Backspaces goes a paste, which keeps its place.
    if (event.keyCode != KeyCode::Delete)
        ++lateCommands_;
}

// An application that answers has read the keys so far; one that answers again has handled them.
// What it has not done soon behind that, it will not do because of them.
bool KeyWriter::await(const std::atomic<double>& last) {
    int answers = 2;
    std::uint32_t ping = ping_.send(grab_.window());
    double end = steadySeconds() + (ping != 0 ? LongestAwait : LongestAwaitUnanswered);
    holdUntil([&] {
        if (ping != 0 && ping_.isAnswered(ping)) {
            ping = --answers > 0 ? ping_.send(grab_.window()) : 0;
            if (ping == 0 && !commandsLag_)
                end = std::min(end, steadySeconds() + AwaitBehindAnswer);
        }
        return last != 0 || focusMoved_ || steadySeconds() >= end;
    });
    return last != 0;
}

bool KeyWriter::awaitRead() {
    const auto isOver = [this] {
        const double since = ping_.unansweredSince();
        return since == 0 || steadySeconds() >= since + LongestAwait;
    };
    if (writing_)
        holdUntil(isOver);
    while (!isOver()) {
        onProgress_();
        XEvent event = port_.nextFreshEvent();
        if (event == nullptr)
            awaitEvents();
        else if (!ping_.takeAnswer(*event))
            port_.putAside(std::move(event));
    }
    return !ping_.hasUnanswered();
}

void KeyWriter::awaitEvents() const {
    pollfd descriptor{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
    (void)poll(&descriptor, 1, HoldStepMilliseconds);
}

// An application whose commands lag has them in a queue that it comes to when it has read all there
// is: between two answers, a moment apart, it carries out one command at least.
void KeyWriter::awaitCommands() {
    const unsigned answers = commandsLag_ && lateCommands_ != 0 ? lateCommands_ + 1 : 0;
    lateCommands_ = 0;
    for (unsigned i = 0; i < answers && !focusMoved_; ++i) {
        const std::uint32_t ping = ping_.send(grab_.window());
        if (ping == 0)
            return;
        const double sent = steadySeconds();
        holdUntil([&] {
            return ping_.isAnswered(ping) || focusMoved_ ||
                   steadySeconds() >= sent + LongestAwaitUnanswered;
        });
        const double answered = steadySeconds();
        holdUntil([&] { return steadySeconds() >= answered + PauseForCommand; });
    }
}

// The user's keys are taken out meanwhile, as ever.
void KeyWriter::holdUntil(const std::function<bool()>& done) {
    while (!done()) {
        while (takeOutUserKeys()) {
        }
        awaitEvents();
    }
}

// Half a surrogate pair at the end of a block waits for the next one; a lone one is left out.
void KeyWriter::writeText(StringView text, double now) {
    String joined;
    if (pendingSurrogate_ != 0) {
        joined.push_back(pendingSurrogate_);
        joined.append(text);
        text = joined;
        pendingSurrogate_ = 0;
    }
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint point = codePointAt(text, i);
        i += point.length;
        if (point.length == 1 && isHighSurrogate(static_cast<char16_t>(point.value)) &&
            i == text.size())
            pendingSurrogate_ = static_cast<char16_t>(point.value);
        else
            writeCharacter(point.value, now);
    }
}

void KeyWriter::writeCharacter(char32_t character, double now) {
    const bool afterReturn = std::exchange(carriageReturn_, character == U'\r');
    if (character == U'\n' && afterReturn)
        return;
    if (character == U'\n' || character == U'\r' || character == U'\t') {
        setState(0, false, group_);
        press(keymap_->codeForKeyCode(character == U'\t' ? KeyCode::Tab : KeyCode::Return), true);
        ++lateCommands_;
        return;
    }
    std::optional<CharacterStroke> stroke = keymap_->strokeForCharacter(character, group_);
    if (!stroke.has_value()) {
        stroke = spareKeys_.strokeForCharacter(character, now);
        if (!stroke.has_value())
            return;
        stroke->group = group_;
    }
    awaitCommands();
    setState(stroke->modifiers, false, stroke->group);
    press(stroke->code, true);
}

void KeyWriter::writeStroke(xcb_keycode_t code, const KeyboardState& state) {
    carriageReturn_ = false;
    pendingSurrogate_ = 0;
    awaitCommands();
    ++lateCommands_; // it may be one
    setState(static_cast<std::uint8_t>(state.baseModifiers | state.latchedModifiers),
             (state.lockedModifiers & XCB_MOD_MASK_LOCK) != 0, state.group());
    press(code, true);
}

std::uint8_t KeyWriter::modifiersForFlags(std::uint64_t flags) const {
    std::uint8_t modifiers = 0;
    if ((flags & EventFlag::Shift) != 0)
        modifiers |= XCB_MOD_MASK_SHIFT;
    if ((flags & (EventFlag::Control | EventFlag::Command)) != 0)
        modifiers |= XCB_MOD_MASK_CONTROL;
    if ((flags & EventFlag::Option) != 0)
        modifiers = static_cast<std::uint8_t>(modifiers | keymap_->optionModifier());
    return modifiers;
}

void KeyWriter::setState(std::uint8_t modifiers, bool capsLock, std::uint8_t group) {
    if (capsLock != capsLock_ || group != group_) {
        setModifiers(0);
        capsLock_ = capsLock;
        group_ = group;
        port_.lock(capsLock, group);
    }
    setModifiers(modifiers);
}

void KeyWriter::setModifiers(std::uint8_t modifiers) {
    for (unsigned bit = 1; bit < 256; bit <<= 1) {
        const auto modifier = static_cast<std::uint8_t>(bit);
        const xcb_keycode_t code = keymap_->keyForModifier(modifier);
        if (code == 0 || (modifiers & bit) == (modifiers_ & bit) ||
            (keymap_->lockModifiers() & bit) != 0)
            continue;
        if ((modifiers & bit) != 0) {
            press(code, false);
            modifiers_ = static_cast<std::uint8_t>(modifiers_ | bit);
        } else {
            port_.fake(false, code);
            modifiers_ = static_cast<std::uint8_t>(modifiers_ & ~bit);
        }
    }
}

// With the grab in place a press is made until it has come back in the right state. A press is lost
// when the user holds that key; then it is let go and made again.
bool KeyWriter::press(xcb_keycode_t code, bool release) {
    if (code == 0)
        return false;
    const double end = steadySeconds() + LongestPress;
    do {
        port_.fake(true, code);
        if (release)
            port_.fake(false, code);
        if (!grab_.isHeld()) {
            takeOutUserKeys();
            return true;
        }
        switch (awaitPress(code)) {
        case Arrival::Delivered:
        case Arrival::Elsewhere:
            return true;
        case Arrival::WrongState:
            restoreState();
            break;
        case Arrival::Lost:
            port_.fake(false, code);
            blocked_.reset(code);
            break;
        }
    } while (steadySeconds() < end);
    logLine("A key could not be typed: the keyboard is in use");
    return false;
}

// The user let go of or pressed a modifier in between, so what the writer holds is not what the
// server has.
void KeyWriter::restoreState() {
    const std::uint8_t wanted = std::exchange(modifiers_, std::uint8_t{0});
    for (unsigned bit = 1; bit < 256; bit <<= 1)
        if ((keymap_->lockModifiers() & bit) == 0)
            if (const xcb_keycode_t code = keymap_->keyForModifier(static_cast<std::uint8_t>(bit)))
                port_.fake(false, code);
    port_.lock(capsLock_, group_);
    setModifiers(wanted);
}

KeyWriter::Arrival KeyWriter::awaitPress(xcb_keycode_t code) {
    bool wasBlocked = false;
    for (;;) {
        wasBlocked = wasBlocked || blocked_.test(code);
        const Batch batch = readBatch(code, 0);
        if (batch.ownPress.has_value())
            return judge(*batch.ownPress);
        if (batch.focusMoved)
            return Arrival::Elsewhere;
        // Without a key of the user's in between the press has gone by. If the user did not hold
        // that key at any time, another grab, such as that of a menu, has it.
        if (!batch.userPress)
            return wasBlocked ? Arrival::Lost : Arrival::Elsewhere;
    }
}

// Reads what the server has to say. A grabbed key stops all keys behind it until it is answered, so
// each batch ends with at most one. `ownCode` is the own press that is expected, which the caller
// answers; `grabKey` the kept key whose grab is on.
KeyWriter::Batch KeyWriter::readBatch(xcb_keycode_t ownCode, xcb_keycode_t grabKey) {
    {
        const Watchdog::Pause pause(watchdog_);
        port_.roundTrip();
    }
    onProgress_();
    Batch batch;
    while (XEvent event = port_.nextFreshEvent()) {
        xcb_keycode_t released = 0;
        if (const auto raw = port_.rawKey(*event)) {
            noteRaw(*raw);
        } else if (const auto grabbed = port_.grabbedPress(*event)) {
            if (grabbed->fromTest && grabbed->code == ownCode && !batch.ownPress.has_value()) {
                batch.ownPress = grabbed;
                continue;
            }
            stashUserPress(*grabbed);
            batch.userPress = true;
            if (grabKey != 0 && !batch.grabEnded)
                port_.keepAndHoldNext();
            else
                port_.keepAndEndGrab();
        } else if (port_.isGrabbedRelease(*event, released)) {
            if (grabKey == 0 || batch.grabEnded)
                continue;
            if (released == grabKey) {
                batch.grabEnded = true;
            } else {
                port_.keepAndHoldNext();
                batch.userPress = true;
            }
        } else if (ping_.takeAnswer(*event)) {
            continue;
        } else if (grab_.concernsFocus(*event)) {
            batch.focusMoved = grab_.refresh() || batch.focusMoved;
            focusMoved_ = focusMoved_ || batch.focusMoved;
        } else if (!noteState(*event)) {
            port_.putAside(std::move(event));
        }
    }
    return batch;
}

KeyWriter::Arrival KeyWriter::judge(const GrabbedPress& press) {
    std::uint8_t expected = modifiers_;
    if (capsLock_)
        expected |= XCB_MOD_MASK_LOCK;
    // Num Lock and the like say nothing about what a letter types.
    const auto compared = static_cast<std::uint8_t>(~keymap_->lockModifiers() | XCB_MOD_MASK_LOCK);
    if (((press.state.effectiveModifiers() ^ expected) & compared) != 0 ||
        press.state.group() != group_) {
        port_.keepAndHoldNext();
        endGrabOf(press.code);
        return Arrival::WrongState;
    }
    port_.replay();
    return Arrival::Delivered;
}

// A key that repeats is not seen on the keyboard.
void KeyWriter::stashUserPress(const GrabbedPress& press) {
    blocked_.set(press.code);
    if (keymap_->modifiersOfKey(press.code) != 0) {
        port_.fake(false, press.code); // or it would change what is typed
        return;
    }
    auto seen = stash_.end();
    for (auto key = stash_.begin(); key != stash_.end(); ++key)
        if (!key->hasArrived && key->code == press.code &&
            (seen == stash_.end() || (seen->mayBeDropped && !key->mayBeDropped)))
            seen = key;
    if (seen != stash_.end())
        seen->hasArrived = true;
    else
        stash_.push_back({press.code, true, userState()});
}

// The user's keys have their place in the stash from here: this is the order in which they were
// typed.
void KeyWriter::noteRaw(const RawKey& key) {
    if (key.own) {
        ownDown_.set(key.code, key.press);
        return;
    }
    if (!key.press) {
        blocked_.reset(key.code);
        noteUserRelease(key.code);
    }
    if (keymap_->modifiersOfKey(key.code) == 0)
        stash_.push_back({key.code, key.press, userState(), !key.press, ownDown_.test(key.code)});
}

// Most changes of state while writing are the writer's own. Those that a key made are the user's:
// they count from where the user was, and are undone until the writing ends.
bool KeyWriter::noteState(const xcb_generic_event_t& event) {
    const auto& notice = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
    if ((event.response_type & 0x7F) != connection_.xkbFirstEvent() ||
        notice.xkbType != XCB_XKB_STATE_NOTIFY)
        return false;
    if (notice.requestMajor != 0)
        return true;
    const bool capsLock = (notice.lockedMods & XCB_MOD_MASK_LOCK) != 0;
    if ((notice.changed & XCB_XKB_STATE_PART_MODIFIER_LOCK) != 0 && capsLock != capsLock_) {
        userCapsLock_ = !userCapsLock_;
        port_.lock(capsLock_, group_);
    }
    if ((notice.changed & XCB_XKB_STATE_PART_GROUP_LOCK) != 0 && notice.lockedGroup != group_) {
        const unsigned groups = keymap_->groupCount();
        userGroup_ =
            static_cast<std::uint8_t>((userGroup_ + groups + notice.lockedGroup - group_) % groups);
        port_.lock(capsLock_, group_);
    }
    return true;
}

bool KeyWriter::takeOutUserKeys() {
    return readBatch(0, 0).userPress;
}

bool KeyWriter::takeStashed(StashedKey& key) {
    while (!stash_.empty()) {
        // What is on its way has come when nothing more comes. A press that has not was dropped for
        // an own one, or went to another program.
        while (!stash_.front().hasArrived && takeOutUserKeys()) {
        }
        key = stash_.front();
        stash_.pop_front();
        if (key.hasArrived || key.mayBeDropped)
            return true;
    }
    return false;
}

KeyboardState KeyWriter::userState() const {
    KeyboardState state;
    for (std::size_t code = 8; code < 256; ++code)
        if (port_.userKeys().test(code))
            state.baseModifiers = static_cast<std::uint8_t>(
                state.baseModifiers | keymap_->modifiersOfKey(static_cast<xcb_keycode_t>(code)));
    state.baseModifiers &= static_cast<std::uint8_t>(~XCB_MOD_MASK_LOCK);
    state.lockedModifiers = static_cast<std::uint8_t>(userLocks_ & ~XCB_MOD_MASK_LOCK);
    if (userCapsLock_)
        state.lockedModifiers |= XCB_MOD_MASK_LOCK;
    state.lockedGroup = userGroup_;
    return state;
}

} // namespace dresk
