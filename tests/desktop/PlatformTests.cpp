// What the X11 back end does beside keys: screens, pointer, the process in front, root hot keys.

#include <atomic>
#include <chrono>
#include <thread>

#include <sys/uio.h>

#include "Foundation/PollRunLoop.h"
#include "desktop/Deadline.h"
#include "desktop/DesktopTest.h"
#include "input/x11/X11Desktop.h"
#include "input/x11/XConnection.h"

#include <xcb/randr.h>
#include <xcb/xcbext.h>

namespace dresk {
namespace {

class PlatformOnX11 : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        std::string error;
        connection_ = XConnection::open(nullptr, error);
        ASSERT_NE(connection_, nullptr) << error;
        desktop_ = makeX11Desktop(nullptr, error);
        ASSERT_NE(desktop_, nullptr) << error;
        thread_ = desktop_->startTapThread([this](RunLoop& loop) {
            constexpr std::uint32_t mask =
                eventMask(EventType::KeyDown) | eventMask(EventType::LeftMouseDown);
            tap_ = desktop_->eventTaps().createEventTap(
                EventTaps::Location::Session, EventTaps::Options::Default, mask, loop,
                [this](EventTapProxy, const DesktopEvent& event) {
                    if (event.type == EventType::LeftMouseDown)
                        ++clicks_;
                    if (event.type == EventType::ContextLost)
                        ++contextsLost_;
                    return false;
                });
            ready_ = true;
        });
        ASSERT_TRUE(await([&] { return ready_.load(); }));
    }
    void TearDown() override {
        tap_.reset();
        thread_.reset();
        desktop_.reset();
        connection_.reset();
        DesktopTest::TearDown();
    }
    Processes& processes() { return desktop_->processes(); }
    static ProcessSerialNumber processOf(const TextTarget& target) {
        return {0, static_cast<std::uint32_t>(target.process().pid())};
    }

    std::unique_ptr<XConnection> connection_;
    std::unique_ptr<Desktop> desktop_;
    std::unique_ptr<TapThread> thread_;
    std::unique_ptr<EventTap> tap_;
    std::atomic<bool> ready_{false};
    std::atomic<int> clicks_{0};
    std::atomic<int> contextsLost_{0};
};

/// A panel along the top of the desktop.
class Panel {
  public:
    Panel(const XConnection& connection, std::uint32_t height, std::uint32_t left,
          std::uint32_t right)
        : connection_(connection), window_(xcb_generate_id(connection.get())) {
        xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window_, connection.root(),
                          static_cast<std::int16_t>(left), 0,
                          static_cast<std::uint16_t>(right - left + 1),
                          static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        set("_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, {connection.atom("_NET_WM_WINDOW_TYPE_DOCK")});
        set("_NET_WM_STRUT_PARTIAL", XCB_ATOM_CARDINAL,
            {0, 0, height, 0, 0, 0, 0, 0, left, right, 0, 0});
        xcb_map_window(connection.get(), window_);
        connection.flush();
    }
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;
    ~Panel() {
        xcb_destroy_window(connection_.get(), window_);
        connection_.flush();
    }

  private:
    void set(std::string_view name, xcb_atom_t type, std::vector<std::uint32_t> items) {
        xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window_,
                            connection_.atom(name), type, 32,
                            static_cast<std::uint32_t>(items.size()), items.data());
    }

    const XConnection& connection_;
    xcb_window_t window_;
};

/// Cuts the display in two, the right half being the primary screen.
class TwoMonitors {
  public:
    explicit TwoMonitors(const XConnection& connection)
        : connection_(connection), names_{connection.atom("left"), connection.atom("right")} {
        for (const bool right : {false, true}) {
            xcb_randr_monitor_info_t monitor{};
            monitor.name = names_[right ? 1 : 0];
            monitor.primary = right ? 1 : 0;
            monitor.x = right ? 640 : 0;
            monitor.width = 640;
            monitor.height = 900;
            set(monitor);
        }
        connection_.flush();
    }
    TwoMonitors(const TwoMonitors&) = delete;
    TwoMonitors& operator=(const TwoMonitors&) = delete;
    ~TwoMonitors() {
        for (const xcb_atom_t name : names_)
            xcb_randr_delete_monitor(connection_.get(), connection_.root(), name);
        connection_.flush();
    }

  private:
    // By hand: the function of libxcb 1.15 for it sends what lies behind the record as well.
    void set(const xcb_randr_monitor_info_t& monitor) const {
        static constexpr xcb_protocol_request_t description{1, &xcb_randr_id, XCB_RANDR_SET_MONITOR,
                                                            1};
        struct {
            std::uint32_t head = 0;
            xcb_window_t window;
            xcb_randr_monitor_info_t monitor;
        } request{0, connection_.root(), monitor};
        iovec parts[3] = {{}, {}, {&request, sizeof request}};
        xcb_send_request(connection_.get(), 0, parts + 2, &description);
    }

    const XConnection& connection_;
    const xcb_atom_t names_[2];
};

TEST_F(PlatformOnX11, ScreensLeavePanelsOut) {
    const auto screens = [&] { return desktop_->screens().screens(); };
    ASSERT_EQ(screens().size(), 1U);
    EXPECT_EQ(screens()[0].frame, (Rect{0, 0, 1280, 900}));
    EXPECT_EQ(screens()[0].visibleFrame, (Rect{0, 0, 1280, 900}));
    {
        const Panel panel(*connection_, 30, 0, 1279);
        EXPECT_TRUE(await([&] { return screens()[0].visibleFrame == Rect{0, 30, 1280, 870}; }));
        EXPECT_EQ(screens()[0].frame, (Rect{0, 0, 1280, 900}));
    }
    EXPECT_TRUE(await([&] { return screens()[0].visibleFrame == screens()[0].frame; }));
}

TEST_F(PlatformOnX11, EachScreenLosesItsOwnPanels) {
    const TwoMonitors monitors(*connection_);
    const auto screens = [&] { return desktop_->screens().screens(); };
    ASSERT_TRUE(await([&] { return screens().size() >= 2; }));
    EXPECT_EQ(screens()[0].frame, (Rect{640, 0, 640, 900})) << "the primary one first";
    EXPECT_EQ(screens()[1].frame, (Rect{0, 0, 640, 900}));
    const Panel panel(*connection_, 30, 640, 1279);
    EXPECT_TRUE(await([&] { return screens()[0].visibleFrame == Rect{640, 30, 640, 870}; }));
    EXPECT_EQ(screens()[1].visibleFrame, screens()[1].frame);
}

TEST_F(PlatformOnX11, ThePointerClicksWhereItIsSent) {
    ASSERT_NE(startTarget(TextTarget::Kind::Gtk), nullptr);
    const Point place{321, 234};
    desktop_->screens().postMouseEvent(EventType::LeftMouseDown, place);
    desktop_->screens().postMouseEvent(EventType::LeftMouseUp, place);
    EXPECT_TRUE(await([&] { return clicks_ == 1; }));
    EXPECT_EQ(desktop_->screens().pointerLocation(), place);
}

TEST_F(PlatformOnX11, TakesTheFocusAndGivesItBack) {
    TextTarget* target = startTarget(TextTarget::Kind::Gtk);
    ASSERT_NE(target, nullptr);
    type(u"a");
    ASSERT_TRUE(holds(*target, u"a"));
    ASSERT_EQ(processes().frontProcess(), processOf(*target));
    for (int round = 0; round < 3; ++round) {
        processes().setFrontProcess(processes().currentProcess());
        ASSERT_TRUE(
            await([&] { return processes().frontProcess() == processes().currentProcess(); }));
        type(u"lost");
        processes().setFrontProcess(processOf(*target));
        ASSERT_TRUE(await([&] { return processes().frontProcess() == processOf(*target); }));
    }
    type(u"b");
    EXPECT_TRUE(holds(*target, u"ab"));
}

/// A chord at the keyboard: Control, Alt and K.
class HotKeyOnX11 : public PlatformOnX11 {
  protected:
    static constexpr std::uint16_t KeyCodeK = 40;
    static constexpr std::uint64_t Flags = EventFlag::Control | EventFlag::Option;
    static constexpr std::uint8_t K = 45;
    static constexpr std::uint8_t LeftAlt = 64;
    static constexpr std::uint8_t NumLock = 77;

    std::unique_ptr<EventHotKey> registerChord(Desktop& desktop) {
        return desktop.registerEventHotKey(KeyCodeK, Flags, loop_, [this] { ++pressed_; });
    }
    void pressChord(bool shift = false) {
        for (const std::uint8_t key : {KeyInjector::LeftControl, LeftAlt})
            keys().press(key);
        if (shift)
            keys().press(KeyInjector::LeftShift);
        keys().tap(K, 0.02);
        if (shift)
            keys().release(KeyInjector::LeftShift);
        for (const std::uint8_t key : {LeftAlt, KeyInjector::LeftControl})
            keys().release(key);
    }
    bool arrives(int count) {
        return await([&] {
            loop_.runOnce(0.01);
            return pressed_ == count;
        });
    }

    PollRunLoop loop_;
    int pressed_ = 0;
};

TEST_F(HotKeyOnX11, TakesTheChordWhateverLocksAreOn) {
    TextTarget* target = startTarget(TextTarget::Kind::Gtk);
    ASSERT_NE(target, nullptr);
    auto hotKey = registerChord(*desktop_);
    ASSERT_NE(hotKey, nullptr);
    type(u"a");
    ASSERT_TRUE(holds(*target, u"a"));
    contextsLost_ = 0;
    pressChord();
    EXPECT_TRUE(arrives(1));
    type(u"k");
    EXPECT_TRUE(holds(*target, u"ak"));
    EXPECT_EQ(contextsLost_, 0) << "our own chord is not another program's";
    EXPECT_EQ(pressesOf(target->keys(), K), 1U) << "the letter alone";

    ASSERT_TRUE(keys().toggleCapsLock());
    pressChord();
    EXPECT_TRUE(arrives(2));
    ASSERT_TRUE(keys().toggleCapsLock());
    keys().tap(NumLock);
    pressChord();
    EXPECT_TRUE(arrives(3));
    keys().tap(NumLock);

    pressChord(true); // another chord
    type(u"k");
    EXPECT_TRUE(holds(*target, u"akk"));
    EXPECT_TRUE(arrives(3));

    ASSERT_TRUE(keys().setLayout({"de", "", ""}));
    pressChord();
    EXPECT_TRUE(arrives(4));
    hotKey.reset();
    target->clear();
    pressChord();
    type(u"z");
    EXPECT_TRUE(holds(*target, u"z"));
    EXPECT_EQ(pressesOf(target->keys(), K), 1U) << "given back";
    EXPECT_TRUE(arrives(4));
}

TEST_F(HotKeyOnX11, IsRefusedWhereAnotherHasIt) {
    std::string error;
    const auto other = makeX11Desktop(nullptr, error);
    ASSERT_NE(other, nullptr) << error;
    auto first = registerChord(*desktop_);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(registerChord(*other), nullptr);
    EXPECT_EQ(desktop_->registerEventHotKey(9999, Flags, loop_, [] {}), nullptr) << "no such key";
    first.reset();
    EXPECT_NE(registerChord(*other), nullptr);
}

TEST_F(HotKeyOnX11, AHeldChordCountsOnce) {
    ASSERT_NE(startTarget(TextTarget::Kind::Gtk), nullptr);
    const auto hotKey = registerChord(*desktop_);
    ASSERT_NE(hotKey, nullptr);
    for (const std::uint8_t key : {KeyInjector::LeftControl, LeftAlt, K})
        keys().press(key);
    std::this_thread::sleep_for(std::chrono::seconds(1)); // the keyboard repeats it meanwhile
    for (const std::uint8_t key : {K, LeftAlt, KeyInjector::LeftControl})
        keys().release(key);
    EXPECT_TRUE(arrives(1));
    pressChord();
    EXPECT_TRUE(arrives(2));
}

} // namespace
} // namespace dresk
