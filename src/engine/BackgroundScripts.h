#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <thread>

#include "Foundation/RunLoop.h"
#include "language/ScriptHost.h"

namespace dresk {

/// Runs the scripts of expansions in the background, each expansion on a thread of its own: a
/// script that hangs holds nothing but its expansion. Made and destroyed on the main thread.
class BackgroundScripts {
  public:
    /// Must watch for a cancelled host: what it touches may be about to go.
    using Work = std::function<void(ScriptHost&)>;

    BackgroundScripts() = default;
    BackgroundScripts(const BackgroundScripts&) = delete;
    BackgroundScripts& operator=(const BackgroundScripts&) = delete;
    ~BackgroundScripts() { end(); }

    // Before the first script.

    void setCommands(ScriptCommands commands) { host_.setCommands(std::move(commands)); }
    /// Work becomes calls of that loop, which outlives this, instead of threads: for programs in
    /// virtual time, in which a script then takes no time.
    void setRunLoop(RunLoop& runLoop) { runLoop_ = &runLoop; }

    /// Runs the work soon. Where no thread can be had it is dropped, with a line in the log. Any
    /// thread.
    void start(Work work);
    /// Kills what runs, waits for the threads, which that ends at once, and starts nothing any
    /// more.
    void end();
    /// Any thread.
    bool isEnding() const { return host_.isCancelled(); }

  private:
    struct Worker {
        std::thread thread;
        std::atomic<bool> hasEnded{false};
    };

    void joinEnded();
    void perform(const Work& work);

    ScriptHost host_;
    RunLoop* runLoop_ = nullptr;
    /// Guards the list; never held while a thread is waited for that has not ended.
    std::mutex mutex_;
    std::list<Worker> workers_;
};

} // namespace dresk
