#include <csignal>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Foundation/PollRunLoop.h"
#include "Foundation/PreferenceKeys.h"
#include "input/scripted/ScriptedDesktop.h"
#include "shell/Application.h"
#include "shell/Supervisor.h"
#include "support/LogLines.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

/// A user who types an abbreviation until it is expanded, and then does something else.
class User {
  public:
    User(ScriptedDesktop& desktop, PollRunLoop& loop, std::function<void()> then)
        : desktop_(desktop), loop_(loop), then_(std::move(then)) {
        loop_.post({this, "type"}, [this] { type(); });
    }

  private:
    void type() {
        const bool expanded = desktop_.text().find(u"Thank you very much") != String::npos;
        if (expanded || ++tries_ == 100) {
            then_();
            return;
        }
        desktop_.typeText(u"tyvm ");
        loop_.callAfter(0.1, {this, "type"}, [this] { type(); });
    }

    ScriptedDesktop& desktop_;
    PollRunLoop& loop_;
    std::function<void()> then_;
    int tries_ = 0;
};

class ApplicationTests : public testing::Test {
  protected:
    Application::Options options() const {
        Application::Options options;
        options.preferences = folder / "preferences.plist";
        options.defaultData = DRESK_DEFAULT_DATA;
        options.backupDirectory = folder / "Backups";
        return options;
    }

    test::TemporaryFolder folder;
    ScriptedDesktop desktop;
    PollRunLoop loop;
};

TEST_F(ApplicationTests, ExpandsSamplesBeatsAndEndsOnSIGTERM) {
    std::array<int, 2> heartbeat{};
    ASSERT_EQ(pipe2(heartbeat.data(), O_CLOEXEC | O_NONBLOCK), 0);
    {
        test::RecordingUserInterface userInterface;
        Application::Options withHeartbeat = options();
        withHeartbeat.heartbeatDescriptor = heartbeat[1];
        Application application(desktop, loop, userInterface, withHeartbeat);
        const User user(desktop, loop, [] { kill(getpid(), SIGTERM); });
        EXPECT_EQ(application.run(), 0);
    }
    EXPECT_NE(desktop.text().find(u"Thank you very much! "), String::npos);
    std::array<char, 4096> beats{};
    const ssize_t count = read(heartbeat[0], beats.data(), beats.size());
    ASSERT_GE(count, 2);
    EXPECT_EQ(beats.front(), Heartbeat::Beat);
    EXPECT_EQ(beats[static_cast<std::size_t>(count) - 1], Heartbeat::Pause);
    // What the first start took over has been stored, with the time of the last use.
    FilePreferenceStore stored(folder / "preferences.plist");
    EXPECT_TRUE(stored.dataForKey(PreferenceKey::Data).has_value());
    close(heartbeat[0]);
    close(heartbeat[1]);
}

TEST_F(ApplicationTests, ServesLaterStartsAndRestartsOnRequest) {
    test::RecordingUserInterface ui;
    SingleInstance singleInstance(folder / "run", ":1");
    ASSERT_EQ(singleInstance.claim(), SingleInstance::Role::First);
    Application::Options withInstance = options();
    withInstance.singleInstance = &singleInstance;
    withInstance.files = {"/given.dresk"};
    Application application(desktop, loop, ui, withInstance);
    std::thread late;
    const User user(desktop, loop, [&] {
        late = std::thread([&] {
            SingleInstance second(folder / "run", ":1");
            EXPECT_EQ(second.claim(), SingleInstance::Role::Late);
            EXPECT_TRUE(second.activateOthers({}));
            loop.post({&application, "restart"}, [&] { application.appDelegate().restart(); });
        });
    });
    EXPECT_EQ(application.run(), Supervisor::Relaunch);
    late.join();
    ASSERT_GE(ui.lines.size(), 2U);
    EXPECT_EQ(ui.lines.back(), "showMacrosWindow");
    EXPECT_EQ(ui.lines[ui.lines.size() - 2].find("alert Restore / Import data from given.dresk"),
              0U);
}

} // namespace
} // namespace dresk
