// The program itself, started as a user starts it, on its sample snippets.

#include <csignal>
#include <fstream>

#include "desktop/Deadline.h"
#include "desktop/DesktopTest.h"

namespace dresk {
namespace {

class Dresk : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        ASSERT_FALSE(HasFailure());
        target_ = startTarget(TextTarget::Kind::Gtk);
        program_ = ChildProcess::start({DRESK_PROGRAM});
        ASSERT_TRUE(target_ != nullptr && program_ != nullptr);
        ASSERT_TRUE(expandsWithin(10));
    }

    /// Types an abbreviation again and again until it is replaced: the program does not tell when
    /// it is ready.
    bool expandsWithin(double seconds) {
        const Deadline deadline(seconds);
        while (!deadline.passed()) {
            target_->clear();
            type(u"tyvm ");
            if (target_->awaitText(u"Thank you very much! ", 0.5) == u"Thank you very much! ") {
                return true;
            }
        }
        return false;
    }

    /// The process that holds the keyboard; 0 when there is none.
    static pid_t workerOf(pid_t supervisor) {
        const std::string id = std::to_string(supervisor);
        std::ifstream children("/proc/" + id + "/task/" + id + "/children");
        pid_t worker = 0;
        children >> worker;
        return worker;
    }

    TextTarget* target_ = nullptr;
    std::unique_ptr<ChildProcess> program_;
};

TEST_F(Dresk, ExpandsSamplesUntilItIsToldToEnd) {
    target_->clear();
    type(u"Hello sig tyvm\n");
    EXPECT_TRUE(holds(*target_, u"Hello Kind regards, Thank you very much!\n"));

    program_->signal(SIGTERM);
    EXPECT_EQ(program_->wait(5), 0);
    target_->clear();
    type(u"then sig stays.\n");
    EXPECT_TRUE(holds(*target_, u"then sig stays.\n"));
}

TEST_F(Dresk, WorkerThatIsKilledIsReplaced) {
    const pid_t worker = workerOf(program_->pid());
    ASSERT_GT(worker, 0);
    kill(worker, SIGKILL);
    EXPECT_TRUE(ChildProcess::awaitEnd(worker, 5));
    EXPECT_TRUE(expandsWithin(10));
    EXPECT_NE(workerOf(program_->pid()), worker);
}

TEST_F(Dresk, WorkerThatIsStoppedIsReplacedAndNothingTypedIsLost) {
    const pid_t worker = workerOf(program_->pid());
    ASSERT_GT(worker, 0);
    target_->clear();
    kill(worker, SIGSTOP);
    type(u"typed while it is stopped\n");
    EXPECT_TRUE(ChildProcess::awaitEnd(worker, 10));
    EXPECT_TRUE(holds(*target_, u"typed while it is stopped\n"));
    EXPECT_TRUE(expandsWithin(10));
}

TEST_F(Dresk, SecondStartGoesAndLeavesTheFirstAtWork) {
    const pid_t worker = workerOf(program_->pid());
    kill(worker, SIGKILL); // the lock does not go with it
    EXPECT_TRUE(ChildProcess::awaitEnd(worker, 5));
    EXPECT_EQ(ChildProcess::run({DRESK_PROGRAM}), 0);
    EXPECT_EQ(ChildProcess::run({DRESK_PROGRAM, "some.dresk"}), 0);
    EXPECT_TRUE(expandsWithin(10));

    // One that is killed leaves nothing that stops the next.
    program_->signal(SIGKILL);
    EXPECT_TRUE(program_->wait(5).has_value());
    program_ = ChildProcess::start({DRESK_PROGRAM});
    EXPECT_TRUE(expandsWithin(10));
}

TEST_F(Dresk, KilledProgramFreesTheKeyboard) {
    const pid_t worker = workerOf(program_->pid());
    ASSERT_GT(worker, 0);
    program_->signal(SIGKILL);
    ASSERT_TRUE(ChildProcess::awaitEnd(worker, 5));
    target_->clear();
    type(u"sig is typed.\n");
    EXPECT_TRUE(holds(*target_, u"sig is typed.\n"));
}

} // namespace
} // namespace dresk
