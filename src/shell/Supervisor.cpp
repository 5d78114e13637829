#include "shell/Supervisor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <limits>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Foundation/Log.h"
#include "Foundation/RunLoop.h"
#include "shell/Heartbeat.h"

namespace dresk {

namespace {

constexpr double Never = std::numeric_limits<double>::infinity();

sigset_t watchedSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD})
        sigaddset(&set, signal);
    return set;
}

} // namespace

int Supervisor::run() {
    const sigset_t watched = watchedSignals();
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &watched, &previous);
    signalDescriptor_ = signalfd(-1, &watched, SFD_NONBLOCK | SFD_CLOEXEC);
    Ending ending{true, CannotStart};
    while (ending.restart) {
        if (!start()) {
            logLine("Dresk could not start its worker process.");
            ending = {false, CannotStart};
            break;
        }
        ending = superviseUntilEnd();
        closeHeartbeat();
        if (ending.restart && !mayRestart()) {
            logLine("Dresk failed too often in a short time and gives up.");
            ending = {false, CannotStart};
        }
    }
    close(signalDescriptor_);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return ending.exitStatus;
}

bool Supervisor::start() {
    std::array<int, 2> descriptors{};
    if (signalDescriptor_ < 0 || pipe2(descriptors.data(), O_NONBLOCK | O_CLOEXEC) != 0)
        return false;
    const pid_t supervisor = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        close(descriptors[0]);
        runWorker(descriptors[1], supervisor);
    }
    close(descriptors[1]);
    heartbeatDescriptor_ = descriptors[0];
    deadline_ = Never;
    hung_ = false;
    if (pid_ < 0)
        closeHeartbeat();
    return pid_ > 0;
}

void Supervisor::runWorker(int heartbeatDescriptor, pid_t supervisor) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != supervisor) // It went before its death could be announced.
        _exit(CannotStart);
    setpgid(0, 0);
    close(signalDescriptor_);
    const sigset_t watched = watchedSignals();
    pthread_sigmask(SIG_UNBLOCK, &watched, nullptr);
    const int status = worker_(heartbeatDescriptor);
    fflush(nullptr);
    _exit(status);
}

Supervisor::Ending Supervisor::superviseUntilEnd() {
    for (;;) {
        std::array<pollfd, 2> descriptors{
            {{signalDescriptor_, POLLIN, 0}, {heartbeatDescriptor_, POLLIN, 0}}};
        poll(descriptors.data(), descriptors.size(), pollTimeout());
        passSignalsOn();
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_)
            return judge(status);
        // What has come while this process was stopped counts, so it is read before time is.
        readHeartbeats();
        killLateWorker();
    }
}

void Supervisor::passSignalsOn() {
    signalfd_siginfo info{};
    while (read(signalDescriptor_, &info, sizeof info) == sizeof info) {
        if (info.ssi_signo == SIGCHLD)
            continue;
        kill(pid_, static_cast<int>(info.ssi_signo));
        ending_ = true;
        deadline_ = steadySeconds() + limits_.endTimeout;
    }
}

void Supervisor::readHeartbeats() {
    std::array<char, 256> bytes{};
    ssize_t count = 0;
    while ((count = read(heartbeatDescriptor_, bytes.data(), bytes.size())) > 0) {
        if (ending_ || hung_)
            continue;
        const bool paused = bytes[static_cast<std::size_t>(count) - 1] == Heartbeat::Pause;
        deadline_ = paused ? Never : steadySeconds() + limits_.heartbeatTimeout;
    }
    // A pipe whose writer has gone is ready for ever; the end itself is told by a signal.
    if (count == 0)
        closeHeartbeat();
}

void Supervisor::closeHeartbeat() {
    if (heartbeatDescriptor_ >= 0)
        close(heartbeatDescriptor_);
    heartbeatDescriptor_ = -1;
}

// Keys that wait for an answer are lost with the process that owes it. So a worker that was merely
// stopped is first told to go on and to end by itself, which passes them on.
void Supervisor::killLateWorker() {
    if (steadySeconds() < deadline_)
        return;
    if (hung_ || ending_) {
        hung_ = true;
        deadline_ = Never;
        kill(pid_, SIGKILL);
        return;
    }
    hung_ = true;
    deadline_ = steadySeconds() + limits_.releaseTimeout;
    kill(pid_, SIGTERM);
    kill(pid_, SIGCONT);
}

Supervisor::Ending Supervisor::judge(int waitStatus) const {
    const std::string name = "Dresk's worker process " + std::to_string(pid_);
    if (hung_ && !ending_) {
        logLine(name + " stopped answering and was ended; starting it again.");
        return {true, CannotStart};
    }
    if (WIFEXITED(waitStatus)) {
        const int status = WEXITSTATUS(waitStatus);
        if (ending_ || status == 0 || status == CannotStart || status == Relaunch)
            return {false, status};
        logLine(name + " ended with status " + std::to_string(status) + "; starting it again.");
        return {true, status};
    }
    const int signal = WTERMSIG(waitStatus);
    if (ending_)
        return {false, 128 + signal};
    logLine(name + " was ended by signal " + std::to_string(signal) + "; starting it again.");
    return {true, 128 + signal};
}

int Supervisor::pollTimeout() const {
    if (std::isinf(deadline_))
        return -1;
    return static_cast<int>(std::ceil(std::max(0.0, deadline_ - steadySeconds()) * 1000));
}

bool Supervisor::mayRestart() {
    const double time = steadySeconds();
    std::erase_if(restarts_,
                  [&](double restart) { return restart < time - limits_.restartWindow; });
    if (restarts_.size() >= limits_.maxRestarts)
        return false;
    restarts_.push_back(time);
    return true;
}

} // namespace dresk
