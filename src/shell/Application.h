#pragma once

#include "Foundation/PollRunLoop.h"
#include "engine/AutoText.h"
#include "input/MacInputService.h"
#include "shell/HeartbeatDesktop.h"

namespace dresk {

/// The program without windows: puts desktop, input service, engine and snippets together and
/// serves the main loop. Made on the main thread, before any other thread.
class Application {
  public:
    /// `desktop` outlives the application. SIGTERM, SIGINT and SIGHUP are blocked from here on in
    /// this thread and those it makes, and end `run`. `heartbeatDescriptor` is the supervisor's
    /// pipe, negative for none.
    Application(Desktop& desktop, int heartbeatDescriptor);
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

    PollRunLoop mainRunLoop_;
    int signalDescriptor_;
    Heartbeat heartbeat_;
    HeartbeatDesktop desktop_;
    BundleIdentifierResolver bundleIdentifierResolver_;
    SnippetGroupList snippetGroups_;
    SnippetParser snippetParser_;
    MacInputService macInputService_;
    AutoText autoText_;
};

} // namespace dresk
