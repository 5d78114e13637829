#include <cstdio>
#include <string>

#include "Foundation/Log.h"
#include "input/x11/X11Desktop.h"
#include "shell/Application.h"
#include "shell/CommandLine.h"
#include "shell/Supervisor.h"

namespace {

using namespace dresk;

int runApplication(const CommandLine& commandLine, int heartbeatDescriptor) {
    std::string error;
    const auto desktop = makeX11Desktop(nullptr, error);
    if (desktop == nullptr) {
        logLine("Dresk cannot start: " + error);
        return Supervisor::CannotStart;
    }
    for (const std::string& file : commandLine.files)
        logLine("Cannot open " + file + ".");
    return Application(*desktop, heartbeatDescriptor).run();
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
