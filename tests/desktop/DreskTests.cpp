// The two processes of the program: what becomes of the keyboard and of what is typed when one of
// them is killed, stopped or told to end.

#include <csignal>
#include <fstream>

#include "desktop/ProgramTest.h"

namespace dresk {
namespace {

class Dresk : public ProgramTest {
  protected:
    void SetUp() override {
        ProgramTest::SetUp();
        SnippetGroup& group = addGroup(u"Texts");
        addSnippet(group, u"sig", u"Kind regards,");
        addSnippet(group, u"ask", u"Dear 【field:name】");
        ASSERT_NO_FATAL_FAILURE(launch());
        worker_ = worker();
        ASSERT_GT(worker_, 0);
    }

    pid_t worker_ = 0;
};

TEST_F(Dresk, ExpandsUntilItIsToldToEnd) {
    type(u"Hello sig sig\n");
    EXPECT_TRUE(holds(*target_, u"Hello Kind regards, Kind regards,\n"));
    program_->signal(SIGTERM);
    EXPECT_EQ(program_->wait(5), 0);
    target_->clear();
    type(u"then sig stays.\n");
    EXPECT_TRUE(holds(*target_, u"then sig stays.\n"));
}

TEST_F(Dresk, WorkerThatIsKilledIsReplaced) {
    kill(worker_, SIGKILL);
    EXPECT_TRUE(ChildProcess::awaitEnd(worker_, 5));
    EXPECT_TRUE(expandsWithin());
    EXPECT_NE(worker(), worker_);
}

TEST_F(Dresk, WorkerThatIsStoppedIsReplacedAndNothingTypedIsLost) {
    kill(worker_, SIGSTOP);
    type(u"typed while it is stopped\n");
    EXPECT_TRUE(ChildProcess::awaitEnd(worker_, 10));
    EXPECT_TRUE(holds(*target_, u"typed while it is stopped\n"));
    EXPECT_TRUE(expandsWithin());
}

/// The processes whose parent is that one.
std::vector<pid_t> childrenOf(pid_t parent) {
    std::vector<pid_t> found;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(parent) + "/task")) {
        std::ifstream children(task.path() / "children");
        for (pid_t child = 0; children >> child;)
            found.push_back(child);
    }
    return found;
}

TEST_F(Dresk, WorkerThatIsKilledWithAFormOpenLeavesNothingBehind) {
    const auto form = awaitNewWindow(
        worker_, [&] { type(u"ask "); }, 20);
    ASSERT_TRUE(form.has_value());
    ASSERT_TRUE(awaitKeyboardAt(worker_));
    const auto browsers = childrenOf(worker_);
    EXPECT_FALSE(browsers.empty());
    kill(worker_, SIGKILL);
    for (const pid_t browser : browsers)
        EXPECT_TRUE(ChildProcess::awaitEnd(browser, 10));
    ASSERT_TRUE(awaitKeyboardAt(target_->process().pid()));
    EXPECT_TRUE(expandsWithin());
}

TEST_F(Dresk, KilledProgramFreesTheKeyboardAndTheNextStarts) {
    program_->signal(SIGKILL);
    ASSERT_TRUE(ChildProcess::awaitEnd(worker_, 5));
    EXPECT_TRUE(program_->wait(5).has_value());
    type(u"sig is typed.\n");
    EXPECT_TRUE(holds(*target_, u"sig is typed.\n"));
    start();
    EXPECT_TRUE(expandsWithin());
}

} // namespace
} // namespace dresk
