#include "Foundation/Task.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <ctime>
#include <tuple>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace dresk {

namespace {

/// Our descriptors stand above those that a child gets, so that setting up its own never overwrites
/// one that is still to be used.
constexpr int FirstDescriptor = 10;

struct Pipe {
    Descriptor read;
    Descriptor write;

    /// 0 or an error number. Both ends are closed at exec; ours does not block.
    int open(bool weRead) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            return errno;
        const Descriptor lowRead(ends[0]);
        const Descriptor lowWrite(ends[1]);
        read = Descriptor(fcntl(lowRead.get(), F_DUPFD_CLOEXEC, FirstDescriptor));
        write = Descriptor(fcntl(lowWrite.get(), F_DUPFD_CLOEXEC, FirstDescriptor));
        if (!read.isOpen() || !write.isOpen())
            return errno;
        const Descriptor& ours = weRead ? read : write;
        return fcntl(ours.get(), F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
    }
};

/// What posix_spawn is told besides the program.
class SpawnPlan {
  public:
    SpawnPlan() {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD})
            sigaddset(&signals, signal);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                   POSIX_SPAWN_SETPGROUP);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }

    void give(const Descriptor& ours, int number) {
        posix_spawn_file_actions_adddup2(&actions_, ours.get(), number);
    }
    /// Behind all that is given; `kept` stays, null for none beyond standard error.
    void closeOthers(std::optional<int> kept) {
        for (int number = 3; kept.has_value() && number < *kept; ++number)
            posix_spawn_file_actions_addclose(&actions_, number);
        posix_spawn_file_actions_addclosefrom_np(&actions_, kept.value_or(2) + 1);
    }
    int spawn(pid_t& process, const std::string& path, const std::vector<std::string>& arguments) {
        std::vector<char*> list{const_cast<char*>(path.c_str())};
        for (const std::string& argument : arguments)
            list.push_back(const_cast<char*>(argument.c_str()));
        list.push_back(nullptr);
        return posix_spawn(&process, path.c_str(), &actions_, &attributes_, list.data(), environ);
    }

  private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

/// Keeps the signal of a broken pipe from the thread while it lives.
class BrokenPipeGuard {
  public:
    BrokenPipeGuard() {
        sigemptyset(&brokenPipe_);
        sigaddset(&brokenPipe_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &brokenPipe_, &previous_);
    }
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;
    ~BrokenPipeGuard() {
        const timespec atOnce{};
        while (sigismember(&previous_, SIGPIPE) == 0 &&
               sigtimedwait(&brokenPipe_, nullptr, &atOnce) == SIGPIPE)
            continue;
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }

  private:
    sigset_t brokenPipe_{};
    sigset_t previous_{};
};

} // namespace

Task::~Task() {
    isRunning(); // leaves no zombie where it has ended
}

int Task::launch() {
    Pipe input;
    Pipe output;
    Pipe error;
    Pipe extra;
    for (const auto& [pipe, weRead, wanted] :
         {std::tuple(&input, false, true), std::tuple(&output, true, true),
          std::tuple(&error, true, hasStandardErrorPipe),
          std::tuple(&extra, true, extraOutputNumber.has_value())})
        if (const int failure = wanted ? pipe->open(weRead) : 0; failure != 0)
            return failure;

    SpawnPlan plan;
    plan.give(input.read, STDIN_FILENO);
    plan.give(output.write, STDOUT_FILENO);
    if (hasStandardErrorPipe)
        plan.give(error.write, STDERR_FILENO);
    if (extraOutputNumber.has_value())
        plan.give(extra.write, *extraOutputNumber);
    plan.closeOthers(extraOutputNumber);
    pid_t process = -1;
    if (const int failure = plan.spawn(process, launchPath, arguments); failure != 0)
        return failure;

    processIdentifier_ = process;
    processDescriptor_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    if (!processDescriptor_.isOpen()) {
        const int failure = errno;
        signalGroup(SIGKILL);
        waitpid(process, nullptr, 0);
        processIdentifier_ = -1;
        return failure;
    }
    standardInput = std::move(input.write);
    standardOutput = std::move(output.read);
    standardError = std::move(error.read);
    extraOutput = std::move(extra.read);
    return 0;
}

bool Task::isRunning() {
    if (processIdentifier_ > 0 && waitpid(processIdentifier_, nullptr, WNOHANG) != 0)
        processIdentifier_ = -1;
    return processIdentifier_ > 0;
}

bool Task::waitUntilExit(double seconds) {
    if (processIdentifier_ > 0) {
        pollfd waiting{processDescriptor_.get(), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(std::ceil(seconds * 1000)));
    }
    return !isRunning();
}

void Task::signalGroup(int signal) {
    if (processIdentifier_ > 0)
        kill(-processIdentifier_, signal);
}

PipeState readAvailable(const Descriptor& descriptor, std::string& bytes, std::size_t limit) {
    // A writer that never stops must not keep us here for ever.
    constexpr int blocksAtOnce = 64;
    std::array<char, 16384> block; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (int i = 0; i < blocksAtOnce;) {
        const ssize_t count = read(descriptor.get(), block.data(), block.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 && errno == EAGAIN ? PipeState::Open : PipeState::Ended;
        const std::size_t room = limit - std::min(limit, bytes.size());
        bytes.append(block.data(), std::min(room, static_cast<std::size_t>(count)));
        ++i;
    }
    return PipeState::Open;
}

PipeState writeAvailable(const Descriptor& descriptor, std::string_view& bytes) {
    const BrokenPipeGuard guard;
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor.get(), bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            break;
        else if (errno != EINTR)
            return PipeState::Ended;
    }
    return PipeState::Open;
}

} // namespace dresk
