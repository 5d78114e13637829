#pragma once

#include <filesystem>

#include "Foundation/RunLoop.h"
#include "shell/UserInterface.h"

namespace dresk {

/// What the program does when another Dresk runs already: says so, brings the other one to the
/// front, and goes. With files there is nothing to say: the other one takes them. It touches no
/// data. Main thread.
class LateInstance {
  public:
    using Files = std::vector<std::filesystem::path>;
    /// `activateOthers` gets the files and returns whether they were taken; `terminate` ends the
    /// main loop. All outlive this.
    LateInstance(RunLoop& mainRunLoop, UserInterface& userInterface,
                 std::function<bool(const Files&)> activateOthers, std::function<void()> terminate);
    LateInstance(const LateInstance&) = delete;
    LateInstance& operator=(const LateInstance&) = delete;
    ~LateInstance() { mainRunLoop_.cancelAll(this); }

    /// `files` are absolute paths.
    void launch(const Files& files);

    static constexpr double TerminationDelay = 0.2;

  private:
    void activateAndTerminate(const Files& files);

    RunLoop& mainRunLoop_;
    UserInterface& userInterface_;
    std::function<bool(const Files&)> activateOthers_;
    std::function<void()> terminate_;
};

} // namespace dresk
