#include <chrono>
#include <thread>

#include "desktop/Deadline.h"
#include "desktop/KeyInjector.h"
#include "desktop/TextTarget.h"
#include "input/DesktopContract.h"
#include "input/x11/FocusGrab.h"
#include "input/x11/Keymap.h"
#include "input/x11/X11Desktop.h"

namespace dresk {
namespace {

/// The real desktop: a user at the keyboard of the outer display, a GTK text view in front and a
/// Qt text edit to switch to.
class X11DesktopDriver final : public DesktopDriver {
  public:
    X11DesktopDriver() {
        std::string error;
        keys_ = KeyInjector::connect(error);
        EXPECT_NE(keys_, nullptr) << error;
        first_ = TextTarget::start(TextTarget::Kind::Gtk, error);
        EXPECT_NE(first_, nullptr) << error;
        connection_ = XConnection::open(nullptr, error);
        EXPECT_NE(connection_, nullptr) << error;
        keymap_ = Keymap::load(*connection_, {});
        desktop_ = makeX11Desktop(nullptr, error);
        EXPECT_NE(desktop_, nullptr) << error;
    }

    Desktop& desktop() override { return *desktop_; }
    void typeText(StringView text) override { EXPECT_TRUE(keys_->type(text)); }
    void pressKey(std::uint16_t keyCode) override {
        keys_->press(keymap_->codeForKeyCode(keyCode));
    }
    void releaseKey(std::uint16_t keyCode) override {
        keys_->release(keymap_->codeForKeyCode(keyCode));
    }
    void pressMouse() override {
        FocusGrab focus(*connection_);
        focus.enable(false);
        focus.refresh();
        xcb_warp_pointer(connection_->get(), XCB_WINDOW_NONE, focus.window(), 0, 0, 0, 0, 9, 9);
        focus.refresh(); // waits until the pointer is there
        keys_->click();
    }
    void switchFocus(bool toOther) override {
        std::string error;
        if (second_ == nullptr)
            second_ = TextTarget::start(TextTarget::Kind::Qt, error);
        EXPECT_NE(second_, nullptr) << error;
        EXPECT_TRUE((toOther ? second_ : first_)->focus());
    }
    void closeSecond() { second_.reset(); }
    String targetText() override { return first_->text(); }
    void refuseTaps(bool refuse) override {
        rival_.reset();
        if (refuse) {
            rival_ = std::make_unique<FocusGrab>(*connection_);
            EXPECT_TRUE(rival_->enable(true));
        }
    }
    void spend(double seconds) override {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
    bool pumpUntil(const std::function<bool()>& condition) override { return await(condition, 5); }

  private:
    std::unique_ptr<KeyInjector> keys_;
    std::unique_ptr<TextTarget> first_;
    std::unique_ptr<TextTarget> second_;
    std::unique_ptr<XConnection> connection_;
    std::shared_ptr<const Keymap> keymap_;
    std::unique_ptr<FocusGrab> rival_;
    std::unique_ptr<Desktop> desktop_;
};

std::unique_ptr<DesktopDriver> makeX11Driver() {
    return std::make_unique<X11DesktopDriver>();
}

/// Another program that takes the whole keyboard, as a password prompt does.
class KeyboardRival {
  public:
    KeyboardRival() {
        std::string error;
        connection_ = XConnection::open(nullptr, error);
        EXPECT_NE(connection_, nullptr) << error;
        const XPointer<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(
            connection_->get(),
            xcb_grab_keyboard(connection_->get(), 0, connection_->root(), XCB_CURRENT_TIME,
                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
            nullptr));
        EXPECT_TRUE(reply != nullptr && reply->status == XCB_GRAB_STATUS_SUCCESS);
    }

  private:
    std::unique_ptr<XConnection> connection_;
};

TEST_P(DesktopContract, ABlockedHandlerHoldsTheKeyboardForAMoment) {
    using Clock = std::chrono::steady_clock;
    constexpr double Blocked = 2.0;
    std::atomic<bool> ended{false};
    ASSERT_TRUE(startTap([&](EventTapProxy, const DesktopEvent& event) {
        if (event.type == EventType::KeyDown && event.unicodeString == u"s") {
            driver().spend(Blocked);
            ended = true;
        }
        return false;
    }));
    const auto begin = Clock::now();
    driver().typeText(u"sab");
    expectTarget(u"sab");
    const std::chrono::duration<double> time = Clock::now() - begin;
    EXPECT_FALSE(ended);
    EXPECT_LT(time.count(), 1.0) << "0.2 s and some for a busy machine";
    EXPECT_TRUE(driver().pumpUntil([&] { return ended.load(); }));
}

TEST_P(DesktopContract, AnotherProgramMayTakeTheKeyboard) {
    ASSERT_TRUE(startTap(passAll()));
    driver().typeText(u"a");
    expectTarget(u"a");
    {
        const KeyboardRival rival;
        driver().typeText(u"secret");
        EXPECT_TRUE(driver().pumpUntil([&] { return !seen(EventType::ContextLost).empty(); }));
        EXPECT_TRUE(driver().pumpUntil([&] { return taps().isSecureEventInputEnabled(); }));
        EXPECT_EQ(seen(EventType::KeyDown).size(), 1U);
    }
    driver().typeText(u"b");
    expectTarget(u"ab");
    EXPECT_FALSE(taps().isSecureEventInputEnabled());
    EXPECT_EQ(seen(EventType::KeyDown).size(), 2U);
}

TEST_P(DesktopContract, MoreForeignCharactersThanFreeKeysAreRefusedAsAWhole) {
    ASSERT_TRUE(startTap(passAll()));
    String many;
    for (char16_t character = 0x4E00; character < 0x4E00 + 200; ++character)
        many.push_back(character);
    onTapThread([&] {
        EXPECT_FALSE(taps().prepareToType(many));
        EXPECT_TRUE(taps().prepareToType(many.substr(0, 20)));
        type(taps(), nullptr, many.substr(0, 20));
    });
    expectTarget(many.substr(0, 20));
    // Bindings that were used a moment ago are not given up at once.
    EXPECT_TRUE(driver().pumpUntil([&] {
        bool ready = false;
        onTapThread([&] { ready = taps().prepareToType(many.substr(100, 30)); });
        return ready;
    }));
    onTapThread([&] { type(taps(), nullptr, many.substr(100, 30)); });
    expectTarget(many.substr(0, 20) + many.substr(100, 30));
}

TEST_P(DesktopContract, KeysWaitForWhatIsAwaitedButNotForEver) {
    using Clock = std::chrono::steady_clock;
    ASSERT_TRUE(startTap(passAll()));
    const auto never = std::make_shared<std::atomic<double>>(0);
    const auto begin = Clock::now();
    onTapThread([&] {
        taps().postEvent(nullptr, {EventType::KeyDown, KeyA, 0, {}});
        taps().postEvent(nullptr, {EventType::KeyUp, KeyA, 0, {}, false, never});
        type(taps(), nullptr, u"b");
    });
    expectTarget(u"ab");
    const std::chrono::duration<double> time = Clock::now() - begin;
    EXPECT_GE(time.count(), 0.15);
}

TEST_P(DesktopContract, KeysOfTheUserAreKeptWhileTheSameKeyIsWritten) {
    ASSERT_TRUE(startTap(passAll()));
    String own;
    for (int line = 0; line < 40; ++line)
        own += String(20, u'a') + u'\n';
    constexpr int Taps = 40;
    String all;
    for (int round = 0; round < 3 && !HasFailure(); ++round) {
        onTapThread([&] { type(taps(), nullptr, own); });
        for (int i = 0; i < Taps; ++i) {
            driver().pressKey(KeyA);
            driver().releaseKey(KeyA);
            driver().spend(0.001);
        }
        all += own + String(Taps, u'a');
        expectTarget(all);
    }
}

TEST_P(DesktopContract, APostedCommandKeyIsThatOfTheDesktopsShortcuts) {
    constexpr std::uint16_t CommandKey = 55;
    ASSERT_TRUE(startTap(passAll()));
    driver().typeText(u"abc");
    expectTarget(u"abc");
    // Selects everything, once with the flag and once with the key held.
    for (const bool withKey : {false, true}) {
        onTapThread([&] {
            const std::uint64_t flags = withKey ? 0 : EventFlag::Command;
            if (withKey)
                taps().postEvent(nullptr, {EventType::KeyDown, CommandKey, 0, {}});
            taps().postEvent(nullptr, {EventType::KeyDown, KeyA, flags, {}});
            taps().postEvent(nullptr, {EventType::KeyUp, KeyA, flags, {}});
            if (withKey)
                taps().postEvent(nullptr, {EventType::KeyUp, CommandKey, 0, {}});
            type(taps(), nullptr, withKey ? u"second" : u"first");
        });
        expectTarget(withKey ? u"second" : u"first");
    }
}

TEST_P(DesktopContract, AWindowMayGoWhileTextIsOnItsWay) {
    std::atomic<bool> sent{false};
    ASSERT_TRUE(startTap([&](EventTapProxy proxy, const DesktopEvent& event) {
        if (event.type == EventType::KeyDown && event.unicodeString == u"x") {
            dynamic_cast<X11DesktopDriver&>(driver()).closeSecond();
            type(taps(), proxy, u"nobody reads this");
            sent = true;
        }
        return event.unicodeString == u"x";
    }));
    driver().switchFocus(true);
    driver().typeText(u"x");
    EXPECT_TRUE(driver().pumpUntil([&] { return sent.load(); }));
    driver().switchFocus(false);
    driver().typeText(u"abc");
    EXPECT_TRUE(driver().pumpUntil([&] { return driver().targetText().ends_with(u"abc"); }));
}

INSTANTIATE_TEST_SUITE_P(X11, DesktopContract, testing::Values(&makeX11Driver));

} // namespace
} // namespace dresk
