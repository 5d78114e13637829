#pragma once

#include <atomic>
#include <mutex>

#include <gtest/gtest.h>

#include "input/Desktop.h"

/// What every back end must do. A test program of a back end includes this once, derives a
/// DesktopDriver and instantiates the suite:
///
///     INSTANTIATE_TEST_SUITE_P(Scripted, DesktopContract, testing::Values(&makeDriver));
namespace dresk {

/// A back end with a text field in front, and the hands of a user on it. The keyboard layout is
/// "us". All operations belong to the test's thread unless they say otherwise.
class DesktopDriver {
  public:
    DesktopDriver() = default;
    DesktopDriver(const DesktopDriver&) = delete;
    DesktopDriver& operator=(const DesktopDriver&) = delete;
    virtual ~DesktopDriver() = default;

    virtual Desktop& desktop() = 0;

    virtual void typeText(StringView text) = 0;
    /// Presses a key; modifiers are keys as well (56 Shift, 59 Control, 58 Option, 55 Command).
    virtual void pressKey(std::uint16_t keyCode) = 0;
    virtual void releaseKey(std::uint16_t keyCode) = 0;
    virtual void pressMouse() = 0;
    /// Puts the other of two applications in front, or the first again.
    virtual void switchFocus(bool toOther) = 0;
    /// What the text field of the first application holds.
    virtual String targetText() = 0;

    /// Another program takes what key taps need, or gives it back.
    virtual void refuseTaps(bool refuse) = 0;
    /// Lets so many seconds go by. On the tap thread, inside a callback.
    virtual void spend(double seconds) = 0;
    /// Lets everything go its way until the condition holds; false when it never does.
    virtual bool pumpUntil(const std::function<bool()>& condition) = 0;
};

using MakeDesktopDriver = std::unique_ptr<DesktopDriver> (*)();

class DesktopContract : public testing::TestWithParam<MakeDesktopDriver> {
  public:
    ~DesktopContract() override {
        endTap();
        thread_.reset();
    }

  protected:
    using Action = std::function<bool(EventTapProxy, const DesktopEvent&)>;

    static constexpr std::uint32_t Keys = eventMask(EventType::KeyDown) |
                                          eventMask(EventType::KeyUp) |
                                          eventMask(EventType::FlagsChanged);
    static constexpr std::uint32_t Mouse =
        eventMask(EventType::LeftMouseDown) | eventMask(EventType::RightMouseDown);
    static constexpr std::uint16_t KeyA = 0;
    static constexpr std::uint16_t KeyX = 7;
    static constexpr std::uint16_t DeleteKey = 51;

    /// Starts a tap thread with a tap whose answers `action` gives; false when it was refused.
    bool startTap(Action action, EventTaps::Options options = EventTaps::Options::Default,
                  std::uint32_t mask = Keys) {
        std::atomic<int> outcome{-1};
        const auto callback = [this, action = std::move(action)](EventTapProxy proxy,
                                                                 const DesktopEvent& event) {
            const bool swallow = action(proxy, event);
            const std::lock_guard lock(mutex_);
            seen_.push_back(event);
            return swallow;
        };
        thread_.reset();
        thread_ = desktop().startTapThread([&, options, mask](RunLoop& loop) {
            auto tap = desktop().eventTaps().createEventTap(EventTaps::Location::Session, options,
                                                            mask, loop, callback);
            const std::lock_guard lock(mutex_);
            tap_ = std::move(tap);
            outcome = tap_ != nullptr ? 1 : 0;
        });
        EXPECT_TRUE(driver().pumpUntil([&] { return outcome >= 0; }));
        return outcome == 1;
    }
    void endTap() {
        std::unique_ptr<EventTap> tap;
        const std::lock_guard lock(mutex_);
        tap = std::move(tap_);
    }
    static Action passAll() {
        return [](EventTapProxy, const DesktopEvent&) { return false; };
    }
    /// Runs the call on the tap thread and waits for it.
    void onTapThread(const std::function<void()>& call) {
        std::atomic<bool> done{false};
        thread_->runLoop().post({this, "onTapThread"}, [&] {
            call();
            done = true;
        });
        EXPECT_TRUE(driver().pumpUntil([&] { return done.load(); }));
    }
    std::vector<DesktopEvent> seen(EventType type) {
        const std::lock_guard lock(mutex_);
        std::vector<DesktopEvent> result;
        for (const DesktopEvent& event : seen_)
            if (event.type == type)
                result.push_back(event);
        return result;
    }
    void expectTarget(StringView text) {
        EXPECT_TRUE(driver().pumpUntil([&] { return driver().targetText() == text; }))
            << "holds \"" << toUTF8(driver().targetText()) << "\" instead of \"" << toUTF8(text)
            << '"';
    }
    static void press(EventTaps& taps, EventTapProxy proxy, std::uint16_t keyCode) {
        taps.postEvent(proxy, {EventType::KeyDown, keyCode, 0, {}});
        taps.postEvent(proxy, {EventType::KeyUp, keyCode, 0, {}});
    }
    static void type(EventTaps& taps, EventTapProxy proxy, StringView text) {
        taps.postEvent(proxy, {EventType::KeyDown, 0, 0, String(text)});
        taps.postEvent(proxy, {EventType::KeyUp, 0, 0, String(text)});
    }

    DesktopDriver& driver() { return *driver_; }
    Desktop& desktop() { return driver_->desktop(); }
    EventTaps& taps() { return desktop().eventTaps(); }
    EventTap& tap() { return *tap_; }
    RunLoop& tapLoop() { return thread_->runLoop(); }

  private:
    std::unique_ptr<DesktopDriver> driver_ = GetParam()();
    std::mutex mutex_;
    std::vector<DesktopEvent> seen_;
    std::unique_ptr<EventTap> tap_;
    std::unique_ptr<TapThread> thread_;
};

TEST_P(DesktopContract, KeysArriveWithCodeTextAndModifiers) {
    ASSERT_TRUE(startTap(passAll()));
    driver().typeText(u"aB\n\t");
    for (const std::uint16_t key : {DeleteKey, std::uint16_t{123}}) {
        driver().pressKey(key);
        driver().releaseKey(key);
    }
    ASSERT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyUp).size() >= 6; }));
    struct Expected {
        std::uint16_t keyCode;
        std::uint64_t flags;
        StringView text;
    };
    const Expected expected[] = {{KeyA, 0, u"a"}, {11, EventFlag::Shift, u"B"}, {36, 0, u"\r"},
                                 {48, 0, u"\t"},  {DeleteKey, 0, u"\b"},        {123, 0, u""}};
    const auto downs = seen(EventType::KeyDown);
    ASSERT_EQ(downs.size(), std::size(expected));
    for (std::size_t i = 0; i < downs.size(); ++i) {
        EXPECT_EQ(downs[i].keyCode, expected[i].keyCode) << i;
        EXPECT_EQ(downs[i].flags & EventFlag::Modifiers, expected[i].flags) << i;
        EXPECT_EQ(downs[i].unicodeString, expected[i].text) << i;
    }
    const auto changes = seen(EventType::FlagsChanged);
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].flags & EventFlag::Modifiers, EventFlag::Shift);
    EXPECT_EQ(changes[1].flags & EventFlag::Modifiers, 0U);
    expectTarget(u"aB\n");
}

TEST_P(DesktopContract, SwallowedKeysStayAway) {
    ASSERT_TRUE(startTap(
        [](EventTapProxy, const DesktopEvent& event) { return event.unicodeString == u"x"; }));
    driver().typeText(u"axbxxc");
    expectTarget(u"abc");
    EXPECT_EQ(seen(EventType::KeyDown).size(), 6U);
}

TEST_P(DesktopContract, AListenerSwallowsNothing) {
    ASSERT_TRUE(startTap([](EventTapProxy, const DesktopEvent&) { return true; },
                         EventTaps::Options::ListenOnly));
    driver().typeText(u"abc");
    expectTarget(u"abc");
    EXPECT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyDown).size() == 3; }));
}

TEST_P(DesktopContract, PostedEventsComeBeforeThePassedKeyAndAreNotSeenAgain) {
    ASSERT_TRUE(startTap([&](EventTapProxy proxy, const DesktopEvent& event) {
        if (event.type == EventType::KeyDown && event.unicodeString == u" ") {
            EXPECT_TRUE(taps().prepareToType(u"Kind regards"));
            press(taps(), proxy, DeleteKey);
            press(taps(), proxy, DeleteKey);
            type(taps(), proxy, u"Kind ");
            type(taps(), proxy, u"regards");
        }
        return false;
    }));
    driver().typeText(u"-kr -kr ");
    expectTarget(u"-Kind regards -Kind regards ");
    EXPECT_EQ(seen(EventType::KeyDown).size(), 8U);
    EXPECT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyUp).size() == 8; }));
}

TEST_P(DesktopContract, SwallowedAndReplacedKeysKeepTheOrderOfTyping) {
    ASSERT_TRUE(startTap([&](EventTapProxy proxy, const DesktopEvent& event) {
        if (event.unicodeString != u"x")
            return false;
        if (event.type == EventType::KeyDown && taps().prepareToType(u"yz"))
            type(taps(), proxy, u"yz");
        return true;
    }));
    driver().typeText(u"axbxxc");
    expectTarget(u"ayzbyzyzc");
}

TEST_P(DesktopContract, NoKeyIsLostWhileBatchesGoOut) {
    constexpr std::size_t Batches = 5;
    ASSERT_TRUE(startTap([&](EventTapProxy proxy, const DesktopEvent& event) {
        if (event.unicodeString != u"x")
            return false;
        for (std::size_t i = 0; event.type == EventType::KeyDown && i < Batches; ++i)
            tapLoop().callAfter(0.01 * static_cast<double>(i), {this, "batch"}, [&, proxy] {
                if (taps().prepareToType(u"##"))
                    type(taps(), proxy, u"##");
            });
        return true;
    }));
    const StringView typed = u"abcdefghijklmnopqrstuvw";
    driver().typeText(u"x");
    driver().typeText(typed);
    EXPECT_TRUE(driver().pumpUntil([&] {
        return driver().targetText().size() == typed.size() + 2 * Batches;
    })) << toUTF8(driver().targetText());
    String letters = driver().targetText();
    EXPECT_EQ(std::erase(letters, u'#'), 2 * Batches);
    EXPECT_EQ(toUTF8(letters), toUTF8(typed));
    tapLoop().cancelAll(this);
}

TEST_P(DesktopContract, HeldKeysDoNotChangeWhatIsPosted) {
    constexpr std::uint16_t shiftKey = 56;
    ASSERT_TRUE(startTap([&](EventTapProxy proxy, const DesktopEvent& event) {
        if (event.keyCode != KeyX)
            return false;
        if (event.type == EventType::KeyDown && taps().prepareToType(u"[banana]"))
            type(taps(), proxy, u"[banana]");
        return true;
    }));
    for (const std::uint16_t held : {KeyA, shiftKey}) {
        driver().pressKey(held);
        driver().pressKey(KeyX);
        driver().releaseKey(KeyX);
        driver().releaseKey(held);
    }
    expectTarget(u"a[banana][banana]");
    driver().typeText(u"a");
    expectTarget(u"a[banana][banana]a");
}

TEST_P(DesktopContract, TextGoesOutAsItIs) {
    ASSERT_TRUE(startTap(passAll()));
    struct Row {
        std::vector<String> pieces;
        StringView result;
    };
    const Row rows[] = {
        {{u"Plain, \"quoted\" & <marked>"}, u"Plain, \"quoted\" & <marked>"},
        {{u"Grüße, 10 €"}, u"Grüße, 10 €"},
        {{u"漢字 и кириллица"}, u"漢字 и кириллица"},
        {{u"face \U0001F600"}, u"face \U0001F600"},
        {{u"cut \xD83D", u"\xDE00 pair"}, u"cut \U0001F600 pair"},
        {{u"lone \xD83D", u"half \xDE00."}, u"lone half ."},
        {{u"two\nlines"}, u"two\nlines"},
    };
    String whole;
    for (const Row& row : rows) {
        onTapThread([&] {
            String all;
            for (const String& piece : row.pieces)
                all += piece;
            EXPECT_TRUE(taps().prepareToType(all)) << toUTF8(all);
            for (const String& piece : row.pieces) {
                taps().postEvent(EventTaps::Location::Session, {EventType::KeyDown, 0, 0, piece});
                taps().postEvent(EventTaps::Location::Session, {EventType::KeyUp, 0, 0, piece});
            }
        });
        whole += row.result;
        expectTarget(whole);
    }
    EXPECT_TRUE(seen(EventType::KeyDown).empty()) << "posted text came back";
    onTapThread([&] { EXPECT_TRUE(taps().prepareToType(u"")); });
}

TEST_P(DesktopContract, AnOldProxyPostsAtTheSession) {
    std::atomic<EventTapProxy> proxy{nullptr};
    ASSERT_TRUE(startTap([&](EventTapProxy current, const DesktopEvent&) {
        proxy = current;
        return false;
    }));
    driver().typeText(u"a");
    ASSERT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyUp).size() == 1; }));
    endTap();
    onTapThread([&] {
        if (taps().prepareToType(u"b"))
            type(taps(), proxy, u"b");
    });
    expectTarget(u"ab");
}

TEST_P(DesktopContract, KeyStateFollowsTheUser) {
    std::atomic<bool> heldAtDown{false};
    std::atomic<bool> otherHeld{true};
    ASSERT_TRUE(startTap([&](EventTapProxy, const DesktopEvent& event) {
        if (event.type == EventType::KeyDown) {
            heldAtDown = taps().keyState(KeyA);
            otherHeld = taps().keyState(KeyX);
        }
        return false;
    }));
    driver().pressKey(KeyA);
    ASSERT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyDown).size() == 1; }));
    EXPECT_TRUE(heldAtDown);
    EXPECT_FALSE(otherHeld);
    driver().releaseKey(KeyA);
    ASSERT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyUp).size() == 1; }));
    onTapThread([&] { EXPECT_FALSE(taps().keyState(KeyA)); });
}

TEST_P(DesktopContract, ASlowCallbackLosesItsTapUntilItIsEnabledAgain) {
    ASSERT_TRUE(startTap([&](EventTapProxy, const DesktopEvent& event) {
        if (event.type == EventType::KeyDown && event.unicodeString == u"s")
            driver().spend(0.6);
        return event.type == EventType::KeyDown;
    }));
    driver().typeText(u"s");
    expectTarget(u"s");
    ASSERT_TRUE(
        driver().pumpUntil([&] { return seen(EventType::TapDisabledByTimeout).size() == 1; }));
    driver().typeText(u"a");
    expectTarget(u"sa");
    onTapThread([&] { tap().enable(true); });
    driver().typeText(u"b");
    EXPECT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyDown).size() == 2; }));
    expectTarget(u"sa");
}

TEST_P(DesktopContract, ADisabledOrEndedTapGetsNothing) {
    ASSERT_TRUE(startTap(
        [](EventTapProxy, const DesktopEvent& event) { return event.type == EventType::KeyDown; }));
    onTapThread([&] { tap().enable(false); });
    driver().typeText(u"a");
    expectTarget(u"a");
    onTapThread([&] { tap().enable(true); });
    driver().typeText(u"b");
    ASSERT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyDown).size() == 1; }));
    endTap();
    driver().typeText(u"c");
    expectTarget(u"ac");
    EXPECT_EQ(seen(EventType::KeyDown).size(), 1U);
}

TEST_P(DesktopContract, AMouseTapHearsButtons) {
    ASSERT_TRUE(startTap(passAll(), EventTaps::Options::ListenOnly, Mouse));
    driver().pressMouse();
    EXPECT_TRUE(driver().pumpUntil([&] { return seen(EventType::LeftMouseDown).size() == 1; }));
    driver().typeText(u"a");
    expectTarget(u"a");
    EXPECT_TRUE(seen(EventType::KeyDown).empty());
}

TEST_P(DesktopContract, ARefusedTapIsNull) {
    driver().refuseTaps(true);
    EXPECT_FALSE(startTap(passAll()));
    driver().refuseTaps(false);
    EXPECT_TRUE(startTap(passAll()));
}

TEST_P(DesktopContract, FrontProcessFollowsTheFocus) {
    ASSERT_TRUE(startTap(passAll()));
    Processes& processes = desktop().processes();
    const ProcessSerialNumber first = processes.frontProcess();
    EXPECT_NE(first, ProcessSerialNumber());
    EXPECT_NE(first, processes.currentProcess());
    EXPECT_TRUE(processes.bundleIdentifier(first).has_value());
    EXPECT_TRUE(processes.localizedName(first).has_value());
    driver().typeText(u"a");
    driver().switchFocus(true);
    ASSERT_TRUE(driver().pumpUntil([&] {
        const auto front = processes.frontProcess();
        return front != first && front != ProcessSerialNumber();
    }));
    EXPECT_NE(processes.bundleIdentifier(processes.frontProcess()),
              processes.bundleIdentifier(first));
    driver().typeText(u"b");
    EXPECT_TRUE(driver().pumpUntil([&] { return seen(EventType::KeyDown).size() == 2; }));
    driver().switchFocus(false);
    ASSERT_TRUE(driver().pumpUntil([&] { return processes.frontProcess() == first; }));
    driver().typeText(u"c");
    expectTarget(u"ac");
    EXPECT_EQ(processes.bundleIdentifier({0, 0x7FFFFFFF}), std::nullopt);
}

TEST_P(DesktopContract, LayoutTellsWhatKeysType) {
    KeyboardLayouts& layouts = desktop().keyboardLayouts();
    EXPECT_EQ(layouts.stringForKeyCode(KeyA, 0), u"a");
    EXPECT_EQ(layouts.stringForKeyCode(KeyA, EventFlag::Shift), u"A");
    EXPECT_EQ(layouts.stringForKeyCode(18, 0), u"1");
    EXPECT_EQ(layouts.stringForKeyCode(123, 0), std::nullopt);
    EXPECT_EQ(layouts.stringForKeyCode(-1, 0), std::nullopt);
    EXPECT_EQ(layouts.stringForKeyCode(100'000, 0), std::nullopt);
    EXPECT_TRUE(layouts.currentInputSourceIdentifier().has_value());
}

} // namespace dresk
