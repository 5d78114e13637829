#pragma once

#include <atomic>
#include <set>

#include "input/scripted/EventRecord.h"
#include "input/scripted/ScriptedApplications.h"
#include "input/scripted/ScriptedKeyboard.h"

namespace dresk {

/// The event stream of a desktop in memory: what the user does goes through the taps to the
/// application in front, what is posted goes there directly and is recorded. No tap sees posted
/// events. What names no thread belongs to the tap thread.
class ScriptedEventTaps final : public EventTaps {
  public:
    /// `now` gives the seconds since the desktop began, on any thread. All outlive this.
    ScriptedEventTaps(ScriptedKeyboard& keyboard, ScriptedApplications& applications,
                      std::function<double()> now);

    // EventTaps
    std::unique_ptr<EventTap> createEventTap(Location location, Options options, std::uint32_t mask,
                                             RunLoop& loop, Callback callback) override;
    void postEvent(EventTapProxy proxy, const DesktopEvent& event) override;
    void postEvent(Location location, const DesktopEvent& event) override;
    bool prepareToType(StringView text) override;
    bool keyState(std::uint16_t keyCode) const override { return heldKeys_.contains(keyCode); }
    bool isSecureEventInputEnabled() const override { return secureInput_; }
    std::optional<std::vector<EventTapInformation>> eventTapList() override;

    /// A chord with these flags exactly goes to the callback and to nobody else. Any thread.
    std::unique_ptr<EventHotKey> registerHotKey(std::uint16_t keyCode, std::uint64_t flags,
                                                RunLoop& loop, std::function<void()> pressed);
    /// What eventTapList tells; null at first. Any thread.
    void setEventTapList(std::optional<std::vector<EventTapInformation>> list);

    // What the user does.
    void pressKey(std::uint16_t keyCode);
    void releaseKey(std::uint16_t keyCode);
    /// Types text that no key has, as an input method does.
    void commitText(StringView text);
    /// Presses and releases modifiers, one at a time, until these are held.
    void holdModifiers(std::uint64_t flags);
    void pressMouse(EventType button);

    // How the desktop behaves.
    /// Taps that ask for one of these event types are refused from now on. Any thread.
    void refuseTaps(std::uint32_t mask) { refusedMask_ = mask; }
    /// Another program keeps the keyboard: keys no longer come through the taps. Any thread.
    void setSecureEventInput(bool enabled) { secureInput_ = enabled; }
    /// Seconds after which a callback loses its tap; 0.2 at first. Any thread.
    void setCallbackLimit(double seconds) { callbackLimit_ = seconds; }
    /// Texts with one of these units cannot be prepared.
    void setUntypableCharacters(String units) { untypable_ = std::move(units); }
    /// Disables the taps that filter keys and tells them so.
    void disableKeyTaps(EventType reason);

    /// Everything posted since the beginning or the last clearing. Any thread.
    std::vector<RecordedEvent> postedEvents() const;
    void clearPostedEvents();

  private:
    struct Tap;
    class TapHandle;
    struct HotKey;
    class HotKeyHandle;

    std::vector<std::shared_ptr<Tap>> tapsFor(EventType type) const;
    static bool callBack(Tap& tap, const DesktopEvent& event);
    bool pressHotKey(std::uint16_t keyCode);
    bool isSwallowed(const DesktopEvent& event);
    bool isSwallowedBy(Tap& tap, const DesktopEvent& event);
    void deliver(const DesktopEvent& event);
    bool pastes(const DesktopEvent& event) const;
    void post(bool atSession, const DesktopEvent& event);
    String joinSurrogates(StringView text);

    ScriptedKeyboard& keyboard_;
    ScriptedApplications& applications_;
    std::function<double()> now_;

    std::atomic<std::uint32_t> refusedMask_{0};
    std::atomic<bool> secureInput_{false};
    std::atomic<double> callbackLimit_{0.2};
    mutable std::mutex mutex_;
    std::optional<std::vector<EventTapInformation>> eventTapList_;
    std::vector<std::shared_ptr<HotKey>> hotKeys_;
    std::vector<std::shared_ptr<Tap>> taps_;
    std::vector<RecordedEvent> posted_;

    std::set<std::uint16_t> heldKeys_;
    std::uint64_t heldFlags_ = 0;
    /// Modifiers whose keys were posted as held.
    std::uint64_t postedFlags_ = 0;
    String untypable_;
    /// First half of a pair whose second half comes with the next text; 0 for none.
    char16_t pendingSurrogate_ = 0;
};

} // namespace dresk
