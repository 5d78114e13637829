#include "input/x11/X11Desktop.h"

#include "Foundation/Log.h"
#include "input/freedesktop/AtspiAccessibility.h"
#include "input/freedesktop/CanberraSounds.h"
#include "input/x11/Applications.h"
#include "input/x11/RootHotKeys.h"
#include "input/x11/X11EventTaps.h"
#include "input/x11/X11KeyboardFocus.h"
#include "input/x11/X11Pasteboard.h"
#include "input/x11/X11Screens.h"

namespace dresk {

namespace {

class X11KeyboardLayouts final : public KeyboardLayouts {
  public:
    explicit X11KeyboardLayouts(X11EventTaps& taps) : taps_(taps) {}

    std::optional<String> stringForKeyCode(std::int64_t keyCode, std::uint64_t flags) override {
        const auto keymap = taps_.keymap();
        if (keymap == nullptr || keyCode < 0 || keyCode > 0xFFFF)
            return std::nullopt;
        const xcb_keycode_t code = keymap->codeForKeyCode(static_cast<std::uint16_t>(keyCode));
        if (code == 0)
            return std::nullopt;
        const std::uint8_t modifiers =
            (flags & EventFlag::Shift) != 0 ? std::uint8_t{XCB_MOD_MASK_SHIFT} : std::uint8_t{0};
        const xkb_keysym_t keysym = keymap->keysym(code, modifiers, taps_.group());
        const String text = KeyTranslator::glyph(keysym);
        if (text.empty())
            return std::nullopt;
        return text.substr(0, 1);
    }

    std::optional<String> currentInputSourceIdentifier() override {
        const auto keymap = taps_.keymap();
        if (keymap == nullptr)
            return std::nullopt;
        String identifier = keymap->layoutIdentifier(taps_.group());
        if (identifier.empty())
            return std::nullopt;
        return identifier;
    }

    void setInputSourceChangedHandler(std::function<void()> handler) override {
        taps_.setInputSourceChangedHandler(std::move(handler));
    }

  private:
    X11EventTaps& taps_;
};

class X11TapThread final : public TapThread {
  public:
    X11TapThread(X11EventTaps& taps, std::function<void(RunLoop&)> body)
        : thread_([loop = loop_, &taps, body = std::move(body)] {
              taps.setLoop(loop.get());
              body(*loop);
              loop->run();
              taps.setLoop(nullptr);
          }) {}

    ~X11TapThread() override {
        loop_->stop();
        if (thread_.get_id() == std::this_thread::get_id())
            thread_.detach();
        else
            thread_.join();
    }

    RunLoop& runLoop() override { return *loop_; }

  private:
    // The thread has its share: it may outlive this object when it is what destroys it.
    std::shared_ptr<PollRunLoop> loop_ = std::make_shared<PollRunLoop>();
    std::thread thread_;
};

class X11Desktop final : public Desktop {
  public:
    X11Desktop(std::unique_ptr<XConnection> connection, std::unique_ptr<X11Pasteboard> pasteboard,
               const char* displayName)
        : connection_(std::move(connection)), applications_(*connection_), taps_(*connection_),
          layouts_(taps_), pasteboard_(std::move(pasteboard)), screens_(*connection_),
          keyboardFocus_(*connection_, applications_),
          hotKeys_(displayName, [this](std::vector<RootChord> chords) {
              taps_.setRootChords(std::move(chords));
          }) {
        taps_.setFocusChangedHandler(
            [this](xcb_window_t window) { applications_.setFocusWindow(window); });
    }

    EventTaps& eventTaps() override { return taps_; }
    KeyboardLayouts& keyboardLayouts() override { return layouts_; }
    Processes& processes() override { return applications_; }
    Accessibility& accessibility() override { return *accessibility_; }

    Pasteboard& pasteboard() override { return *pasteboard_; }
    Screens& screens() override { return screens_; }
    KeyboardFocus& keyboardFocus() override { return keyboardFocus_; }
    Sounds& sounds() override { return *sounds_; }
    std::unique_ptr<EventHotKey> registerEventHotKey(std::uint16_t keyCode, std::uint64_t flags,
                                                     RunLoop& loop,
                                                     std::function<void()> pressed) override {
        return hotKeys_.registerHotKey(keyCode, flags, loop, std::move(pressed));
    }

    std::unique_ptr<TapThread> startTapThread(std::function<void(RunLoop&)> body) override {
        return std::make_unique<X11TapThread>(taps_, std::move(body));
    }

  private:
    std::unique_ptr<XConnection> connection_;
    Applications applications_;
    X11EventTaps taps_;
    X11KeyboardLayouts layouts_;
    const std::unique_ptr<Accessibility> accessibility_ = makeAtspiAccessibility();
    const std::unique_ptr<X11Pasteboard> pasteboard_;
    X11Screens screens_;
    X11KeyboardFocus keyboardFocus_;
    const std::unique_ptr<Sounds> sounds_ = makeCanberraSounds();
    RootHotKeys hotKeys_;
};

} // namespace

std::unique_ptr<Desktop> makeX11Desktop(const char* displayName, std::string& error) {
    auto connection = XConnection::open(displayName, error);
    if (connection == nullptr)
        return nullptr;
    auto pasteboard = X11Pasteboard::open(displayName, error);
    if (pasteboard == nullptr)
        return nullptr;
    return std::make_unique<X11Desktop>(std::move(connection), std::move(pasteboard), displayName);
}

} // namespace dresk
