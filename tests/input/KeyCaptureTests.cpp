#include "input/ServiceFixture.h"

namespace dresk {
namespace {

using namespace KeyCode;

constexpr std::uint64_t ShiftFlag = EventFlag::Shift;
constexpr std::uint64_t ControlFlag = EventFlag::Control;
constexpr std::uint64_t OptionFlag = EventFlag::Option;
constexpr std::uint64_t CommandFlag = EventFlag::Command;
constexpr std::uint16_t KeyA = 0;
constexpr std::uint16_t KeyS = 1;
constexpr std::uint16_t KeyV = 9;

class KeyCapture : public ServiceTest {
  protected:
    KeyCapture() {
        for (const GeneralHotKey* hotKey : {&commandAlone, &commandV, &alsoCommandV, &unset})
            service.registerHotKey(hotKey);
        observer.keyDown = [](const ZPKeyEventArgs& args) { return args.s == u"x"; };
        enable();
    }
    void flags(std::uint64_t held) { desktop.holdModifiers(held); }
    void disableTaps(EventType reason) {
        desktop.performOnTapThread([&] { desktop.eventTaps().disableKeyTaps(reason); });
    }

    GeneralHotKey commandAlone{KeyModifier::Command, NoKeyCode};
    GeneralHotKey commandV{KeyModifier::Command, KeyV};
    GeneralHotKey alsoCommandV{KeyModifier::Command, KeyV};
    GeneralHotKey unset;
};

TEST_F(KeyCapture, RaisesAndSwallowsByRule) {
    struct Row {
        const char* name;
        std::function<void()> act;
        const char* events;
        const char* text;
    };
    const Row rows[] = {
        {"plain typing", [&] { desktop.typeText(u"aB"); },
         "down:0\"a\" down:11\"B\" up:0\"a\" up:11\"B\"", "aB"},
        {"a swallowed key takes its release along", [&] { desktop.typeText(u"x"); }, "down:7\"x\"",
         ""},
        {"of two swallowed keys the first is released",
         [&] {
             observer.keyDown = [](const auto&) { return true; };
             desktop.pressKey(KeyA);
             desktop.pressKey(KeyS);
             desktop.releaseKey(KeyA);
             desktop.releaseKey(KeyS);
         },
         "down:0\"a\" down:1\"s\" up:0\"a\"", ""},
        {"a key without a string", [&] { desktop.typeKey(LeftArrow); },
         "down:LeftArrow up:LeftArrow", ""},
        {"a dead key gives its glyph, the next key the character",
         [&] {
             desktop.typeKey(14, OptionFlag);
             desktop.typeKey(14);
         },
         "down:14\"´\" down:14\"é\" up:14\"´\" up:14\"e\"", "é"},
        {"a registered chord, twice", [&] { desktop.typeKey(KeyV, CommandFlag); },
         "hot:8/9 hot:8/9", ""},
        {"more modifiers are another chord",
         [&] { desktop.typeKey(KeyV, CommandFlag | ShiftFlag); },
         "chord:9/9\"V\" context up:9\"V\"", ""},
        {"a chord that is claimed",
         [&] {
             observer.cancelChords = true;
             desktop.typeKey(KeyA, ControlFlag);
         },
         "chord:2/0\"a\"", ""},
        {"Option with Delete is a chord", [&] { desktop.typeKey(Delete, OptionFlag); },
         "chord:4/Delete\"\\u0008\" context up:Delete\"\\u0008\"", ""},
        {"Option with another key is text", [&] { desktop.typeKey(5, OptionFlag); },
         "down:5\"©\" up:5\"©\"", "©"},
        {"a modifier alone",
         [&] {
             flags(CommandFlag);
             flags(0);
         },
         "hot:8/65535", ""},
        {"a modifier that served a chord is not alone", [&] { desktop.typeKey(KeyA, CommandFlag); },
         "chord:8/0\"a\" context up:0\"a\"", ""},
        {"a hot key of its own chord is no modifier alone",
         [&] {
             observer.cancelHotKeys = false;
             desktop.typeKey(KeyV, CommandFlag);
         },
         "hot:8/9 hot:8/9 chord:8/9\"v\" context up:9\"v\"", ""},
        {"ignored once",
         [&] {
             flags(CommandFlag);
             service.ignoreNextHotKey();
             flags(0);
         },
         "", ""},
        {"a hot key that changed",
         [&] {
             commandV.setKeyCode(KeyA);
             desktop.typeKey(KeyA, CommandFlag);
         },
         "hot:8/0", ""},
        {"mouse", [&] { desktop.pressMouse(EventType::RightMouseDown); }, "mouse", ""},
        {"input source", [&] { desktop.selectLayout(u"de"); }, "source", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        desktop.processes().setTextField(desktop.editor(), {});
        row.act();
        time.runPending();
        EXPECT_EQ(observer.take(), row.events);
        EXPECT_EQ(toUTF8(desktop.text()), row.text);
        // Back to the beginning.
        desktop.holdModifiers(0);
        for (const std::uint16_t key : {KeyA, KeyS})
            desktop.releaseKey(key);
        desktop.selectLayout(u"us");
        commandV = GeneralHotKey(KeyModifier::Command, KeyV);
        observer.cancelHotKeys = true;
        observer.cancelChords = false;
        observer.keyDown = [](const ZPKeyEventArgs& args) { return args.s == u"x"; };
        time.runPending();
        observer.take();
    }
}

TEST_F(KeyCapture, ModifierAloneFiresAtTheFirstReleaseOnly) {
    commandAlone.setModifiers(KeyModifier::Command | KeyModifier::Shift);
    flags(CommandFlag);
    flags(CommandFlag | ShiftFlag);
    EXPECT_EQ(service.keyModifier(), KeyModifier::Command | KeyModifier::Shift);
    EXPECT_EQ(observer.take(), "");
    flags(ShiftFlag);
    EXPECT_EQ(observer.take(), "hot:9/65535");
    flags(0);
    EXPECT_EQ(observer.take(), "");

    // A modifier that is added opens the question again.
    flags(ShiftFlag | ControlFlag);
    flags(ShiftFlag);
    flags(ShiftFlag | CommandFlag);
    flags(ShiftFlag);
    EXPECT_EQ(observer.take(), "hot:9/65535");
    flags(0);

    observer.cancelHotKeys = false;
    flags(CommandFlag | ShiftFlag);
    commandAlone.setModifiers(KeyModifier::Shift);
    flags(ShiftFlag); // the release of Command tests both, the set has changed meanwhile
    flags(0);
    EXPECT_EQ(observer.take(), "");
}

TEST_F(KeyCapture, SwallowedModifierReleaseStaysAway) {
    flags(CommandFlag);
    flags(0);
    EXPECT_EQ(received(), "flags Command-");
}

TEST_F(KeyCapture, NoticesAnotherApplicationBeforeItsKey) {
    const auto other = desktop.processes().launch(u"other", u"Other");
    desktop.processes().setFrontProcess(other);
    desktop.typeText(u"a"); // the first key since the start has nothing to compare with
    desktop.processes().setFrontProcess(desktop.editor());
    desktop.typeText(u"b");
    EXPECT_EQ(observer.take(), "down:0\"a\" context down:11\"b\"");
    EXPECT_EQ(service.lastProcessReceivedKeyEvent(), desktop.editor());
    EXPECT_FALSE(service.isSameProcess());
    desktop.processes().setFrontProcess(desktop.processes().currentProcess());
    desktop.typeText(u"c");
    EXPECT_TRUE(service.isSameProcess());
    time.runPending();
    observer.take();

    service.disableEvents();
    desktop.processes().setFrontProcess(other);
    enable();
    desktop.typeText(u"d");
    EXPECT_EQ(observer.take(), "down:2\"d\"");
}

TEST_F(KeyCapture, LastKeyIsForgottenAtTheNextEvent) {
    desktop.pressKey(KeyA);
    EXPECT_EQ(service.lastKeyString(), u"a");
    desktop.pressMouse();
    EXPECT_EQ(service.lastKeyString(), std::nullopt);
    desktop.pressKey(LeftArrow);
    EXPECT_EQ(service.lastKeyString(), std::nullopt);
}

TEST_F(KeyCapture, PassesEverythingWhileSendingOrDisabled) {
    service.beginSending();
    desktop.typeText(u"x");
    desktop.holdModifiers(ShiftFlag);
    desktop.pressMouse();
    EXPECT_EQ(service.keyModifier(), 0);
    desktop.holdModifiers(0);
    service.endSending();
    service.disableEvents();
    desktop.typeText(u"x");
    time.runPending();
    EXPECT_EQ(observer.take(), "");
    EXPECT_EQ(desktop.text(), u"xx");
    EXPECT_FALSE(service.evenTapCreated());
}

TEST_F(KeyCapture, ComesBackAfterATimeoutEvenWhileSending) {
    service.beginSending();
    disableTaps(EventType::TapDisabledByTimeout);
    service.endSending();
    EXPECT_EQ(logged, (std::vector<std::string>{"Event tap was disabled by timeout"}));
    desktop.typeText(u"x");
    EXPECT_EQ(observer.take(), "down:7\"x\"");

    testing::internal::CaptureStdout();
    disableTaps(EventType::TapDisabledByUserInput);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Event tap was disabled by user input\n");
    desktop.typeText(u"x");
    EXPECT_EQ(observer.take(), "");
}

TEST_F(KeyCapture, MouseTapComesAndGoesWithItsSetting) {
    const auto press = [&](bool listen) {
        service.setListenMouseDownEvents(listen);
        time.runPending();
        desktop.pressMouse();
        return observer.take();
    };
    EXPECT_EQ(press(false), "");
    EXPECT_EQ(press(true), "mouse");
    service.disableEvents();
    EXPECT_EQ(press(false), "");
    enable();
    EXPECT_EQ(press(false), "");
    EXPECT_EQ(press(true), "mouse");
}

TEST_F(KeyCapture, SecureInputIsFoundByTheTimerAndEndedByAKey) {
    desktop.eventTaps().setSecureEventInput(true);
    time.advance(0.9);
    EXPECT_EQ(observer.take(), "");
    time.advance(0.2);
    EXPECT_EQ(observer.take(), "secure");
    EXPECT_EQ(service.lastAppEnabledSecureInput(), u"Text Editor");
    time.advance(5);
    EXPECT_EQ(observer.take(), "");
    desktop.eventTaps().setSecureEventInput(false);
    desktop.pressKey(KeyA);
    EXPECT_EQ(observer.take(), "open down:0\"a\"");
    EXPECT_EQ(service.lastAppEnabledSecureInput(), std::nullopt);

    service.disableEvents();
    desktop.eventTaps().setSecureEventInput(true);
    time.advance(5);
    EXPECT_EQ(observer.take(), "");
}

TEST(KeyCaptureStart, RefusedTapsAreReportedAndTheOtherIsTried) {
    struct Row {
        std::uint32_t refused;
        const char* message;
        bool created;
        const char* events;
    };
    const Row rows[] = {
        {eventMask(EventType::KeyDown), "The event tap could not be created to monitor key events",
         false, "mouse"},
        {eventMask(EventType::LeftMouseDown),
         "The event tap could not be created to monitor mouse events", true, "down:0\"a\""},
    };
    for (const Row& row : rows) {
        std::vector<std::string> logged;
        setLogSink([&](std::string_view line) { logged.emplace_back(line); });
        VirtualTime time;
        VirtualRunLoop mainLoop(time);
        ScriptedDesktop desktop(time);
        BundleIdentifierResolver resolver(desktop.processes());
        MacInputService service(desktop, resolver, mainLoop);
        ServiceObserver observer(service);
        desktop.eventTaps().refuseTaps(row.refused);
        service.enableEvents();
        time.runPending();
        EXPECT_EQ(logged, (std::vector<std::string>{row.message}));
        EXPECT_EQ(service.evenTapCreated(), row.created);
        EXPECT_EQ(MacInputService::testFunction(desktop.eventTaps(), mainLoop), row.created);
        desktop.pressKey(KeyA);
        desktop.pressMouse();
        EXPECT_EQ(observer.take().find(row.events), 0U);
        setLogSink({});
    }
}

TEST(KeyCaptureStart, AListenerReportsKeysOnTheMainThread) {
    VirtualTime time;
    VirtualRunLoop mainLoop(time);
    ScriptedDesktop desktop(time);
    BundleIdentifierResolver resolver(desktop.processes());
    MacInputService service(desktop, resolver, mainLoop);
    std::string keys;
    struct Observer {
        std::string& keys;
        void onKeyDown(ZPKeyEventArgs* args) {
            keys += toUTF8(args->s.value_or(u"?"));
            args->cancel = true;
        }
    } observer{keys};
    service.keyDownEvent().addObserver(&observer, &Observer::onKeyDown);
    service.setTailAppendEventTap(true);
    service.enableEvents();
    time.runPending();
    desktop.typeText(u"ab");
    EXPECT_EQ(keys, "");
    time.runPending();
    EXPECT_EQ(keys, "ab");
    EXPECT_EQ(desktop.text(), u"ab");
}

} // namespace
} // namespace dresk
