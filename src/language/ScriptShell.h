#pragma once

#include <atomic>

#include "language/ScriptHost.h"

namespace dresk {

/// One shell that reads scripts from its standard input. One thread at a time runs a script in it;
/// what is marked so may be called by others meanwhile.
///
/// Behind each script the shell is asked to say, on a descriptor of its own, that it has come that
/// far; so it is known which scripts have ended. The question leaves `$?` as it is.
class ScriptShell {
  public:
    enum class End {
        /// The result is there, or there will be none.
        Done,
        /// Nothing was given to the shell: the script before has not ended in time, or the shell
        /// has.
        NotBegun,
        Cancelled,
        /// The script was killed at its time limit.
        TimedOut,
    };

    /// Starts the shell; null, with a line in the log, when that fails.
    static std::shared_ptr<ScriptShell> start(const std::string& path);
    ScriptShell() = default;
    ScriptShell(const ScriptShell&) = delete;
    ScriptShell& operator=(const ScriptShell&) = delete;
    ~ScriptShell();

    /// Runs the source (UTF-8), whose length asks for that pause in seconds, and appends what comes
    /// out to `output`.
    End run(const std::string& source, double pause, const ScriptCommands& commands,
            const WakeUp& cancelled, std::string& output);
    /// Another script waits: whoever runs one is to return as soon as it has ended, with or without
    /// output. Any thread.
    void askForTurn();
    /// Forgets that; before the next script.
    void forgetTurn() { isTurnWanted_ = false; }
    /// No further script will come. The present one goes on; when it has ended, so does the shell.
    /// Any thread.
    void abandon();
    /// Between scripts, as is `isRunning`: the shell ends when its script has.
    void closeInput() { task_.standardInput.reset(); }
    bool isRunning() { return task_.isRunning(); }

  private:
    class Run;

    Task task_;
    WakeUp wakeUp_;
    std::atomic<bool> isTurnWanted_{false};
    std::atomic<bool> isAbandoned_{false};
    std::uint64_t asked_ = 0;
    std::uint64_t answered_ = 0;
    std::string answerBytes_;
    /// What was read already and belongs to the next output.
    std::string leftOver_;
};

} // namespace dresk
