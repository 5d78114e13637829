#include "input/scripted/ScriptedEventTaps.h"

#include <algorithm>
#include <utility>

#include "input/scripted/KeyNames.h"

namespace dresk {

namespace {

/// Code of the key behind a text that no key has.
constexpr std::uint16_t NamelessKey = 256;

bool isKeyEvent(EventType type) {
    return type == EventType::KeyDown || type == EventType::KeyUp ||
           type == EventType::FlagsChanged;
}

bool isTapDisabled(EventType type) {
    return type == EventType::TapDisabledByTimeout || type == EventType::TapDisabledByUserInput;
}

} // namespace

struct ScriptedEventTaps::Tap {
    Location location = Location::Session;
    Options options = Options::Default;
    std::uint32_t mask = 0;
    Callback callback;
    std::atomic<bool> enabled{true};
    /// Held around the callback, so that the tap cannot go while it runs; recursive because a
    /// callback may end its own tap.
    std::recursive_mutex running;
    bool gone = false;
};

class ScriptedEventTaps::TapHandle final : public EventTap {
  public:
    TapHandle(ScriptedEventTaps& owner, std::shared_ptr<Tap> tap)
        : owner_(owner), tap_(std::move(tap)) {}
    ~TapHandle() override {
        {
            const std::lock_guard running(tap_->running);
            tap_->gone = true;
        }
        const std::lock_guard lock(owner_.mutex_);
        std::erase(owner_.taps_, tap_);
    }
    void enable(bool enabled) override { tap_->enabled = enabled; }

  private:
    ScriptedEventTaps& owner_;
    std::shared_ptr<Tap> tap_;
};

ScriptedEventTaps::ScriptedEventTaps(ScriptedKeyboard& keyboard, ScriptedApplications& applications,
                                     std::function<double()> now)
    : keyboard_(keyboard), applications_(applications), now_(std::move(now)) {}

std::unique_ptr<EventTap> ScriptedEventTaps::createEventTap(Location location, Options options,
                                                            std::uint32_t mask, RunLoop&,
                                                            Callback callback) {
    if ((mask & refusedMask_) != 0)
        return nullptr;
    auto tap = std::make_shared<Tap>();
    tap->location = location;
    tap->options = options;
    tap->mask = mask;
    tap->callback = std::move(callback);
    const std::lock_guard lock(mutex_);
    const auto place = std::find_if(taps_.begin(), taps_.end(),
                                    [&](const auto& other) { return other->location > location; });
    taps_.insert(place, tap);
    return std::make_unique<TapHandle>(*this, std::move(tap));
}

std::vector<std::shared_ptr<ScriptedEventTaps::Tap>>
ScriptedEventTaps::tapsFor(EventType type) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<Tap>> result;
    for (const auto& tap : taps_)
        if ((tap->mask & eventMask(type)) != 0)
            result.push_back(tap);
    return result;
}

bool ScriptedEventTaps::callBack(Tap& tap, const DesktopEvent& event) {
    const std::lock_guard running(tap.running);
    if (tap.gone || (!tap.enabled && !isTapDisabled(event.type)))
        return false;
    return tap.callback(&tap, event) && tap.options == Options::Default && isKeyEvent(event.type);
}

bool ScriptedEventTaps::isSwallowedBy(Tap& tap, const DesktopEvent& event) {
    const double start = now_();
    const bool swallowed = callBack(tap, event);
    if (now_() - start <= callbackLimit_)
        return swallowed;
    tap.enabled = false;
    callBack(tap, {EventType::TapDisabledByTimeout, 0, 0, {}});
    return false;
}

bool ScriptedEventTaps::isSwallowed(const DesktopEvent& event) {
    if (isKeyEvent(event.type) && secureInput_)
        return false;
    for (const auto& tap : tapsFor(event.type))
        if (isSwallowedBy(*tap, event))
            return true;
    return false;
}

void ScriptedEventTaps::deliver(const DesktopEvent& event) {
    if (!isSwallowed(event))
        applications_.receive(event, event.unicodeString, pastes(event));
}

// The shortcuts of all sorts of applications.
bool ScriptedEventTaps::pastes(const DesktopEvent& event) const {
    if (event.type != EventType::KeyDown)
        return false;
    const std::uint64_t flags = event.flags & EventFlag::Modifiers;
    if (event.keyCode == KeyCode::Insert)
        return flags == EventFlag::Shift;
    const auto key = keyboard_.layout().character(event.keyCode, 0);
    return key.has_value() && key->unit == u'v' &&
           (flags == EventFlag::Command || flags == EventFlag::Control ||
            flags == (EventFlag::Control | EventFlag::Shift));
}

struct ScriptedEventTaps::HotKey {
    std::uint16_t keyCode;
    std::uint64_t flags;
    RunLoop& loop;
    std::function<void()> pressed;
};

class ScriptedEventTaps::HotKeyHandle final : public EventHotKey {
  public:
    HotKeyHandle(ScriptedEventTaps& taps, std::shared_ptr<HotKey> hotKey)
        : taps_(taps), hotKey_(std::move(hotKey)) {}
    HotKeyHandle(const HotKeyHandle&) = delete;
    HotKeyHandle& operator=(const HotKeyHandle&) = delete;
    ~HotKeyHandle() override {
        const std::lock_guard lock(taps_.mutex_);
        std::erase(taps_.hotKeys_, hotKey_);
        hotKey_->loop.cancelAll(hotKey_.get());
    }

  private:
    ScriptedEventTaps& taps_;
    const std::shared_ptr<HotKey> hotKey_;
};

std::unique_ptr<EventHotKey> ScriptedEventTaps::registerHotKey(std::uint16_t keyCode,
                                                               std::uint64_t flags, RunLoop& loop,
                                                               std::function<void()> pressed) {
    auto hotKey = std::make_shared<HotKey>(HotKey{keyCode, flags, loop, std::move(pressed)});
    const std::lock_guard lock(mutex_);
    hotKeys_.push_back(hotKey);
    return std::make_unique<HotKeyHandle>(*this, std::move(hotKey));
}

bool ScriptedEventTaps::pressHotKey(std::uint16_t keyCode) {
    const std::lock_guard lock(mutex_);
    for (const auto& hotKey : hotKeys_) {
        if (hotKey->keyCode != keyCode || hotKey->flags != heldFlags_)
            continue;
        hotKey->loop.post({hotKey.get(), "pressed"}, hotKey->pressed);
        return true;
    }
    return false;
}

std::optional<std::vector<EventTapInformation>> ScriptedEventTaps::eventTapList() {
    const std::lock_guard lock(mutex_);
    return eventTapList_;
}

void ScriptedEventTaps::setEventTapList(std::optional<std::vector<EventTapInformation>> list) {
    const std::lock_guard lock(mutex_);
    eventTapList_ = std::move(list);
}

void ScriptedEventTaps::pressKey(std::uint16_t keyCode) {
    heldKeys_.insert(keyCode);
    if (pressHotKey(keyCode))
        return;
    deliver({EventType::KeyDown, keyCode, heldFlags_, keyboard_.typedString(keyCode, heldFlags_)});
}

void ScriptedEventTaps::releaseKey(std::uint16_t keyCode) {
    heldKeys_.erase(keyCode);
    // A release composes nothing.
    const auto typed = keyboard_.layout().character(keyCode, heldFlags_);
    deliver({EventType::KeyUp, keyCode, heldFlags_,
             typed.has_value() && !typed->isDead ? String(1, typed->unit) : String()});
}

void ScriptedEventTaps::commitText(StringView text) {
    deliver({EventType::KeyDown, NamelessKey, heldFlags_, String(text)});
    deliver({EventType::KeyUp, NamelessKey, heldFlags_, String(text)});
}

void ScriptedEventTaps::holdModifiers(std::uint64_t flags) {
    for (const ModifierKey& modifier : ModifierKeys) {
        if (((heldFlags_ ^ flags) & modifier.flag) == 0)
            continue;
        heldFlags_ ^= modifier.flag;
        if ((heldFlags_ & modifier.flag) != 0)
            heldKeys_.insert(modifier.keyCode);
        else
            heldKeys_.erase(modifier.keyCode);
        deliver({EventType::FlagsChanged, modifier.keyCode, heldFlags_, {}});
    }
}

void ScriptedEventTaps::pressMouse(EventType button) {
    deliver({button, 0, heldFlags_, {}});
}

void ScriptedEventTaps::disableKeyTaps(EventType reason) {
    for (const auto& tap : tapsFor(EventType::KeyDown)) {
        tap->enabled = false;
        callBack(*tap, {reason, 0, 0, {}});
    }
}

void ScriptedEventTaps::postEvent(EventTapProxy proxy, const DesktopEvent& event) {
    bool isKnown = false;
    {
        const std::lock_guard lock(mutex_);
        isKnown = std::any_of(taps_.begin(), taps_.end(),
                              [&](const auto& tap) { return tap.get() == proxy; });
    }
    post(!isKnown, event);
}

void ScriptedEventTaps::postEvent(Location, const DesktopEvent& event) {
    post(true, event);
}

void ScriptedEventTaps::post(bool atSession, const DesktopEvent& event) {
    {
        const std::lock_guard lock(mutex_);
        posted_.push_back({now_(), atSession, event});
    }
    for (const ModifierKey& modifier : ModifierKeys)
        if (event.keyCode == modifier.keyCode)
            postedFlags_ = event.type == EventType::KeyDown ? postedFlags_ | modifier.flag
                                                            : postedFlags_ & ~modifier.flag;
    DesktopEvent received = event;
    received.flags |= postedFlags_;
    String typed;
    if (!event.unicodeString.empty())
        typed = event.type == EventType::KeyDown ? joinSurrogates(event.unicodeString) : String();
    else if (const auto key = keyboard_.layout().character(event.keyCode, received.flags))
        typed = String(1, key->unit);
    // Text is text, whatever the key code says.
    if (!event.unicodeString.empty())
        received.keyCode = NamelessKey;
    applications_.receive(received, typed, pastes(received));
}

// Joins a pair that two texts share and leaves out halves without partner.
String ScriptedEventTaps::joinSurrogates(StringView text) {
    String result;
    for (const char16_t unit : text) {
        const char16_t high = std::exchange(pendingSurrogate_, 0);
        if (isHighSurrogate(unit))
            pendingSurrogate_ = unit;
        else if (!isLowSurrogate(unit))
            result.push_back(unit);
        else if (high != 0)
            result.append({high, unit});
    }
    return result;
}

bool ScriptedEventTaps::prepareToType(StringView text) {
    return text.find_first_of(untypable_) == StringView::npos;
}

std::vector<RecordedEvent> ScriptedEventTaps::postedEvents() const {
    const std::lock_guard lock(mutex_);
    return posted_;
}

void ScriptedEventTaps::clearPostedEvents() {
    const std::lock_guard lock(mutex_);
    posted_.clear();
}

} // namespace dresk
