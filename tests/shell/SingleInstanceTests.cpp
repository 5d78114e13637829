#include <csignal>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Foundation/PollRunLoop.h"
#include "Foundation/VirtualRunLoop.h"
#include "shell/LateInstance.h"
#include "shell/SingleInstance.h"
#include "support/LogLines.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

using Role = SingleInstance::Role;
using Files = std::vector<std::filesystem::path>;

class SingleInstanceTests : public testing::Test {
  protected:
    std::filesystem::path runtime() const { return folder_ / "run"; }
    void listen(SingleInstance& first) {
        first.listen(loop_, [this](const Files& files) { received_.push_back(files); });
    }
    /// Serves the first one until that many starts have shown up, or for long enough.
    void await(std::size_t count) {
        for (int i = 0; i < 1000 && received_.size() < count; ++i)
            loop_.runOnce(0.01);
    }
    /// Hands over from another thread, as another process would.
    bool handOver(const Files& files, std::size_t countAfter) {
        SingleInstance late(runtime(), ":7");
        EXPECT_EQ(late.claim(), Role::Late);
        bool taken = false;
        std::thread thread([&] { taken = late.activateOthers(files); });
        await(countAfter);
        thread.join();
        return taken;
    }

    test::TemporaryFolder folder_;
    PollRunLoop loop_;
    std::vector<Files> received_;
};

TEST_F(SingleInstanceTests, LaterStartsReachTheFirstOneOfTheirDisplay) {
    SingleInstance first(runtime(), ":7.0");
    ASSERT_EQ(first.claim(), Role::First);
    listen(first);
    SingleInstance other(runtime(), ":8");
    EXPECT_EQ(other.claim(), Role::First);

    EXPECT_TRUE(handOver({}, 1));
    EXPECT_TRUE(handOver({"/a b", "/c\n\xC3\xA9"}, 2));
    Files many;
    for (int i = 0; i < 500; ++i)
        many.push_back("/" + std::string(300, 'x') + std::to_string(i));
    EXPECT_TRUE(handOver(many, 5));
    ASSERT_EQ(received_.size(), 5U);
    EXPECT_EQ(received_[0], Files());
    EXPECT_EQ(received_[1], (Files{"/a b", "/c\n\xC3\xA9"}));
    Files together;
    for (std::size_t i = 2; i < 5; ++i)
        together.insert(together.end(), received_[i].begin(), received_[i].end());
    EXPECT_EQ(together, many);
    first.stopListening();
}

TEST_F(SingleInstanceTests, LockOutlivesTheWorkerAndNotTheKilledProgram) {
    std::array<int, 2> ready{};
    ASSERT_EQ(pipe2(ready.data(), O_CLOEXEC), 0);
    const pid_t program = fork();
    if (program == 0) {
        SingleInstance first(runtime(), ":7");
        const bool claimed = first.claim() == Role::First;
        const pid_t worker = fork();
        if (worker == 0) {
            first.leaveLock();
            _exit(0); // a worker that is lost
        }
        waitpid(worker, nullptr, 0);
        const char letter = claimed ? 'c' : 'x';
        if (write(ready[1], &letter, 1) == 1)
            pause();
        _exit(1);
    }
    char letter = 0;
    ASSERT_EQ(read(ready[0], &letter, 1), 1);
    EXPECT_EQ(letter, 'c');
    EXPECT_EQ(SingleInstance(runtime(), ":7").claim(), Role::Late);
    kill(program, SIGKILL);
    waitpid(program, nullptr, 0);
    close(ready[0]);
    close(ready[1]);

    // Its lock file and its socket are still there.
    SingleInstance next(runtime(), ":7");
    ASSERT_EQ(next.claim(), Role::First);
    listen(next);
    EXPECT_TRUE(handOver({"/file"}, 1));
    next.stopListening();
}

TEST_F(SingleInstanceTests, WhatComesWhileNobodyListensWaits) {
    SingleInstance first(runtime(), ":7");
    ASSERT_EQ(first.claim(), Role::First);
    SingleInstance late(runtime(), ":7");
    ASSERT_EQ(late.claim(), Role::Late);
    std::thread thread([&] { EXPECT_TRUE(late.activateOthers({"/early"})); });
    listen(first); // the worker has come back
    await(1);
    thread.join();
    EXPECT_EQ(received_, std::vector<Files>{{"/early"}});
    first.stopListening();
}

TEST_F(SingleInstanceTests, FolderThatOthersMayEnterIsOfNoUse) {
    const test::LogLines log;
    std::filesystem::create_directory(runtime());
    std::filesystem::permissions(runtime(), std::filesystem::perms::all);
    EXPECT_EQ(SingleInstance(runtime(), ":7").claim(), Role::Unknown);
    std::ofstream(folder_ / "file") << "x";
    EXPECT_EQ(SingleInstance(folder_ / "file", ":7").claim(), Role::Unknown);
    EXPECT_EQ(log.count(), 2U);
}

TEST(LateInstance, SaysSoUnlessItBringsFiles) {
    const test::LogLines log;
    VirtualTime time;
    VirtualRunLoop loop(time);
    test::RecordingUserInterface ui;
    bool answers = true;
    const auto activate = [&](const Files& files) {
        ui.note("activateOthers " + std::to_string(files.size()));
        return answers;
    };
    LateInstance late(loop, ui, activate, [&] { ui.note("terminate"); });
    late.launch({});
    time.advance(60);
    EXPECT_EQ(ui.takeLines(),
              std::vector<std::string>{
                  "alert There is already one or more instance(s) of Dresk running. | This "
                  "instance will exit and bring other instances to front. [OK]"});
    ui.answerAlert(0);
    time.advance(0.1);
    EXPECT_EQ(ui.takeLines(), std::vector<std::string>{"activateOthers 0"});
    time.advance(0.1);
    EXPECT_EQ(ui.takeLines(), std::vector<std::string>{"terminate"});
    answers = false;
    late.launch({"/a", "/b"});
    time.advance(0.2);
    EXPECT_EQ(ui.takeLines(), (std::vector<std::string>{"activateOthers 2", "terminate"}));
    EXPECT_EQ(log.count(), 1U);
}

} // namespace
} // namespace dresk
