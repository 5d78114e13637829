#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "Foundation/Descriptor.h"

namespace dresk {

/// A child process with pipes on its standard input, output and error. It leads a process group of
/// its own, inherits the environment and the working folder, but no signal mask and no other
/// descriptor. One thread at a time has it. Going away closes the pipes and leaves a process that
/// still runs alone.
class Task {
  public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task();

    // Set before launch.

    /// Path of the program, and what stands behind it on the command line; in the encoding of the
    /// file system.
    std::string launchPath;
    std::vector<std::string> arguments;
    /// Without a pipe, standard error is that of the program.
    bool hasStandardErrorPipe = true;
    /// A descriptor of the child, from 3 to 9, that gets one more pipe to write to; null for none.
    std::optional<int> extraOutputNumber;

    /// Starts the process, once. 0, or the error number of what refused it.
    int launch();
    /// Whether it has been started and has not ended. Notes the end when there is one.
    bool isRunning();
    /// Waits at most so many seconds for the end; false when it still runs then.
    bool waitUntilExit(double seconds);
    /// Sends a signal to the whole process group; nothing once the end has been noted.
    void signalGroup(int signal);

    /// Our ends of the pipes, none of which ever blocks.
    Descriptor standardInput;
    Descriptor standardOutput;
    Descriptor standardError;
    Descriptor extraOutput;
    /// Readable for poll() once the process has ended.
    const Descriptor& processDescriptor() const { return processDescriptor_; }

  private:
    pid_t processIdentifier_ = -1;
    Descriptor processDescriptor_;
};

/// How reading or writing a pipe went.
enum class PipeState { Open, Ended };

/// Appends what is available at the moment, up to a megabyte or so. What goes beyond `limit` bytes
/// in `bytes` is read and dropped. Ended at the pipe's end.
PipeState readAvailable(const Descriptor& descriptor, std::string& bytes, std::size_t limit);

/// Writes as much as goes in without waiting and removes that from `bytes`. Ended when nobody
/// reads any more; that raises no signal.
PipeState writeAvailable(const Descriptor& descriptor, std::string_view& bytes);

} // namespace dresk
