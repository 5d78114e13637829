#include "shell/Application.h"

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

#include "Foundation/Log.h"
#include "shell/SampleSnippets.h"

namespace dresk {

namespace {

sigset_t endingSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&set, signal);
    return set;
}

int openSignalDescriptor() {
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

} // namespace

Application::Application(Desktop& desktop, int heartbeatDescriptor)
    : signalDescriptor_(openSignalDescriptor()), heartbeat_(heartbeatDescriptor),
      desktop_(desktop, heartbeat_), bundleIdentifierResolver_(desktop_.processes()),
      macInputService_(desktop_, bundleIdentifierResolver_, mainRunLoop_),
      autoText_(macInputService_, bundleIdentifierResolver_, mainRunLoop_) {
    if (signalDescriptor_ >= 0)
        mainRunLoop_.addDescriptor(signalDescriptor_, [this] { endOnSignals(); });
    snippetGroups_.groups = sampleSnippets();
    macInputService_.setSnippetGroupList(&snippetGroups_);
    autoText_.setSnippetGroups(&snippetGroups_);
    autoText_.setSnippetParser(&snippetParser_);
    autoText_.setEnabled(true);
}

Application::~Application() {
    macInputService_.disableEvents();
    if (signalDescriptor_ >= 0)
        close(signalDescriptor_);
}

int Application::run() {
    macInputService_.enableEvents();
    mainRunLoop_.run();
    macInputService_.disableEvents();
    return 0;
}

void Application::endOnSignals() {
    signalfd_siginfo info{};
    while (read(signalDescriptor_, &info, sizeof info) == sizeof info)
        stop();
}

} // namespace dresk
