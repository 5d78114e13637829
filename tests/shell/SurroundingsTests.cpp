// What the shell has of the machine around it: sleep, login, and its name.

#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "Foundation/PollRunLoop.h"
#include "shell/LoginItem.h"
#include "shell/SleepMonitor.h"
#include "shell/SystemVersion.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

/// A bus of the test's own in the place of the system bus.
class PrivateBus {
  public:
    PrivateBus() {
        FILE* output = popen("dbus-daemon --session --fork --print-address=1 --print-pid=1", "r");
        char line[512] = "";
        if (output != nullptr && fgets(line, sizeof line, output) != nullptr) {
            address_ = line;
            address_.erase(address_.find_last_not_of('\n') + 1);
        }
        if (output != nullptr && fgets(line, sizeof line, output) != nullptr)
            pid_ = static_cast<pid_t>(std::strtol(line, nullptr, 10));
        if (output != nullptr)
            pclose(output);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() {
        end();
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS"); // NOLINT(concurrency-mt-unsafe)
    }
    bool isRunning() const { return pid_ > 0; }
    void end() {
        if (pid_ > 0)
            kill(pid_, SIGTERM);
        pid_ = -1;
    }

  private:
    std::string address_;
    pid_t pid_ = -1;
};

/// What tells of sleep on a real machine.
class LoginManager {
  public:
    LoginManager() {
        sd_bus_open_system(&bus_);
        sd_bus_request_name(bus_, "org.freedesktop.login1", 0);
    }
    LoginManager(const LoginManager&) = delete;
    LoginManager& operator=(const LoginManager&) = delete;
    ~LoginManager() { sd_bus_flush_close_unref(bus_); }
    void prepareForSleep(bool asleep) {
        sd_bus_emit_signal(bus_, "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                           "PrepareForSleep", "b", static_cast<int>(asleep));
        sd_bus_flush(bus_);
    }

  private:
    sd_bus* bus_ = nullptr;
};

TEST(SleepMonitor, TellsSleepAndWakeUntilTheBusGoes) {
    PrivateBus bus;
    ASSERT_TRUE(bus.isRunning());
    PollRunLoop loop;
    std::vector<bool> changes;
    SleepMonitor monitor(loop, [&](bool asleep) { changes.push_back(asleep); });
    ASSERT_TRUE(monitor.isConnected());
    LoginManager manager;
    // The subscription is on its way; what was told before it stands is not heard.
    for (int i = 0; i < 500 && changes.empty(); ++i) {
        manager.prepareForSleep(true);
        loop.runOnce(0.02);
    }
    ASSERT_FALSE(changes.empty());
    manager.prepareForSleep(false);
    for (int i = 0; i < 500 && changes.back(); ++i)
        loop.runOnce(0.02);
    EXPECT_FALSE(changes.back());
    bus.end();
    for (int i = 0; i < 500 && monitor.isConnected(); ++i)
        loop.runOnce(0.02);
    EXPECT_FALSE(monitor.isConnected());
}

TEST(SleepMonitor, IsQuietWithoutABus) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere", 1); // NOLINT(concurrency-mt-unsafe)
    PollRunLoop loop;
    const SleepMonitor monitor(loop, [](bool) { FAIL(); });
    loop.runOnce(0);
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS"); // NOLINT(concurrency-mt-unsafe)
}

TEST(LoginItem, WritesAndRemovesAnEntryThatDesktopsObey) {
    test::TemporaryFolder folder;
    const auto autostart = LoginItem::folderIn(folder / "config");
    const LoginItem item(autostart, "/opt/my $dresk/100%/a\"b\\c`d");
    EXPECT_FALSE(item.enabled());
    EXPECT_TRUE(item.setEnabled(false));
    ASSERT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(item.enabled());
    const auto file = autostart / "com.zopal.Dresk.desktop";
    std::ifstream stream(file);
    std::stringstream text;
    text << stream.rdbuf();
    EXPECT_NE(text.str().find("\nExec=\"/opt/my \\\\$dresk/100%%/a\\\\\"b\\\\\\\\c\\\\`d\"\n"),
              std::string::npos)
        << text.str();
    std::ofstream(file, std::ios::app) << "Hidden=true\n"; // as desktops turn an entry off
    EXPECT_FALSE(item.enabled());
    EXPECT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(item.enabled());
    EXPECT_TRUE(item.setEnabled(false));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(LoginItem("/proc/nowhere", "/x").setEnabled(true));
}

TEST(SystemVersion, ReadsThePrettyName) {
    test::TemporaryFolder folder;
    const std::pair<const char*, std::optional<String>> rows[] = {
        {"ID=x\nPRETTY_NAME=\"Some \\\"OS\\\" 12\"\n", u"Some \"OS\" 12"},
        {"PRETTY_NAME='A\\B'\n", u"A\\B"},
        {"PRETTY_NAME=plain\n", u"plain"},
        {"PRETTY_NAME=\"", u"\""},
        {"NAME=x\n", std::nullopt},
    };
    for (const auto& [text, expected] : rows) {
        std::ofstream(folder / "os-release") << text;
        EXPECT_EQ(systemVersion(folder / "os-release"), expected) << text;
    }
    EXPECT_EQ(systemVersion(folder / "missing"), std::nullopt);
}

} // namespace
} // namespace dresk
