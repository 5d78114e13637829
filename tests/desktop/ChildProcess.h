#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace dresk {

/// A program that a test starts. It ends with this object: asked by SIGTERM first, and after a few
/// seconds by SIGKILL.
class ChildProcess {
  public:
    /// Null when the program cannot be started. `command` is the program and its arguments, looked
    /// up in PATH; its standard output can be read here, the other streams are the test's.
    static std::unique_ptr<ChildProcess> start(const std::vector<std::string>& command);
    /// Runs a program to its end; its exit status, 128 and more when a signal ended it, or -1.
    static int run(const std::vector<std::string>& command);
    /// Waits for the end of any process; false if it still runs after `seconds`.
    static bool awaitEnd(pid_t pid, double seconds);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    pid_t pid() const { return pid_; }
    /// Waits for the next whole line of the output, without its end; null at the end of the output
    /// or after `seconds`.
    std::optional<std::string> readLine(double seconds);
    void signal(int number) const;
    /// Waits for the end; the status as `run` gives it, null if it still runs after `seconds`.
    std::optional<int> wait(double seconds);

  private:
    ChildProcess(pid_t pid, int output) : pid_(pid), output_(output) {}

    pid_t pid_;
    int output_;
    std::string received_;
    std::optional<int> status_;
};

} // namespace dresk
