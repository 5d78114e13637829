#include "language/ScriptHost.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>

#include "Foundation/Log.h"
#include "Foundation/RunLoop.h"
#include "language/ScriptShell.h"

namespace dresk {

namespace {

constexpr std::size_t MaxOutputBytes = 32 << 20;
/// Seconds of pause for each unit of a source.
constexpr double PausePerUnit = 0.1 / 1000.0;

/// A file that another thread's child still holds open for writing cannot be run for a moment.
int launchPatiently(Task& task, const WakeUp& cancelled) {
    constexpr int attempts = 100;
    constexpr int milliseconds = 10;
    for (int i = 0;; ++i) {
        const int failure = task.launch();
        if (failure != ETXTBSY || i == attempts)
            return failure;
        pollfd waiting{cancelled.descriptor().get(), POLLIN, 0};
        poll(&waiting, 1, milliseconds);
    }
}

} // namespace

WakeUp::WakeUp() : descriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!descriptor_.isOpen())
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

void WakeUp::set() {
    eventfd_write(descriptor_.get(), 1);
}

void WakeUp::clear() {
    eventfd_t count = 0;
    eventfd_read(descriptor_.get(), &count);
}

ScriptHost::ScriptHost(ScriptCommands commands) : commands_(std::move(commands)) {}

ScriptHost::~ScriptHost() {
    cancel();
}

void ScriptHost::cancel() {
    {
        const std::lock_guard lock(mutex_);
        isCancelled_ = true;
    }
    cancelled_.set();
    shellReleased_.notify_all();
}

bool ScriptHost::isCancelled() const {
    const std::lock_guard lock(mutex_);
    return isCancelled_;
}

std::optional<std::string> ScriptHost::runInShell(StringView source) {
    const std::string text = toUTF8(source);
    const double pause = static_cast<double>(source.size()) * PausePerUnit;
    constexpr int attempts = 3; // a shell that has ended, and one that hangs, are replaced
    for (int i = 0; i < attempts; ++i) {
        auto shell = takeShell();
        if (shell == nullptr)
            return std::nullopt;
        std::string output;
        const ScriptShell::End end = shell->run(text, pause, commands_, cancelled_, output);
        releaseShell(std::move(shell), end == ScriptShell::End::Done       ? ShellUse::Again
                                       : end == ScriptShell::End::NotBegun ? ShellUse::NoMore
                                                                           : ShellUse::Kill);
        if (end == ScriptShell::End::TimedOut)
            logLine("A shell script took too long and was killed.");
        if (end == ScriptShell::End::Done && !output.empty())
            return output;
        if (end != ScriptShell::End::NotBegun)
            return std::nullopt;
    }
    return std::nullopt;
}

// Null when it cannot be had.
std::shared_ptr<ScriptShell> ScriptHost::takeShell() {
    const std::lock_guard turn(entrance_);
    std::unique_lock lock(mutex_);
    if (isShellInUse_) {
        shellTask_->askForTurn();
        const auto patience = std::chrono::duration<double>(commands_.shellPatience);
        shellReleased_.wait_for(lock, patience, [this] { return !isShellInUse_ || isCancelled_; });
        if (isShellInUse_ && !isCancelled_) {
            logLine("A script holds the shell; the next one gets a fresh shell.");
            shellTask_->abandon();
            shellTask_ = nullptr;
            isShellInUse_ = false;
        }
    }
    if (isCancelled_)
        return nullptr;
    std::erase_if(formerShells_, [](const auto& shell) { return !shell->isRunning(); });
    if (shellTask_ == nullptr || !shellTask_->isRunning())
        shellTask_ = ScriptShell::start(commands_.shellPath);
    isShellInUse_ = shellTask_ != nullptr;
    if (isShellInUse_)
        shellTask_->forgetTurn();
    return shellTask_;
}

void ScriptHost::releaseShell(std::shared_ptr<ScriptShell> shell, ShellUse use) {
    {
        const std::lock_guard lock(mutex_);
        const bool isAbandoned = shell != shellTask_;
        if (!isAbandoned) {
            isShellInUse_ = false;
            if (use != ShellUse::Again)
                shellTask_ = nullptr;
        }
        if (use != ShellUse::Kill && (isAbandoned || use == ShellUse::NoMore)) {
            // What is left of its script goes on.
            shell->closeInput();
            if (shell->isRunning())
                formerShells_.push_back(std::move(shell));
        }
    }
    shellReleased_.notify_all();
}

std::optional<std::string> ScriptHost::run(Task& task) {
    if (isCancelled())
        return std::nullopt;
    if (const int failure = launchPatiently(task, cancelled_); failure != 0) {
        logLine("The script was not run: " + task.launchPath + ": " +
                std::generic_category().message(failure));
        return std::nullopt;
    }
    task.standardInput.reset();
    std::string output;
    std::string errors;
    if (!collectOutput(task, output, errors)) {
        constexpr double secondsToDie = 1;
        task.signalGroup(SIGKILL);
        task.waitUntilExit(secondsToDie);
        return std::nullopt;
    }
    task.isRunning(); // notes the end
    return output.empty() ? errors : output;
}

// Empties the pipes while the process runs, so that it never waits for a reader. What children of
// it write after its end is not waited for. False when it is to be killed.
bool ScriptHost::collectOutput(Task& task, std::string& output, std::string& errors) {
    enum { Output, Errors, Exit, Cancel, Count };
    const double deadline = steadySeconds() + commands_.timeLimit;
    Descriptor* const pipes[] = {&task.standardOutput, &task.standardError};
    std::string* const texts[] = {&output, &errors};
    for (bool hasExited = false; !hasExited;) {
        std::array<pollfd, Count> waiting{};
        waiting[Output] = {task.standardOutput.get(), POLLIN, 0};
        waiting[Errors] = {task.standardError.get(), POLLIN, 0};
        waiting[Exit] = {task.processDescriptor().get(), POLLIN, 0};
        waiting[Cancel] = {cancelled_.descriptor().get(), POLLIN, 0};
        const double seconds = std::max(0.0, deadline - steadySeconds());
        constexpr double longestWait = 60;
        poll(waiting.data(), Count,
             static_cast<int>(std::ceil(std::min(seconds, longestWait) * 1000)));
        if (waiting[Cancel].revents != 0)
            return false;
        hasExited = waiting[Exit].revents != 0;
        for (const int pipe : {Output, Errors})
            if (pipes[pipe]->isOpen() && (hasExited || waiting[pipe].revents != 0) &&
                readAvailable(*pipes[pipe], *texts[pipe], MaxOutputBytes) == PipeState::Ended)
                pipes[pipe]->reset();
        if (!hasExited && steadySeconds() >= deadline) {
            logLine("A script took too long and was killed.");
            return false;
        }
    }
    return true;
}

} // namespace dresk
