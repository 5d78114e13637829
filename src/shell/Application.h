#pragma once

#include "Foundation/FilePreferenceStore.h"
#include "shell/AppDelegate.h"
#include "shell/HeartbeatDesktop.h"
#include "shell/SingleInstance.h"
#include "shell/SleepMonitor.h"

namespace dresk {

/// The running program: the AppDelegate with the loop, the stores and the news from outside that it
/// lives on. Made on the main thread, before any other thread.
class Application {
  public:
    struct Options {
        /// The user's preference store, which holds the snippets as well.
        std::filesystem::path preferences;
        /// The archive that a first start takes over.
        std::filesystem::path defaultData;
        std::filesystem::path backupDirectory;
        LoginItem loginItem;
        /// To open once the program is up; absolute.
        std::vector<std::filesystem::path> files;
        /// The supervisor's pipe, negative for none.
        int heartbeatDescriptor = -1;
        /// Where later starts announce themselves; null for nowhere.
        SingleInstance* singleInstance = nullptr;
    };

    /// All arguments outlive the application. SIGTERM, SIGINT and SIGHUP are blocked from here on
    /// in this thread and those it makes, and end `run`.
    Application(Desktop& desktop, MainRunLoop& mainRunLoop, UserInterface& userInterface,
                const Options& options);
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    ~Application();

    /// Blocks the signals that end the program. Before the first thread is made, since a thread
    /// that does not block them takes them.
    static void blockEndingSignals();
    /// Serves until a signal or the user ends it; returns the exit status, Supervisor::Relaunch
    /// where the user wants the program started again.
    int run();
    AppDelegate& appDelegate() { return appDelegate_; }

  private:
    AppDelegate::Environment environment(const Options& options);
    void endOnSignals();
    static void endOnExit();

    MainRunLoop& mainRunLoop_;
    UserInterface& userInterface_;
    SingleInstance* singleInstance_;
    int signalDescriptor_;
    int exitStatus_ = 0;
    Heartbeat heartbeat_;
    HeartbeatDesktop desktop_;
    FilePreferenceStore preferences_;
    AppDelegate appDelegate_;
    SleepMonitor sleepMonitor_;
};

} // namespace dresk
