#include "shell/Application.h"

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

#include "Foundation/Log.h"
#include "Foundation/PreferenceKeys.h"
#include "input/SystemPasteboard.h"

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

Application::Application(Desktop& desktop, const Files& files, int heartbeatDescriptor)
    : signalDescriptor_(openSignalDescriptor()), heartbeat_(heartbeatDescriptor),
      desktop_(desktop, heartbeat_), bundleIdentifierResolver_(desktop_.processes()),
      preferences_(files.preferences, &mainRunLoop_),
      dataManager_(preferences_, mainRunLoop_, {u"" DRESK_VERSION, files.defaultData, {}, {}}),
      snippetParser_(snippetEnvironmentWithPasteboard(desktop_.pasteboard())),
      macInputService_(desktop_, bundleIdentifierResolver_, mainRunLoop_),
      autoText_(macInputService_, bundleIdentifierResolver_, mainRunLoop_) {
    if (signalDescriptor_ >= 0)
        mainRunLoop_.addDescriptor(signalDescriptor_, [this] { endOnSignals(); });
    loadData();
    macInputService_.setSnippetGroupList(&dataManager_.snippetGroups());
    autoText_.setSnippetGroups(&dataManager_.snippetGroups());
    autoText_.setSnippetParser(&snippetParser_);
    autoText_.setSnippetAdaptToAbbreviationCaseOption(static_cast<std::uint64_t>(
        preferences_.integerForKey(PreferenceKey::SnippetAdaptToAbbreviationCaseOption)));
    autoText_.setEnabled(true);
}

Application::~Application() {
    macInputService_.disableEvents();
    if (signalDescriptor_ >= 0)
        close(signalDescriptor_);
}

void Application::loadData() {
    if (dataManager_.loadData() && dataManager_.snippetGroups().groups.empty())
        logLine("There are no snippets to begin with: the default data cannot be read.");
    const DataLoadReport& report = dataManager_.loadReport();
    if (!report.isDamaged)
        return;
    std::string line = "Some of the stored data could not be read.";
    for (const auto& path : report.keptAside)
        line += " It is kept as " + path.string() + ".";
    if (!report.loadedFrom.empty())
        line += " The data was read from " + report.loadedFrom.string() + " instead.";
    logLine(line);
}

int Application::run() {
    macInputService_.enableEvents();
    mainRunLoop_.run();
    macInputService_.disableEvents();
    // The delayed save would be lost, and the times of last use are in memory only.
    dataManager_.saveData();
    preferences_.synchronize();
    desktop_.pasteboard().handOver();
    return 0;
}

void Application::endOnSignals() {
    signalfd_siginfo info{};
    while (read(signalDescriptor_, &info, sizeof info) == sizeof info)
        stop();
}

} // namespace dresk
