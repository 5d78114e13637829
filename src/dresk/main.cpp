#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include <unistd.h>

#include "Foundation/Log.h"
#include "input/x11/X11Desktop.h"
#include "shell/Application.h"
#include "shell/CommandLine.h"
#include "shell/LateInstance.h"
#include "shell/SingleInstance.h"
#include "shell/Supervisor.h"
#include "ui/qt/QtRunLoop.h"
#include "ui/qt/QtUserInterface.h"
#include "ui/qt/StatusImage.h"

#include <QApplication>

namespace {

using namespace dresk;

// The environment is read before the program starts its threads.
std::string variable(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr ? value : "";
}

std::filesystem::path folderFrom(const char* name, const char* belowHome) {
    const std::string folder = variable(name);
    if (folder.starts_with('/'))
        return folder;
    const std::string home = variable("HOME");
    return std::filesystem::path(home.empty() ? "/" : home) / belowHome;
}

/// Where this program lies on disk; empty if the system does not tell.
std::filesystem::path programPath() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

Application::Options options(const std::filesystem::path& program) {
    // Installed, the default data lies beside the program; otherwise where it was built.
    std::error_code error;
    const auto installed = program.parent_path() / "../share/dresk/Default.dresk";
    Application::Options options;
    const auto configuration = folderFrom("XDG_CONFIG_HOME", ".config");
    options.preferences = configuration / "dresk" / "preferences.plist";
    options.loginItem = LoginItem(LoginItem::folderIn(configuration), program);
    options.defaultData =
        std::filesystem::exists(installed, error) ? installed : DRESK_DEFAULT_DATA;
    options.backupDirectory = folderFrom("XDG_DATA_HOME", ".local/share") / "dresk" / "Backups";
    return options;
}

QtUserInterface::Places windowPlaces(const std::filesystem::path& program) {
    const auto folder = program.parent_path();
    std::error_code error;
    const auto installed = folder / "../share/dresk";
    return {std::filesystem::exists(installed / "index.html", error) ? installed : DRESK_RESOURCES,
            FormWindowModule::candidatesFor(folder)};
}

/// Qt for as long as it lives, on the display of the environment.
class QtSession {
  public:
    explicit QtSession(const std::filesystem::path& program) : name_(program.string()) {
        // The back end is that of X11, also where a Wayland desktop offers itself.
        setenv("QT_QPA_PLATFORM", "xcb", 0); // NOLINT(concurrency-mt-unsafe)
        QGuiApplication::setDesktopFileName(QStringLiteral("com.zopal.Dresk"));
        application_.emplace(count_, arguments_.data());
        QApplication::setApplicationName(QStringLiteral("Dresk"));
        QApplication::setQuitOnLastWindowClosed(false);
        QApplication::setWindowIcon(applicationImage());
    }

  private:
    std::string name_;
    int count_ = 1;
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    std::optional<QApplication> application_;
};

/// Null, with a line in the log, when the display cannot be had.
std::unique_ptr<Desktop> openDesktop() {
    std::string error;
    auto desktop = makeX11Desktop(nullptr, error);
    if (desktop == nullptr)
        logLine("Dresk cannot start: " + error);
    return desktop;
}

int runApplication(const std::filesystem::path& program, const Application::Options& options) {
    Application::blockEndingSignals();
    const auto desktop = openDesktop();
    if (desktop == nullptr)
        return Supervisor::CannotStart;
    const QtSession session(program);
    QtRunLoop mainRunLoop;
    QtUserInterface userInterface(u"" DRESK_VERSION);
    Application application(*desktop, mainRunLoop, userInterface, options);
    userInterface.makeControllers(application.appDelegate(), windowPlaces(program));
    return application.run();
}

int runLateInstance(const std::filesystem::path& program, SingleInstance& singleInstance,
                    const LateInstance::Files& files) {
    if (openDesktop() == nullptr)
        return Supervisor::CannotStart;
    const QtSession session(program);
    QtRunLoop mainRunLoop;
    QtUserInterface userInterface(u"" DRESK_VERSION);
    LateInstance lateInstance(
        mainRunLoop, userInterface,
        [&](const auto& absolutePaths) { return singleInstance.activateOthers(absolutePaths); },
        [&] { mainRunLoop.stop(); });
    lateInstance.launch(files);
    mainRunLoop.run();
    return 0;
}

int run(const CommandLine& commandLine) {
    const std::filesystem::path program = programPath();
    Application::Options applicationOptions = options(program);
    for (const std::string& file : commandLine.files) {
        std::error_code error;
        applicationOptions.files.push_back(std::filesystem::absolute(file, error));
    }
    int status = 0;
    {
        SingleInstance singleInstance(SingleInstance::defaultFolder(), variable("DISPLAY"));
        if (singleInstance.claim() == SingleInstance::Role::Late)
            return runLateInstance(program, singleInstance, applicationOptions.files);
        applicationOptions.singleInstance = &singleInstance;
        // The worker is forked before this process makes any thread. Files are asked about once,
        // not again by a worker that replaces another.
        Supervisor supervisor([&](int heartbeatDescriptor) {
            singleInstance.leaveLock();
            if (supervisor.isReplacing())
                applicationOptions.files.clear();
            applicationOptions.heartbeatDescriptor = heartbeatDescriptor;
            return runApplication(program, applicationOptions);
        });
        status = supervisor.run();
    }
    if (status != Supervisor::Relaunch)
        return status;
    std::string name = program.string();
    char* arguments[] = {name.data(), nullptr};
    execv(name.c_str(), arguments);
    logLine("Dresk cannot start again: " + name + " is not there.");
    return Supervisor::CannotStart;
}

} // namespace

int main(int argc, char** argv) {
    const CommandLine commandLine =
        CommandLine::parse(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    switch (commandLine.action) {
    case CommandLine::Action::Help:
        std::fputs(HelpText, stdout);
        return 0;
    case CommandLine::Action::Version:
        std::puts("dresk " DRESK_VERSION);
        return 0;
    case CommandLine::Action::Error:
        std::fprintf(stderr, "dresk: unknown option %s; try dresk --help\n",
                     commandLine.badOption.c_str());
        return 2;
    case CommandLine::Action::Run:
        return run(commandLine);
    }
    return 0;
}
