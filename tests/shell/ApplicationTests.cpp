#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Foundation/PreferenceKeys.h"
#include "input/scripted/ScriptedDesktop.h"
#include "shell/Application.h"

namespace dresk {
namespace {

/// A user who types an abbreviation until it is expanded, then asks for the end of the program.
class User {
  public:
    User(ScriptedDesktop& desktop, PollRunLoop& loop) : desktop_(desktop), loop_(loop) {
        loop_.post({this, "type"}, [this] { type(); });
    }

  private:
    void type() {
        const bool expanded = desktop_.text().find(u"Thank you very much") != String::npos;
        if (expanded || ++tries_ == 100) {
            kill(getpid(), SIGTERM);
            return;
        }
        desktop_.typeText(u"tyvm ");
        loop_.callAfter(0.1, {this, "type"}, [this] { type(); });
    }

    ScriptedDesktop& desktop_;
    PollRunLoop& loop_;
    int tries_ = 0;
};

TEST(Application, ExpandsSamplesBeatsAndEndsOnSIGTERM) {
    std::array<int, 2> heartbeat{};
    ASSERT_EQ(pipe2(heartbeat.data(), O_CLOEXEC | O_NONBLOCK), 0);
    ScriptedDesktop desktop;
    char folder[] = "/tmp/dresk-application-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const Application::Files files{std::filesystem::path(folder) / "preferences.plist",
                                   DRESK_DEFAULT_DATA};
    {
        Application application(desktop, files, heartbeat[1]);
        User user(desktop, application.mainRunLoop());
        EXPECT_EQ(application.run(), 0);
    }
    EXPECT_NE(desktop.text().find(u"Thank you very much! "), String::npos);
    std::array<char, 4096> beats{};
    const ssize_t count = read(heartbeat[0], beats.data(), beats.size());
    ASSERT_GE(count, 2);
    EXPECT_EQ(beats.front(), Heartbeat::Beat);
    EXPECT_EQ(beats[static_cast<std::size_t>(count) - 1], Heartbeat::Pause);
    // What the first start took over has been stored, with the time of the last use.
    FilePreferenceStore stored(files.preferences);
    EXPECT_TRUE(stored.dataForKey(PreferenceKey::Data).has_value());
    std::filesystem::remove_all(folder);
    close(heartbeat[0]);
    close(heartbeat[1]);
}

} // namespace
} // namespace dresk
