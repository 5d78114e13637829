#pragma once

#include "Foundation/FilePreferenceStore.h"
#include "Foundation/PollRunLoop.h"
#include "engine/AutoText.h"
#include "input/MacInputService.h"
#include "shell/HeartbeatDesktop.h"
#include "store/DataManager.h"

namespace dresk {

/// The program without windows: puts desktop, input service, engine and snippets together and
/// serves the main loop. Made on the main thread, before any other thread.
class Application {
  public:
    struct Files {
        /// The user's preference store, which holds the snippets as well.
        std::filesystem::path preferences;
        /// The archive that a first start takes over.
        std::filesystem::path defaultData;
    };

    /// `desktop` outlives the application. SIGTERM, SIGINT and SIGHUP are blocked from here on in
    /// this thread and those it makes, and end `run`. `heartbeatDescriptor` is the supervisor's
    /// pipe, negative for none.
    Application(Desktop& desktop, const Files& files, int heartbeatDescriptor);
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    ~Application();

    /// Serves until a signal or `stop` ends it; returns the exit status.
    int run();
    /// Any thread.
    void stop() { mainRunLoop_.stop(); }
    PollRunLoop& mainRunLoop() { return mainRunLoop_; }
    AutoText& autoText() { return autoText_; }

  private:
    void endOnSignals();
    void loadData();

    PollRunLoop mainRunLoop_;
    int signalDescriptor_;
    Heartbeat heartbeat_;
    HeartbeatDesktop desktop_;
    BundleIdentifierResolver bundleIdentifierResolver_;
    FilePreferenceStore preferences_;
    DataManager dataManager_;
    SnippetParser snippetParser_;
    MacInputService macInputService_;
    AutoText autoText_;
};

} // namespace dresk
