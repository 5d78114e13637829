#include <array>
#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Foundation/Log.h"
#include "Foundation/PollRunLoop.h"
#include "shell/Heartbeat.h"
#include "shell/Supervisor.h"

namespace dresk {
namespace {

struct Pipe {
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("pipe");
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    void closeEnd(std::size_t end) {
        if (ends[end] >= 0)
            close(ends[end]);
        ends[end] = -1;
    }
    void put(const void* data, std::size_t size) const {
        EXPECT_EQ(write(ends[1], data, size), static_cast<ssize_t>(size));
    }
    /// Waits long, but not for ever, for something to read; 0 at the end, -1 when nothing came.
    ssize_t get(void* data, std::size_t size) const {
        constexpr int patience = 20'000;
        pollfd entry{ends[0], POLLIN, 0};
        return poll(&entry, 1, patience) == 1 ? read(ends[0], data, size) : -1;
    }

    std::array<int, 2> ends{-1, -1};
};

/// A supervisor in a process of its own. Each worker it starts plays the next letter of a script
/// and reports its process id, so that a test waits for what happens and for nothing else.
class SupervisedProgram {
  public:
    explicit SupervisedProgram(const std::string& script, Supervisor::Limits limits = {}) {
        script_.put(script.data(), script.size());
        script_.closeEnd(1);
        supervisor_ = fork();
        if (supervisor_ == 0)
            supervise(limits);
        report_.closeEnd(1);
        log_.closeEnd(1);
    }
    SupervisedProgram(const SupervisedProgram&) = delete;
    SupervisedProgram& operator=(const SupervisedProgram&) = delete;
    ~SupervisedProgram() {
        if (supervisor_ > 0)
            kill(supervisor_, SIGKILL);
        waitForEnd();
    }

    pid_t supervisor() const { return supervisor_; }
    /// Process id of the next worker, once it plays its letter; 0 when there is none any more.
    pid_t nextWorker() {
        pid_t pid = 0;
        return report_.get(&pid, sizeof pid) == sizeof pid ? pid : 0;
    }
    /// Whether the supervisor and all workers go.
    bool allGo() {
        char byte = 0;
        return report_.get(&byte, 1) == 0;
    }
    /// Exit status of the supervisor, or 128 and the signal that ended it.
    int waitForEnd() {
        int status = 0;
        if (supervisor_ <= 0 || waitpid(supervisor_, &status, 0) != supervisor_)
            return -1;
        supervisor_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    /// What was logged until the end, with N for each process id.
    std::string log() {
        std::string text;
        std::array<char, 512> bytes{};
        for (ssize_t count = 0; (count = log_.get(bytes.data(), bytes.size())) > 0;)
            text.append(bytes.data(), static_cast<std::size_t>(count));
        for (auto at = text.find("process "); at != std::string::npos;
             at = text.find("process ", at + 1))
            text.replace(at + 8, text.find(' ', at + 8) - at - 8, "N");
        return text;
    }

  private:
    [[noreturn]] void supervise(Supervisor::Limits limits) {
        setLogSink([this](std::string_view line) {
            log_.put((std::string(line) + "\n").data(), line.size() + 1);
        });
        _exit(Supervisor([this](int heartbeat) { return play(heartbeat); }, limits).run());
    }
    int play(int heartbeatDescriptor) const {
        char letter = '0';
        script_.get(&letter, 1);
        PollRunLoop loop;
        Heartbeat heartbeat(heartbeatDescriptor);
        if (letter == 'i')
            std::signal(SIGTERM, SIG_IGN);
        if (std::isdigit(letter) == 0)
            heartbeat.beat(loop);
        const pid_t pid = getpid();
        report_.put(&pid, sizeof pid);
        switch (letter) {
        case 'c': // crashes
            raise(SIGKILL);
            return 0;
        case 's': // stops
            raise(SIGSTOP);
            return 0;
        case 'p': // is silent because it takes no keys
            heartbeat.pause();
            poll(nullptr, 0, 500);
            return 0;
        case 'w': // works
        case 'i': // works and is deaf to SIGTERM
            loop.run();
            return 0;
        default:
            return letter - '0';
        }
    }

    Pipe script_;
    Pipe report_;
    Pipe log_;
    pid_t supervisor_ = -1;
};

const std::string Crashed = "Dresk's worker process N was ended by signal 9; starting it again.\n";
const std::string Hung =
    "Dresk's worker process N stopped answering and was ended; starting it again.\n";

TEST(Supervisor, ReplacesWorkersUntilOneEndsForGood) {
    Supervisor::Limits limits;
    limits.heartbeatTimeout = 0.2;
    const std::string gaveUp = "Dresk failed too often in a short time and gives up.\n";
    struct Row {
        std::string script;
        int exitStatus;
        std::string log;
    };
    const Row rows[] = {
        {"0", 0, ""},
        {"1", Supervisor::CannotStart, ""},
        {"30", 0, "Dresk's worker process N ended with status 3; starting it again.\n"},
        {"c0", 0, Crashed},
        {"s0", 0, Hung},
        {"p", 0, ""},
        {"csc1", 1, Crashed + Hung + Crashed},
        {"ccccc0", 0, Crashed + Crashed + Crashed + Crashed + Crashed},
        {"cccccc0", 1, Crashed + Crashed + Crashed + Crashed + Crashed + Crashed + gaveUp},
    };
    for (const Row& row : rows) {
        SupervisedProgram program(row.script, limits);
        EXPECT_EQ(program.waitForEnd(), row.exitStatus) << row.script;
        EXPECT_EQ(program.log(), row.log) << row.script;
    }
}

TEST(Supervisor, ReplacesAWorkerThatOthersStopOrKill) {
    SupervisedProgram program("wwww");
    const pid_t first = program.nextWorker();
    ASSERT_GT(first, 0);
    EXPECT_EQ(getpgid(first), first); // a terminal's Ctrl-Z does not reach it
    kill(first, SIGSTOP);
    const pid_t second = program.nextWorker();
    ASSERT_GT(second, 0);
    EXPECT_EQ(kill(first, 0), -1);
    kill(second, SIGKILL);
    const pid_t third = program.nextWorker();
    ASSERT_GT(third, 0);
    kill(program.supervisor(), SIGTERM);
    EXPECT_EQ(program.waitForEnd(), 128 + SIGTERM);
    EXPECT_TRUE(program.allGo());
    EXPECT_EQ(program.log(), Hung + Crashed);
}

TEST(Supervisor, AStoppedSupervisorDoesNotBlameItsWorker) {
    Supervisor::Limits limits;
    limits.heartbeatTimeout = 0.4;
    SupervisedProgram program("w", limits);
    const pid_t worker = program.nextWorker();
    kill(program.supervisor(), SIGSTOP);
    int status = 0;
    waitpid(program.supervisor(), &status, WUNTRACED);
    ASSERT_TRUE(WIFSTOPPED(status));
    poll(nullptr, 0, 600); // longer than the timeout, while the worker beats on
    kill(program.supervisor(), SIGCONT);
    poll(nullptr, 0, 100);
    kill(program.supervisor(), SIGINT);
    EXPECT_EQ(program.waitForEnd(), 128 + SIGINT);
    EXPECT_EQ(program.log(), "");
    EXPECT_EQ(kill(worker, 0), -1);
}

TEST(Supervisor, EndsAWorkerThatDoesNotWantToGo) {
    Supervisor::Limits limits;
    limits.endTimeout = 0.2;
    SupervisedProgram program("i", limits);
    ASSERT_GT(program.nextWorker(), 0);
    kill(program.supervisor(), SIGTERM);
    EXPECT_EQ(program.waitForEnd(), 128 + SIGKILL);
    EXPECT_TRUE(program.allGo());
}

TEST(Supervisor, TakesItsWorkerAlong) {
    SupervisedProgram program("w");
    ASSERT_GT(program.nextWorker(), 0);
    kill(program.supervisor(), SIGKILL);
    EXPECT_EQ(program.waitForEnd(), 128 + SIGKILL);
    EXPECT_TRUE(program.allGo());
}

} // namespace
} // namespace dresk
