// The floating lists over real applications, with a window manager.

#include <csignal>
#include <filesystem>
#include <sstream>

#include "desktop/DesktopTest.h"
#include "desktop/Screenshot.h"

namespace dresk {
namespace {

struct Frame {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class PanelTest : public DesktopTest, public testing::WithParamInterface<TextTarget::Kind> {
  protected:
    bool startHost(const std::vector<std::string>& command = {DRESK_PANEL_HOST}) {
        host_ = startProgram(command);
        return host_ != nullptr;
    }
    /// Waits for a line of the host that starts so; the rest of it, null if none comes.
    std::optional<std::string> awaitLine(const std::string& start, double seconds = 10) {
        while (auto line = host_->readLine(seconds))
            if (line->starts_with(start))
                return line->substr(start.size());
        ADD_FAILURE() << "the host did not say: " << start;
        return std::nullopt;
    }
    Frame show(int signal) {
        host_->signal(signal);
        Frame frame;
        std::istringstream(awaitLine("shown ").value_or("")) >> frame.x >> frame.y >> frame.width >>
            frame.height;
        return frame;
    }
    Frame showList() { return show(SIGUSR1); }
    Frame showSearch() { return show(SIGUSR2); }
    static void picture(const std::string& name) {
        std::filesystem::create_directories(DRESK_SCREENSHOTS);
        EXPECT_TRUE(saveScreenshot(DRESK_SCREENSHOTS "/" + name + ".png"));
    }

    ChildProcess* host_ = nullptr;
};

TEST_P(PanelTest, TheListLeavesTheKeyboardToTheApplication) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    ASSERT_TRUE(startHost());
    type(u"ab");
    const Frame frame = showList();
    type(u"cd");
    EXPECT_TRUE(holds(*target, u"abcd"));
    picture("list-" + nameOf(GetParam()));

    // A click chooses and does not take the keyboard either.
    keys().movePointer(frame.x + 60, frame.y + frame.height / 10 * 2 + 8);
    keys().movePointer(frame.x + 61, frame.y + frame.height / 10 * 2 + 9);
    keys().click();
    EXPECT_EQ(awaitLine("chosen "), "tel");
    awaitLine("closed");
    type(u"ef");
    EXPECT_TRUE(holds(*target, u"abcdef"));
}

TEST_P(PanelTest, TheQuickSearchTakesTheKeyboardAndGivesItBack) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    ASSERT_TRUE(startHost());
    type(u"ab");
    ASSERT_TRUE(holds(*target, u"ab"));
    showSearch();
    type(u"reg");
    keys().tap(KeyInjector::Down);
    keys().tap(KeyInjector::Down);
    picture("search-" + nameOf(GetParam()));
    keys().tap(KeyInjector::Up);
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(awaitLine("chosen "), "addr");
    awaitLine("closed");
    type(u"cd");
    EXPECT_TRUE(holds(*target, u"abcd"));

    // Again and again: the moment of the last change of the focus must not hinder the next.
    for (const char16_t letter : {u'x', u'y', u'z'}) {
        showSearch();
        // The filter is still there and selected, so that typing replaces it.
        type(u"tel");
        keys().tap(KeyInjector::Escape);
        awaitLine("closed");
        type(StringView(&letter, 1));
    }
    EXPECT_TRUE(holds(*target, u"abcdxyz"));
}

// The key ends the search on the tap thread, and the text follows at once: to the application.
TEST_P(PanelTest, ADigitInTheQuickSearchSendsToTheApplication) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    ASSERT_TRUE(startHost({DRESK_PANEL_HOST, "engine"}));
    String expected = u"ab";
    type(expected);
    for (int round = 1; round <= 3; ++round) {
        showSearch();
        type(u"reg2");
        expected += u"12 Regent Street, London W1B 2EL";
        EXPECT_TRUE(holds(*target, expected));
    }
    type(u"cd");
    EXPECT_TRUE(holds(*target, expected + u"cd"));
}

TEST_P(PanelTest, AClickElsewhereClosesTheQuickSearch) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    ASSERT_TRUE(startHost());
    const Frame frame = showSearch();
    type(u"reg");
    keys().movePointer(frame.x + 20, frame.y - 100);
    keys().click();
    awaitLine("closed");
    type(u"ab");
    EXPECT_TRUE(holds(*target, u"ab"));
}

TEST_P(PanelTest, TheSearchMenuOpensWithoutClosingThePanel) {
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    ASSERT_TRUE(startHost());
    const Frame frame = showSearch();
    type(u";sig");
    keys().movePointer(frame.x + 15, frame.y + 12);
    keys().click();
    awaitLine("menu");
    picture("search-menu-" + nameOf(GetParam()));
    // Closes the menu alone.
    keys().tap(KeyInjector::Escape);
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(awaitLine("chosen "), "sig");
    type(u"ab");
    EXPECT_TRUE(holds(*target, u"ab"));
}

INSTANTIATE_TEST_SUITE_P(, PanelTest, testing::Values(TextTarget::Kind::Gtk, TextTarget::Kind::Qt),
                         [](const auto& info) { return nameOf(info.param); });

/// What the X server says of the window with that title.
Frame frameOfWindow(const std::string& title) {
    const auto program = ChildProcess::start({"xwininfo", "-name", title});
    Frame frame;
    while (const auto line = program->readLine(10)) {
        const auto number = [&] { return std::stoi(line->substr(line->rfind(' ') + 1)); };
        if (line->find("Absolute upper-left X") != std::string::npos)
            frame.x = number();
        if (line->find("Absolute upper-left Y") != std::string::npos)
            frame.y = number();
        if (line->find("  Width:") != std::string::npos)
            frame.width = number();
        if (line->find("  Height:") != std::string::npos)
            frame.height = number();
    }
    return frame;
}

using PanelLooks = PanelTest;

TEST_F(PanelLooks, StandsWhereItShouldWhateverTheRatio) {
    for (const std::string ratio : {"1", "2"}) {
        SCOPED_TRACE(ratio);
        ASSERT_TRUE(startHost({"env", "QT_SCALE_FACTOR=" + ratio, DRESK_PANEL_HOST, "dark"}));
        const Frame wanted = showList();
        const Frame is = frameOfWindow("Suggestions");
        EXPECT_EQ(is.x, wanted.x);
        EXPECT_EQ(is.y, wanted.y);
        EXPECT_EQ(is.width, wanted.width);
        EXPECT_EQ(is.height, wanted.height);
        EXPECT_EQ(is.width, 420 * std::stoi(ratio));
        picture("list-dark-" + ratio);
        host_->signal(SIGTERM);
        host_->wait(10);

        ASSERT_TRUE(startHost({"env", "QT_SCALE_FACTOR=" + ratio, DRESK_PANEL_HOST, "dark"}));
        showSearch();
        type(u"reg");
        picture("search-dark-" + ratio);
        host_->signal(SIGTERM);
        host_->wait(10);
    }
}

} // namespace
} // namespace dresk
