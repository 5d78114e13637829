#include <cstdio>
#include <string>

#include "Foundation/Log.h"
#include "input/x11/X11Desktop.h"
#include "shell/Application.h"
#include "shell/CommandLine.h"
#include "shell/Supervisor.h"

namespace {

using namespace dresk;

// The environment is read before the program starts its threads.
std::filesystem::path folderFrom(const char* variable, const char* belowHome) {
    const char* folder = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    if (folder != nullptr && *folder == '/')
        return folder;
    const char* home = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe)
    return std::filesystem::path(home != nullptr ? home : "/") / belowHome;
}

Application::Files files() {
    // Installed, the default data lies beside the program; otherwise where it was built.
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto installed = program.parent_path() / "../share/dresk/Default.dresk";
    return {folderFrom("XDG_CONFIG_HOME", ".config") / "dresk" / "preferences.plist",
            std::filesystem::exists(installed, error) ? installed : DRESK_DEFAULT_DATA};
}

int runApplication(const CommandLine& commandLine, int heartbeatDescriptor) {
    std::string error;
    const auto desktop = makeX11Desktop(nullptr, error);
    if (desktop == nullptr) {
        logLine("Dresk cannot start: " + error);
        return Supervisor::CannotStart;
    }
    for (const std::string& file : commandLine.files)
        logLine("Cannot open " + file + ".");
    return Application(*desktop, files(), heartbeatDescriptor).run();
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
        break;
    }
    // The worker is forked before this process makes any thread.
    return Supervisor([&](int heartbeatDescriptor) {
               return runApplication(commandLine, heartbeatDescriptor);
           })
        .run();
}
