#include "input/x11/X11EventTaps.h"

#include <algorithm>
#include <cassert>

#include "Foundation/Log.h"
#include "input/x11/XkbHeader.h"

namespace dresk {

namespace {

constexpr double RetryGrabAfter = 1.0;
constexpr double SecureInputAfter = 1.0;
constexpr std::uint32_t KeyEventMask = eventMask(EventType::KeyDown) | eventMask(EventType::KeyUp) |
                                       eventMask(EventType::FlagsChanged);

} // namespace

class X11EventTaps::Tap final : public EventTap {
  public:
    Tap(X11EventTaps& owner, Options options, std::uint32_t mask, Callback callback)
        : owner_(owner), options_(options), mask_(mask), callback_(std::move(callback)) {
        const std::lock_guard lock(owner_.tapsMutex_);
        owner_.taps_.push_back(this);
    }
    ~Tap() override {
        {
            const std::lock_guard lock(owner_.tapsMutex_);
            std::erase(owner_.taps_, this);
        }
        owner_.updateGrab();
    }

    void enable(bool enabled) override {
        enabled_ = enabled;
        owner_.updateGrab();
    }

    bool wantsKeys() const { return enabled_ && (mask_ & KeyEventMask) != 0; }
    bool deliver(const DesktopEvent& event) const {
        const bool always = static_cast<std::int32_t>(event.type) < 0;
        if (!enabled_ || (!always && (mask_ & eventMask(event.type)) == 0))
            return false;
        return callback_(this, event) && options_ == Options::Default;
    }

  private:
    X11EventTaps& owner_;
    const Options options_;
    const std::uint32_t mask_;
    const Callback callback_;
    std::atomic<bool> enabled_{true};
};

X11EventTaps::X11EventTaps(const XConnection& connection)
    : connection_(connection), port_(connection), grab_(connection), spareKeys_(connection),
      ping_(connection), watchdog_([this] {
          // In this order: the other way round a key could slip in between and be lost.
          grab_.drop();
          port_.replay();
          connection_.flush();
      }),
      writer_(connection, port_, grab_, spareKeys_, ping_, watchdog_) {
    reloadKeymap();
    group_ = port_.currentState().group();
}

X11EventTaps::~X11EventTaps() {
    spareKeys_.unbindAll();
    connection_.flush();
}

void X11EventTaps::setLoop(PollRunLoop* loop) {
    if (loop_ != nullptr) {
        currentLoop()->cancelAll(this);
        currentLoop()->removeDescriptor(xcb_get_file_descriptor(connection_.get()));
        grab_.drop();
        port_.replay(); // a key that nobody will answer any more
        selectEvents(false);
    }
    loop_ = loop;
    if (loop_ == nullptr)
        return;
    selectEvents(true);
    currentLoop()->addDescriptor(
        xcb_get_file_descriptor(connection_.get()), [this] { readEvents(); },
        [this] {
            connection_.flush();
            XEvent event(xcb_poll_for_queued_event(connection_.get()));
            if (event == nullptr)
                return false;
            port_.putAside(std::move(event));
            return true;
        });
}

void X11EventTaps::selectEvents(bool on) {
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection{};
    selection.head = {XCB_INPUT_DEVICE_ALL_MASTER, 1};
    if (on)
        selection.mask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS |
                         XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
                         XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    xcb_input_xi_select_events(connection_.get(), connection_.root(), 1, &selection.head);

    constexpr std::uint16_t all = 0xFFFF;
    const std::uint16_t events = XCB_XKB_EVENT_TYPE_STATE_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY |
                                 XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY;
    const std::uint16_t chosen = on ? events : std::uint16_t{0};
    const auto cleared = static_cast<std::uint16_t>(on ? 0 : events);
    xcb_xkb_select_events(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, chosen, cleared, chosen, all,
                          all, nullptr);
    connection_.flush();
}

std::unique_ptr<EventTap> X11EventTaps::createEventTap(Location /*location*/, Options options,
                                                       std::uint32_t mask, RunLoop& loop,
                                                       Callback callback) {
    if ((mask & KeyEventMask) != 0 && (keymap() == nullptr || !grab_.enable(true))) {
        updateGrab();
        return nullptr;
    }
    assert(loop_ == nullptr || loop_ == &loop);
    (void)loop;
    auto tap = std::make_unique<Tap>(*this, options, mask, std::move(callback));
    if (focusChanged_)
        focusChanged_(grab_.window());
    return tap;
}

bool X11EventTaps::wantsKeys() {
    const std::lock_guard lock(tapsMutex_);
    return std::any_of(taps_.begin(), taps_.end(), [](const Tap* tap) { return tap->wantsKeys(); });
}

void X11EventTaps::updateGrab() {
    const bool wanted = wantsKeys();
    if (!wanted)
        grab_.drop();
    if (loop_ == nullptr || currentLoop()->isCurrent()) {
        if (!grab_.enable(wanted))
            retryGrab();
    } else {
        currentLoop()->post({this, "updateGrab"}, [this] { updateGrab(); });
    }
}

// Told once; the keys are asked for again until the other program lets go.
void X11EventTaps::retryGrab() {
    if (!wantsKeys() || grab_.window() == XCB_WINDOW_NONE || grab_.retry()) {
        if (std::exchange(grabIsRefused_, false))
            logLine("The keys of the window in front are free again");
        return;
    }
    if (!std::exchange(grabIsRefused_, true))
        logLine("Another program holds the keys of the window in front");
    if (loop_ != nullptr)
        currentLoop()->cancelAndCallAfter(RetryGrabAfter, {this, "retryGrab"},
                                          [this] { retryGrab(); });
}

bool X11EventTaps::deliver(const DesktopEvent& event) {
    const std::lock_guard lock(tapsMutex_);
    bool swallow = false;
    for (std::size_t i = 0; i < taps_.size(); ++i)
        swallow = taps_[i]->deliver(event) || swallow;
    return swallow;
}

void X11EventTaps::postEvent(EventTapProxy /*proxy*/, const DesktopEvent& event) {
    posted_.push_back(event);
    // Inside the callback of a key they go out when it returns, ahead of the key.
    if (posted_.size() == 1 && loop_ != nullptr)
        currentLoop()->post({this, "write"}, [this] {
            if (!posted_.empty())
                write(nullptr, false);
        });
}

void X11EventTaps::postEvent(Location /*location*/, const DesktopEvent& event) {
    // Own output is recognised and let on wherever it is posted.
    postEvent(static_cast<EventTapProxy>(nullptr), event);
}

bool X11EventTaps::prepareToType(StringView text) {
    const Watchdog::Pause pause(watchdog_);
    if (keymapIsStale_)
        reloadKeymap();
    if (keymap_ == nullptr)
        return false;
    std::vector<char32_t> missing;
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint point = codePointAt(text, i);
        i += point.length;
        const bool lone = point.value >= 0xD800 && point.value < 0xE000;
        if (point.value < 0x20 || lone || keymap_->strokeForCharacter(point.value, group_) ||
            std::find(missing.begin(), missing.end(), point.value) != missing.end())
            continue;
        missing.push_back(point.value);
    }
    if (missing.empty() || spareKeys_.bind(missing, currentLoop()->now(), !ping_.hasUnanswered()))
        return true;
    // The keys that the application has still to read keep their characters.
    return writer_.awaitRead() && spareKeys_.bind(missing, currentLoop()->now(), true);
}

bool X11EventTaps::keyState(std::uint16_t keyCode) const {
    const xcb_keycode_t code = keymap_ != nullptr ? keymap_->codeForKeyCode(keyCode) : 0;
    return code != 0 && port_.userKeys().test(code);
}

bool X11EventTaps::isSecureEventInputEnabled() const {
    const double since = missingSince_;
    return since != 0 && steadySeconds() - since > SecureInputAfter;
}

void X11EventTaps::setProgressHandler(const std::function<void()>& handler) {
    writer_.setProgressHandler(handler);
}

std::shared_ptr<const Keymap> X11EventTaps::keymap() const {
    const std::lock_guard lock(keymapMutex_);
    return keymap_;
}

void X11EventTaps::setInputSourceChangedHandler(std::function<void()> handler) {
    inputSourceChanged_ = std::move(handler);
}

void X11EventTaps::setFocusChangedHandler(std::function<void(xcb_window_t)> handler) {
    focusChanged_ = std::move(handler);
}

void X11EventTaps::setRootChords(std::vector<RootChord> chords) {
    const std::lock_guard lock(rootChordsMutex_);
    rootChords_ = std::move(chords);
}

bool X11EventTaps::isRootChord(xcb_keycode_t code) const {
    const std::lock_guard lock(rootChordsMutex_);
    return std::find(rootChords_.begin(), rootChords_.end(), RootChord{code, lastFlags_}) !=
           rootChords_.end();
}

void X11EventTaps::reloadKeymap() {
    keymapIsStale_ = false;
    auto keymap = Keymap::load(connection_, spareKeys_.ownCodes());
    if (keymap == nullptr) {
        logLine("The X server does not tell its keyboard layout");
        return;
    }
    {
        const std::lock_guard lock(keymapMutex_);
        keymap_ = keymap;
    }
    spareKeys_.setKeymap(*keymap);
    translator_.setKeymap(keymap);
    writer_.setKeymap(keymap);
}

} // namespace dresk
