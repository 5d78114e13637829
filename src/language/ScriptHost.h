#pragma once

#include <condition_variable>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

#include "Foundation/String.h"
#include "Foundation/Task.h"

namespace dresk {

class ScriptShell;

/// The command lines behind scripts, and how long they may take.
struct ScriptCommands {
    /// The shell that plain shell scripts share.
    std::string shellPath = "/bin/sh";
    /// Runs the file of an AppleScript, which is its one argument.
    std::string appleScriptPath = "/usr/bin/osascript";
    /// Seconds that a script waits for the one before it in the shell. After these it gets a fresh
    /// shell, and the other keeps the old one to itself.
    double shellPatience = 5;
    /// Seconds that a script may take; it is killed after that and has no result.
    double timeLimit = std::numeric_limits<double>::infinity();
};

/// What wakes a thread that waits in poll(): readable from `set` to `clear`. Any thread.
class WakeUp {
  public:
    WakeUp();
    void set();
    void clear();
    const Descriptor& descriptor() const { return descriptor_; }

  private:
    Descriptor descriptor_;
};

/// Runs scripts for any number of threads: plain shell scripts in one long-lived shell, one after
/// the other, all others as processes of their own. The host outlives every call. Any thread.
///
/// In the shell, `cd` and variables outlive a script. A script's result is there when it has ended,
/// or when its first output has come, the pause for its length is over and nothing ended it within
/// 0.3 seconds; what it writes later comes first in the result of the next script.
class ScriptHost {
  public:
    explicit ScriptHost(ScriptCommands commands = {});
    ScriptHost(const ScriptHost&) = delete;
    ScriptHost& operator=(const ScriptHost&) = delete;
    /// Cancels first. An idle shell ends by itself, a busy one is killed.
    ~ScriptHost();

    const ScriptCommands& commands() const { return commands_; }
    /// While nothing runs.
    void setCommands(ScriptCommands commands) { commands_ = std::move(commands); }

    /// Gives the source to the shell and waits for what it writes, as bytes; null when it wrote
    /// nothing.
    std::optional<std::string> runInShell(StringView source);
    /// Launches the task and waits for its end. What it wrote to standard output or, where that is
    /// nothing, to standard error, 32 MB at most; null when it could not be started, with a line in
    /// the log, and when it was killed. It finds the end of file on standard input.
    std::optional<std::string> run(Task& task);

    /// Makes every call return soon, now and from now on, with no result; kills what runs.
    void cancel();
    bool isCancelled() const;

  private:
    std::shared_ptr<ScriptShell> takeShell();
    enum class ShellUse { Again, NoMore, Kill };
    void releaseShell(std::shared_ptr<ScriptShell> shell, ShellUse use);
    bool collectOutput(Task& task, std::string& output, std::string& errors);

    ScriptCommands commands_;
    WakeUp cancelled_;

    /// Held by the one call that waits for its turn in the shell.
    std::mutex entrance_;
    /// Guards what follows.
    mutable std::mutex mutex_;
    std::condition_variable shellReleased_;
    bool isCancelled_ = false;
    /// Null until the first need.
    std::shared_ptr<ScriptShell> shellTask_;
    bool isShellInUse_ = false;
    /// Shells that a script still runs in, for which nobody waits any more.
    std::vector<std::shared_ptr<ScriptShell>> formerShells_;
};

} // namespace dresk
