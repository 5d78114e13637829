// The engine, the input service and the X11 desktop without windows, stored data or preferences, on
// snippets from a table: test_expander [--type | --paste SECONDS] FILE. Without an option it
// types, and pastes long text; with --type it types that as well, with --paste it pastes
// everything, and looks SECONDS behind each expansion whether the user's clipboard can come back.
// It prints "ready" once it sees keys and runs until SIGTERM.
//
// The table is UTF-8 text, a snippet a line: abbreviation, mode and expansion, separated by tabs;
// \t, \n and \\ stand for a tab, a line end and a backslash. Modes: immediate, delimiter, swallow.

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include <sys/signalfd.h>

#include "Foundation/PollRunLoop.h"
#include "desktop/LineText.h"
#include "engine/AutoText.h"
#include "input/MacInputService.h"
#include "input/x11/X11Desktop.h"
#include "store/SnippetGroup.h"

namespace dresk {
namespace {

std::optional<std::int32_t> expandTriggerOf(std::string_view mode) {
    if (mode == "immediate") {
        return ExpandTrigger::Immediately;
    }
    if (mode == "delimiter") {
        return ExpandTrigger::AtDelimiter;
    }
    if (mode == "swallow") {
        return ExpandTrigger::AtSwallowedDelimiter;
    }
    return std::nullopt;
}

SnippetGroup& groupFor(std::int32_t expandTrigger, SnippetGroupArray& groups) {
    for (const auto& group : groups) {
        if (group->expandTrigger() == expandTrigger) {
            return *group;
        }
    }
    groups.push_back(std::make_shared<SnippetGroup>());
    groups.back()->setExpandTrigger(expandTrigger);
    return *groups.back();
}

bool addSnippet(const std::string& line, SnippetGroupArray& groups) {
    const auto first = line.find('\t');
    const auto second = line.find('\t', first + 1);
    if (first == std::string::npos || second == std::string::npos) {
        return false;
    }
    const auto trigger =
        expandTriggerOf(std::string_view(line).substr(first + 1, second - first - 1));
    if (!trigger) {
        return false;
    }
    groupFor(*trigger, groups)
        .addItem(Snippet::initWithAbbreviation(fromUTF8(unescapeLine(line.substr(0, first))),
                                               fromUTF8(unescapeLine(line.substr(second + 1)))));
    return true;
}

bool readTable(const char* path, SnippetGroupArray& groups) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (!addSnippet(line, groups)) {
            std::cerr << path << ": no snippet: " << line << '\n';
            return false;
        }
    }
    if (groups.empty()) {
        std::cerr << path << ": no snippets\n";
    }
    return !groups.empty();
}

/// Blocks SIGTERM and SIGINT for all threads and gives a descriptor on which they come.
int takeEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

/// Says "ready" once the tap is there; gives up when the desktop does not grant it.
void awaitTap(PollRunLoop& loop, const MacInputService& service, double deadline, int& status) {
    constexpr double SecondsBetweenLooks = 0.005;
    if (service.evenTapCreated()) {
        std::cout << "ready" << std::endl;
    } else if (loop.now() > deadline) {
        std::cerr << "the desktop does not grant a tap\n";
        status = 1;
        loop.stop();
    } else {
        loop.callAfter(
            SecondsBetweenLooks, {&service, "awaitTap"},
            [&loop, &service, deadline, &status] { awaitTap(loop, service, deadline, status); });
    }
}

/// The options of the command line.
struct Delivery {
    bool typesAll = false;
    /// Null when not everything is pasted.
    std::optional<double> restoreDelay;
};

int runExpander(const SnippetGroupList& snippetGroups, const Delivery& delivery) {
    constexpr double SecondsForTap = 5;
    const int signals = takeEndSignals();
    std::string error;
    const auto desktop = makeX11Desktop(nullptr, error);
    if (desktop == nullptr) {
        std::cerr << error << '\n';
        return 1;
    }
    PollRunLoop loop;
    BundleIdentifierResolver resolver(desktop->processes());
    MacInputService service(*desktop, resolver, loop);
    service.setSnippetGroupList(&snippetGroups);
    service.setUseClipboardForLongText(!delivery.typesAll);
    service.setUseClipboard(delivery.restoreDelay.has_value());
    if (delivery.restoreDelay.has_value()) {
        service.clipboardDataProvider().setRestoreDelay(*delivery.restoreDelay);
    }
    SnippetParser parser;
    AutoText engine(service, resolver, loop);
    engine.setSnippetGroups(&snippetGroups);
    engine.setSnippetParser(&parser);
    engine.setEnabled(true);
    service.enableEvents();

    int status = 0;
    loop.addDescriptor(signals, [&loop] { loop.stop(); });
    awaitTap(loop, service, loop.now() + SecondsForTap, status);
    loop.run();
    service.disableEvents();
    loop.cancelAll(&service);
    return status;
}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    const std::string_view option = argc > 2 ? argv[1] : "";
    dresk::Delivery delivery;
    if (argc == 3 && option == "--type") {
        delivery.typesAll = true;
    } else if (argc == 4 && option == "--paste") {
        delivery.restoreDelay = std::strtod(argv[2], nullptr);
    } else if (argc != 2) {
        std::cerr << "usage: test_expander [--type | --paste SECONDS] FILE\n";
        return 2;
    }
    dresk::SnippetGroupList snippetGroups;
    if (!dresk::readTable(argv[argc - 1], snippetGroups.groups)) {
        return 2;
    }
    return dresk::runExpander(snippetGroups, delivery);
}
