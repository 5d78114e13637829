#include "shell/Application.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/signalfd.h>
#include <unistd.h>

#include "Foundation/Log.h"
#include "shell/Supervisor.h"
#include "shell/SystemVersion.h"

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
    Application::blockEndingSignals();
    const sigset_t signals = endingSignals();
    return signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

/// The one that `run` serves; null otherwise.
std::atomic<Application*> running = nullptr;

} // namespace

Application::Application(Desktop& desktop, MainRunLoop& mainRunLoop, UserInterface& userInterface,
                         const Options& options)
    : mainRunLoop_(mainRunLoop), userInterface_(userInterface),
      singleInstance_(options.singleInstance), signalDescriptor_(openSignalDescriptor()),
      heartbeat_(options.heartbeatDescriptor), desktop_(desktop, heartbeat_),
      preferences_(options.preferences, &mainRunLoop),
      appDelegate_(desktop_, preferences_, mainRunLoop, userInterface, environment(options)),
      sleepMonitor_(mainRunLoop, [this](bool asleep) {
          asleep ? appDelegate_.workspaceWillSleep() : appDelegate_.workspaceDidWake();
      }) {
    if (signalDescriptor_ >= 0)
        mainRunLoop_.addDescriptor(signalDescriptor_, [this] { endOnSignals(); });
    for (const auto& file : options.files)
        appDelegate_.applicationOpenFile(file);
    if (singleInstance_ != nullptr)
        singleInstance_->listen(mainRunLoop_, [this](const auto& files) {
            for (const auto& file : files)
                appDelegate_.applicationOpenFile(file);
            if (files.empty())
                appDelegate_.applicationShouldHandleReopen(userInterface_.hasVisibleWindows());
        });
}

Application::~Application() {
    if (singleInstance_ != nullptr)
        singleInstance_->stopListening();
    if (signalDescriptor_ < 0)
        return;
    mainRunLoop_.removeDescriptor(signalDescriptor_);
    close(signalDescriptor_);
}

void Application::blockEndingSignals() {
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

AppDelegate::Environment Application::environment(const Options& options) {
    AppDelegate::Environment environment;
    environment.version = u"" DRESK_VERSION;
    environment.systemVersion = systemVersion();
    environment.places.version = environment.version;
    environment.places.defaultData = options.defaultData;
    environment.backupDirectory = options.backupDirectory;
    environment.loginItem = options.loginItem;
    environment.terminate = [this] { mainRunLoop_.stop(); };
    environment.relaunch = [this] {
        exitStatus_ = Supervisor::Relaunch;
        mainRunLoop_.stop();
    };
    return environment;
}

int Application::run() {
    mainRunLoop_.post({&appDelegate_, "applicationDidFinishLaunching"},
                      [this] { appDelegate_.applicationDidFinishLaunching(); });
    running = this;
    std::atexit(&Application::endOnExit);
    mainRunLoop_.run();
    running = nullptr;
    appDelegate_.applicationWillTerminate();
    desktop_.pasteboard().handOver();
    return exitStatus_;
}

// The library of the windows ends the process within the loop when the display has gone. Nothing is
// destroyed then, since the other threads still run.
void Application::endOnExit() {
    Application* application = running.exchange(nullptr);
    if (application == nullptr)
        return;
    if (application->mainRunLoop_.isCurrent())
        application->appDelegate_.applicationWillTerminate();
    logLine("Dresk ends: its display has gone.");
    fflush(nullptr);
    _exit(Supervisor::CannotStart);
}

void Application::endOnSignals() {
    signalfd_siginfo info{};
    while (read(signalDescriptor_, &info, sizeof info) == sizeof info)
        mainRunLoop_.stop();
}

} // namespace dresk
