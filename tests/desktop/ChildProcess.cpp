#include "desktop/ChildProcess.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "desktop/Deadline.h"

// This header lacks the linkage for C++.
extern "C" {
#include <sys/pidfd.h>
}

namespace dresk {

std::unique_ptr<ChildProcess> ChildProcess::start(const std::vector<std::string>& command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return nullptr;
    }
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t pid = 0;
    const int failure =
        posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failure != 0) {
        close(ends[0]);
        return nullptr;
    }
    return std::unique_ptr<ChildProcess>(new ChildProcess(pid, ends[0]));
}

int ChildProcess::run(const std::vector<std::string>& command) {
    const auto process = start(command);
    if (process == nullptr) {
        return -1;
    }
    while (process->readLine(Deadline::Never)) {
    }
    return process->wait(Deadline::Never).value_or(-1);
}

bool ChildProcess::awaitEnd(pid_t pid, double seconds) {
    const int descriptor = pidfd_open(pid, 0);
    if (descriptor < 0) {
        return errno == ESRCH;
    }
    const bool ended = Deadline(seconds).awaitReadable(descriptor);
    close(descriptor);
    return ended;
}

ChildProcess::~ChildProcess() {
    if (!wait(0)) {
        signal(SIGTERM);
        if (!wait(5)) {
            signal(SIGKILL);
            wait(Deadline::Never);
        }
    }
    close(output_);
}

std::optional<std::string> ChildProcess::readLine(double seconds) {
    const Deadline deadline(seconds);
    for (;;) {
        const auto end = received_.find('\n');
        if (end != std::string::npos) {
            std::string line = received_.substr(0, end);
            received_.erase(0, end + 1);
            return line;
        }
        char buffer[4096];
        if (!deadline.awaitReadable(output_)) {
            return std::nullopt;
        }
        const ssize_t count = read(output_, buffer, sizeof(buffer));
        if (count <= 0) {
            return std::nullopt;
        }
        received_.append(buffer, static_cast<std::size_t>(count));
    }
}

void ChildProcess::signal(int number) const {
    if (!status_) {
        kill(pid_, number);
    }
}

std::optional<int> ChildProcess::wait(double seconds) {
    if (status_) {
        return status_;
    }
    int status = 0;
    if (awaitEnd(pid_, seconds) && waitpid(pid_, &status, 0) == pid_) {
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return status_;
}

} // namespace dresk
