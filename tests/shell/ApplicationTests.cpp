#include <csignal>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "shell/Application.h"
#include "support/ScriptedInputService.h"

namespace dresk {
namespace {

/// A tap thread that is real and a desktop that has nothing else.
class PollTapThread final : public TapThread {
  public:
    explicit PollTapThread(std::function<void(RunLoop&)> body)
        : thread_([this, body = std::move(body)] {
              body(loop_);
              loop_.run();
          }) {}
    ~PollTapThread() override {
        loop_.stop();
        thread_.join();
    }
    RunLoop& runLoop() override { return loop_; }

  private:
    PollRunLoop loop_;
    std::thread thread_;
};

class BareDesktop final : public Desktop, private Processes {
  public:
    EventTaps& eventTaps() override { throw std::logic_error("eventTaps"); }
    KeyboardLayouts& keyboardLayouts() override { throw std::logic_error("keyboardLayouts"); }
    Processes& processes() override { return *this; }
    Accessibility& accessibility() override { throw std::logic_error("accessibility"); }
    Point pointerLocation() override { return {}; }
    std::unique_ptr<TapThread> startTapThread(std::function<void(RunLoop&)> body) override {
        return std::make_unique<PollTapThread>(std::move(body));
    }

  private:
    ProcessSerialNumber currentProcess() override { return {}; }
    ProcessSerialNumber frontProcess() override { return {}; }
    void setFrontProcess(ProcessSerialNumber /*process*/) override {}
    std::optional<String> bundleIdentifier(ProcessSerialNumber /*process*/) override { return {}; }
    std::optional<String> localizedName(ProcessSerialNumber /*process*/) override { return {}; }
};

/// Types a text on its tap thread as soon as it is enabled, then asks for the end of the program.
class TypingService final : public ScriptedInputService {
  public:
    TypingService(VirtualTime& time, Desktop& desktop, std::string& jobs)
        : ScriptedInputService(time), desktop_(desktop), jobs_(jobs) {}
    void enableEvents() override {
        thread_ = desktop_.startTapThread([this](RunLoop&) {
            type(u"see dthx ");
            for (const std::string& job : takeJobs())
                jobs_ += job;
            kill(getpid(), SIGTERM);
        });
    }
    void disableEvents() override { thread_.reset(); }

  private:
    Desktop& desktop_;
    std::string& jobs_;
    std::unique_ptr<TapThread> thread_;
};

TEST(Application, ExpandsSamplesBeatsAndEndsOnSIGTERM) {
    std::array<int, 2> heartbeat{};
    ASSERT_EQ(pipe2(heartbeat.data(), O_CLOEXEC | O_NONBLOCK), 0);
    BareDesktop desktop;
    VirtualTime time;
    std::string jobs;
    {
        Application application(desktop, heartbeat[1], [&](Desktop& target, auto&, auto&) {
            return std::make_unique<TypingService>(time, target, jobs);
        });
        EXPECT_EQ(application.run(), 0);
    }
    EXPECT_EQ(jobs, "erase 4, put \"Thank you very much for your message.\", pass");
    std::array<char, 64> beats{};
    const ssize_t count = read(heartbeat[0], beats.data(), beats.size());
    ASSERT_GE(count, 2);
    EXPECT_EQ(beats.front(), Heartbeat::Beat);
    EXPECT_EQ(beats[static_cast<std::size_t>(count) - 1], Heartbeat::Pause);
    close(heartbeat[0]);
    close(heartbeat[1]);
}

} // namespace
} // namespace dresk
