#include "input/ServiceFixture.h"

namespace dresk {
namespace {

/// Notes what the route does, each with its time.
class Route : public ServiceTest, public VMHelperWindow {
  protected:
    Route() {
        service.setVMHelperWindow(this);
        desktop.movePointer({300, 200});
        enable();
        desktop.typeText(u"x"); // the target becomes the process that last received a key
        desktop.eventTaps().clearPostedEvents();
    }

    // VMHelperWindow
    Rect frame() const override { return {5, 6, 40, 20}; }
    void setFrameOrigin(Point origin) override {
        note("move " + std::to_string(static_cast<int>(origin.x)) + "," +
             std::to_string(static_cast<int>(origin.y)));
    }
    void orderFrontRegardless() override { note("show"); }
    void orderOut() override { note("hide"); }

    /// Runs the route as from the moment the paste was decided; the steps joined by ", ".
    std::string run(const ContextInputSetting& setting) {
        desktop.performOnTapThread(
            [&] { service.setBackspaceCount(setting.deleteAfterActivateVM ? 3 : 0); });
        desktop.performOnTapThread([&] { start(0.2, setting); });
        constexpr double Step = 0.05;
        for (int i = 0; i < 40; ++i) {
            time.advance(Step);
            observe();
        }
        std::string result;
        for (const auto& line : desktop.postedLines())
            note(line.substr(0, line.find(' ')), line.substr(line.find(' ') + 1));
        std::stable_sort(notes.begin(), notes.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [at, what] : notes) {
            char clock[16];
            std::snprintf(clock, sizeof clock, "%.1f ", at);
            result += (result.empty() ? "" : ", ") + std::string(clock) + what;
        }
        return result;
    }
    void start(double seconds, const ContextInputSetting& setting) {
        begin = time.elapsed();
        starter.callAfter(seconds, {this, "start"},
                          [this, kept = std::make_shared<ContextInputSetting>(setting)] {
                              service.showVMHelperDelayed(kept);
                          });
    }
    void observe() {
        const auto front = desktop.processes().frontProcess();
        if (front != lastFront)
            note(front == desktop.editor() ? "target" : "dresk");
        lastFront = front;
        const auto clicks = desktop.screens().postedMouseEvents();
        for (; clickCount + 1 < clicks.size(); clickCount += 2) {
            EXPECT_EQ(clicks[clickCount].type, EventType::LeftMouseDown);
            EXPECT_EQ(clicks[clickCount + 1].type, EventType::LeftMouseUp);
            EXPECT_EQ(clicks[clickCount].location, (Point{300, 200}));
            EXPECT_EQ(clicks[clickCount + 1].location, (Point{300, 200}));
            note("click");
        }
    }
    void note(const std::string& what) { notes.emplace_back(time.elapsed() - begin, what); }
    void note(const std::string& at, const std::string& what) {
        notes.emplace_back(std::stod(at) - begin, what);
    }

    VirtualRunLoop starter{time};
    double begin = 0;
    std::vector<std::pair<double, std::string>> notes;
    ProcessSerialNumber lastFront = desktop.editor();
    std::size_t clickCount = 0;
};

TEST_F(Route, ReactivatesWithoutAWindow) {
    ContextInputSetting setting;
    setting.reactivate = true;
    EXPECT_EQ(run(setting), "0.2 dresk, 0.7 target, 0.9 down Command-9, up 9");
}

TEST_F(Route, ShowsItsWindowUnderThePointerAndClicksIt) {
    ContextInputSetting setting;
    setting.useVMHelper = setting.clickAtVMHelper = true;
    EXPECT_EQ(run(setting), "0.2 move 280,190, 0.2 show, 0.2 dresk, 0.4 click, 0.5 hide, "
                            "0.7 target, 0.9 down Command-9, up 9");
}

TEST_F(Route, ClicksAtTheMachineAndErasesBeforeThePaste) {
    ContextInputSetting setting;
    setting.useVMHelper = setting.clickAtVM = setting.deleteAfterActivateVM = true;
    EXPECT_EQ(run(setting),
              "0.2 dresk, 0.7 target, 0.8 click, 0.9 Delete x3, 1.1 down Command-9, up 9");
    EXPECT_EQ(service.backspaceCount(), 0U);
}

TEST_F(Route, NeedsNoWindowAndNoTapThreadToEnd) {
    service.setVMHelperWindow(nullptr);
    ContextInputSetting setting;
    setting.clickAtVMHelper = setting.deleteAfterActivateVM = true;
    starter.callAfter(0.5, {this, "stop"}, [this] { service.disableEvents(); });
    EXPECT_EQ(run(setting), "0.2 dresk, 0.7 target");
    service.sendMouseClickToVMHelperWindow();
    EXPECT_TRUE(desktop.screens().postedMouseEvents().empty());
}

TEST_F(Route, ClicksIntoTheLowerLeftOfTheWindow) {
    service.sendMouseClickToVMHelperWindow();
    const auto clicks = desktop.screens().postedMouseEvents();
    ASSERT_EQ(clicks.size(), 2U);
    EXPECT_EQ(clicks[0].type, EventType::LeftMouseDown);
    EXPECT_EQ(clicks[1].type, EventType::LeftMouseUp);
    EXPECT_EQ(clicks[0].location, (Point{20, 11}));
    EXPECT_EQ(clicks[1].location, (Point{20, 11}));
}

} // namespace
} // namespace dresk
