#include "input/x11/RootHotKeys.h"

#include <csignal>
#include <utility>

#include "Foundation/Log.h"
#include "input/x11/XkbHeader.h"

namespace dresk {

namespace {

constexpr double FollowLayoutAfter = 0.1;

} // namespace

struct RootHotKeys::HotKey {
    std::uint16_t keyCode;
    std::uint64_t flags;
    RunLoop& loop;
    std::function<void()> pressed;
    /// 0 while it is not grabbed.
    xcb_keycode_t code = 0;
    std::uint8_t modifiers = 0;
    std::uint8_t locks = 0;
};

class RootHotKeys::Handle final : public EventHotKey {
  public:
    Handle(RootHotKeys& owner, std::shared_ptr<HotKey> hotKey)
        : owner_(owner), hotKey_(std::move(hotKey)) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() override {
        owner_.onThread([this] {
            owner_.ungrab(*hotKey_);
            std::erase(owner_.hotKeys_, hotKey_);
            owner_.tellChords();
        });
        hotKey_->loop.cancelAll(hotKey_.get());
    }

  private:
    RootHotKeys& owner_;
    const std::shared_ptr<HotKey> hotKey_;
};

RootHotKeys::RootHotKeys(const char* displayName, ChordsChanged chordsChanged)
    : displayName_(displayName != nullptr ? displayName : ""),
      chordsChanged_(std::move(chordsChanged)) {}

RootHotKeys::~RootHotKeys() {
    loop_.stop();
    if (thread_.joinable())
        thread_.join();
}

// Signals belong to the thread that waits for them, so this one takes none.
bool RootHotKeys::start() {
    if (connection_ != nullptr)
        return connection_->isAlive();
    std::string error;
    connection_ = XConnection::open(displayName_.empty() ? nullptr : displayName_.c_str(), error);
    if (connection_ == nullptr) {
        logLine(error);
        return false;
    }
    constexpr std::uint16_t events =
        XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY;
    // What this program binds to spare keys changes symbols alone, which move no chord.
    constexpr std::uint16_t parts = XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_VIRTUAL_MODS;
    xcb_xkb_select_events(connection_->get(), XCB_XKB_ID_USE_CORE_KBD, events, 0,
                          XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY, parts, parts, nullptr);
    // A key that is held repeats its press without releases between.
    xcb_xkb_per_client_flags(connection_->get(), XCB_XKB_ID_USE_CORE_KBD,
                             XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                             XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0);
    keymap_ = Keymap::load(*connection_, {});
    loop_.addDescriptor(
        xcb_get_file_descriptor(connection_->get()), [this] { readEvents(); },
        [this] {
            connection_->flush();
            return false;
        });

    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &previous);
    thread_ = std::thread([this] { loop_.run(); });
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return true;
}

void RootHotKeys::onThread(const std::function<void()>& call) {
    std::promise<void> done;
    loop_.post({this, "onThread"}, [&] {
        call();
        // An answer that was waited for may have brought events along.
        readEvents();
        done.set_value();
    });
    done.get_future().wait();
}

std::unique_ptr<EventHotKey> RootHotKeys::registerHotKey(std::uint16_t keyCode, std::uint64_t flags,
                                                         RunLoop& loop,
                                                         std::function<void()> pressed) {
    if (!start())
        return nullptr;
    auto hotKey = std::make_shared<HotKey>(
        HotKey{keyCode, flags & EventFlag::Modifiers, loop, std::move(pressed)});
    bool granted = false;
    onThread([&] {
        granted = grab(*hotKey);
        if (!granted)
            return;
        hotKeys_.push_back(hotKey);
        tellChords();
    });
    if (!granted)
        return nullptr;
    return std::make_unique<Handle>(*this, std::move(hotKey));
}

bool RootHotKeys::grab(HotKey& hotKey) {
    hotKey.code = keymap_ != nullptr ? keymap_->codeForKeyCode(hotKey.keyCode) : xcb_keycode_t{0};
    if (hotKey.code == 0)
        return false;
    hotKey.modifiers = keymap_->modifiersForFlags(hotKey.flags);
    hotKey.locks = keymap_->lockModifiers();
    if (grabWithLocks(hotKey, true))
        return true;
    ungrab(hotKey);
    return false;
}

void RootHotKeys::ungrab(HotKey& hotKey) {
    if (hotKey.code != 0)
        grabWithLocks(hotKey, false);
    hotKey.code = 0;
}

// Once for each set of locks that may be on. False when another program has one of the chords.
bool RootHotKeys::grabWithLocks(const HotKey& hotKey, bool on) {
    std::vector<xcb_void_cookie_t> requests;
    for (unsigned set = hotKey.locks;; set = (set - 1) & hotKey.locks) {
        const auto modifiers = static_cast<std::uint16_t>(hotKey.modifiers | set);
        requests.push_back(on ? xcb_grab_key_checked(connection_->get(), 0, connection_->root(),
                                                     modifiers, hotKey.code, XCB_GRAB_MODE_ASYNC,
                                                     XCB_GRAB_MODE_ASYNC)
                              : xcb_ungrab_key_checked(connection_->get(), hotKey.code,
                                                       connection_->root(), modifiers));
        if (set == 0)
            break;
    }
    bool granted = true;
    for (const xcb_void_cookie_t request : requests) {
        const XPointer<xcb_generic_error_t> error(xcb_request_check(connection_->get(), request));
        granted = granted && error == nullptr;
    }
    return granted;
}

void RootHotKeys::tellChords() {
    std::vector<RootChord> chords;
    for (const auto& hotKey : hotKeys_)
        if (hotKey->code != 0)
            chords.push_back({hotKey->code, hotKey->flags});
    chordsChanged_(std::move(chords));
}

void RootHotKeys::readEvents() {
    while (const XPointer<xcb_generic_event_t> event{xcb_poll_for_event(connection_->get())}) {
        const int type = event->response_type & 0x7F;
        if (type == XCB_KEY_PRESS)
            handlePress(reinterpret_cast<const xcb_key_press_event_t&>(*event));
        else if (type == XCB_KEY_RELEASE)
            heldCode_ = 0;
        else if (type == connection_->xkbFirstEvent())
            loop_.cancelAndCallAfter(FollowLayoutAfter, {this, "followLayout"},
                                     [this] { followLayout(); });
    }
    if (!connection_->isAlive())
        loop_.removeDescriptor(xcb_get_file_descriptor(connection_->get()));
}

void RootHotKeys::handlePress(const xcb_key_press_event_t& press) {
    if (std::exchange(heldCode_, press.detail) == press.detail)
        return;
    for (const auto& hotKey : hotKeys_)
        if (hotKey->code == press.detail &&
            (press.state & 0xFF & ~unsigned{hotKey->locks}) == hotKey->modifiers)
            hotKey->loop.post({hotKey.get(), "pressed"}, hotKey->pressed);
}

void RootHotKeys::followLayout() {
    auto keymap = Keymap::load(*connection_, {});
    if (keymap == nullptr)
        return;
    keymap_ = std::move(keymap);
    for (const auto& hotKey : hotKeys_) {
        const bool moved = keymap_->codeForKeyCode(hotKey->keyCode) != hotKey->code ||
                           keymap_->modifiersForFlags(hotKey->flags) != hotKey->modifiers ||
                           keymap_->lockModifiers() != hotKey->locks;
        if (!moved)
            continue;
        ungrab(*hotKey);
        if (!grab(*hotKey))
            logLine("Another program has the keys of a hot key now");
    }
    tellChords();
    readEvents();
}

} // namespace dresk
