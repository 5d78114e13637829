#include <cassert>
#include <cstdio>

#include "Foundation/Log.h"
#include "input/MacInputService.h"

namespace dresk {

namespace {

constexpr char16_t DeleteCharacter = 8;

std::int32_t modifierSet(std::uint64_t flags) {
    return static_cast<std::int32_t>((flags >> 17) & 15);
}

} // namespace

bool MacInputService::mayBeTapThread() const {
    const std::lock_guard lock(mutex_);
    return tapRunLoop_ == nullptr || tapRunLoop_->isCurrent();
}

// Both taps lead here. True drops the event.
bool MacInputService::cgEventCallback(EventTapProxy proxy, const DesktopEvent& event) {
    if (event.type == EventType::TapDisabledByUserInput) {
        (void)std::puts("Event tap was disabled by user input");
        return false;
    }
    return eventsEnabled_ && cgEventCallbackWithProxy(proxy, event);
}

bool MacInputService::cgEventCallbackWithProxy(EventTapProxy proxy, const DesktopEvent& event) {
    assert(mayBeTapThread());
    if (event.type == EventType::TapDisabledByTimeout) {
        logLine("Event tap was disabled by timeout");
        enableKeyTapAgain();
        return false;
    }
    if (sending_ || pasting_)
        return false;
    pasted_ = false;
    currentProxy_ = proxy;
    lastKeyString_.reset();
    lastKeyCode_ = NotFound;
    switch (event.type) {
    case EventType::ContextLost:
        inputContextChangedEvent_.raise(nullptr);
        return false;
    case EventType::KeyDown:
    case EventType::KeyUp:
        return handleKey(event);
    case EventType::FlagsChanged:
        return handleFlagsChanged(modifierSet(event.flags));
    case EventType::LeftMouseDown:
    case EventType::RightMouseDown:
        mouseDownEvent_.raise(nullptr);
        return false;
    default:
        return false;
    }
}

// The key tap, even when the mouse tap brought the news.
void MacInputService::enableKeyTapAgain() {
    const std::shared_ptr<EventTap> eventTap = [this] {
        const std::lock_guard lock(mutex_);
        return eventTap_;
    }();
    if (eventTap != nullptr)
        eventTap->enable(true);
}

bool MacInputService::handleKey(const DesktopEvent& event) {
    setSecureInputState(false);
    noticeFrontProcess();
    ZPKeyEventArgs args = keyEventArgs(event);
    lastKeyString_ = args.s;
    lastKeyCode_ = event.keyCode;
    return event.type == EventType::KeyUp ? handleKeyUp(args) : handleKeyDown(args);
}

// Before the key itself is looked at, so that what was typed elsewhere is forgotten by then.
void MacInputService::noticeFrontProcess() {
    const std::int64_t front =
        BundleIdentifierResolver::processSerialNumberToNumber(desktop_.processes().frontProcess());
    const std::int64_t last = lastProcessReceivedKeyEvent_.exchange(front);
    if (isLastProcessReceivedKeyEventNull_) {
        isLastProcessReceivedKeyEventNull_ = false;
        return;
    }
    if (front == last)
        return;
    if (tailAppendEventTap_)
        inputContextChangedEvent_.raiseOnMainThread(nullptr);
    else
        inputContextChangedEvent_.raise(nullptr);
}

ZPKeyEventArgs MacInputService::keyEventArgs(const DesktopEvent& event) {
    ZPKeyEventArgs args;
    args.key = event.keyCode;
    if (!event.unicodeString.empty())
        args.s = event.unicodeString;
    else if (!event.isComposing)
        args.s = stringForKeyCode(event.keyCode, event.flags);
    if (args.s.has_value() && !args.s->empty())
        args.c = args.s->front();
    return args;
}

bool MacInputService::handleKeyUp(ZPKeyEventArgs& args) {
    if (canceledKeyCode_ != NoKeyCode && canceledKeyCode_ == args.key) {
        canceledKeyCode_ = NoKeyCode;
        return true;
    }
    keyUpEvent_.raiseOnMainThread(std::make_shared<ZPKeyEventArgs>(std::move(args)));
    return false;
}

bool MacInputService::handleKeyDown(ZPKeyEventArgs& args) {
    bool cancel = checkHotKeys(args.key);
    if (keyModifier_ != 0)
        dontCheckHotKeysOnKeyUp_ = true;
    if (!cancel) {
        const bool isChord =
            (keyModifier_ & (KeyModifier::Control | KeyModifier::Command)) != 0 ||
            ((keyModifier_ & KeyModifier::Option) != 0 && args.c == DeleteCharacter);
        cancel = isChord ? raiseUnregisteredHotKey(args) : raiseKeyDown(args);
    }
    if (cancel)
        canceledKeyCode_ = args.key;
    return cancel;
}

bool MacInputService::raiseUnregisteredHotKey(const ZPKeyEventArgs& args) {
    ZPUnregisteredHotKeyPressedEventArgs chord(GeneralHotKey(keyModifier_, args.key));
    chord.c = args.c;
    chord.key = args.key;
    unregisteredHotKeyPressedEvent_.raise(&chord);
    if (chord.cancel)
        dontCheckHotKeysOnKeyUp_ = true;
    else
        inputContextChangedEvent_.raise(nullptr);
    return chord.cancel;
}

bool MacInputService::raiseKeyDown(ZPKeyEventArgs& args) {
    if (tailAppendEventTap_) {
        keyDownEvent_.raiseOnMainThread(std::make_shared<ZPKeyEventArgs>(std::move(args)));
        return false;
    }
    keyDownEvent_.raise(&args);
    return args.cancel;
}

bool MacInputService::handleFlagsChanged(std::int32_t modifiers) {
    // Compared as numbers: it holds for one modifier at a time, which is how they arrive.
    if (keyModifier_ < modifiers) {
        dontCheckHotKeysOnKeyUp_ = false;
        keyModifier_ = modifiers;
        return false;
    }
    const bool cancel = !dontCheckHotKeysOnKeyUp_ && checkHotKeys(NoKeyCode);
    keyModifier_ = modifiers;
    // Of several modifiers only the first release is tested.
    dontCheckHotKeysOnKeyUp_ = modifiers != 0;
    return cancel;
}

bool MacInputService::checkHotKeys(std::uint16_t keyCode) {
    if (keyCode == NoKeyCode && keyModifier_ == 0)
        return false;
    const GeneralHotKey held(keyModifier_, keyCode);
    std::vector<const GeneralHotKey*> matches;
    for (const GeneralHotKey* hotKey : hotKeys_)
        if (hotKey->equals(held))
            matches.push_back(hotKey);
    if (matches.empty())
        return false;
    if (keyModifier_ != 0)
        dontCheckHotKeysOnKeyUp_ = true;
    ZPHotKeysPressedEventArgs args(std::move(matches));
    hotKeysPressed_.raise(&args);
    return args.cancel;
}

bool MacInputService::isSameProcess() const {
    return lastProcessReceivedKeyEvent() == dreskProcess_;
}

ProcessSerialNumber MacInputService::lastProcessReceivedKeyEvent() const {
    return BundleIdentifierResolver::numberToProcessSerialNumber(lastProcessReceivedKeyEvent_);
}

} // namespace dresk
