// The engine, the input service and the X11 desktop without windows, stored data or preferences, on
// snippets from a table: test_expander [--type | --paste SECONDS] FILE. Without an option it
// types, and pastes long text; with --type it types that as well, with --paste it pastes
// everything, and looks SECONDS behind each expansion whether the user's clipboard can come back.
// It prints "ready" once it sees keys and runs until SIGTERM.
//
// The table is UTF-8 text, a snippet a line: abbreviation, mode and expansion, separated by tabs;
// \t, \n and \\ stand for a tab, a line end and a backslash. Modes: immediate, delimiter, swallow.
// With "html" in a fourth column the expansion is the HTML of a rich text. F8 takes the last
// expansion back.

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include <sys/signalfd.h>

#include "Foundation/HTML.h"
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

std::shared_ptr<Snippet> snippetOf(const std::string& letters, const std::string& expansion,
                                   bool isHTML) {
    if (!isHTML) {
        return Snippet::initWithAbbreviation(fromUTF8(letters), fromUTF8(expansion));
    }
    const auto snippet = Snippet::initWithAbbreviation(fromUTF8(letters), std::nullopt);
    snippet->setContentType(SnippetContentType::RichText);
    snippet->setRichTextContent(attributedStringWithHTML(expansion));
    return snippet;
}

bool addSnippet(const std::string& line, SnippetGroupArray& groups) {
    std::vector<std::string> columns;
    std::istringstream stream(line);
    for (std::string column; std::getline(stream, column, '\t');) {
        columns.push_back(unescapeLine(column));
    }
    const bool isHTML = columns.size() == 4 && columns[3] == "html";
    if (columns.size() != 3 && !isHTML) {
        return false;
    }
    const auto trigger = expandTriggerOf(columns[1]);
    if (!trigger) {
        return false;
    }
    groupFor(*trigger, groups).addItem(snippetOf(columns[0], columns[2], isHTML));
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

/// Takes the last expansion back when F8 is pressed.
class UndoKey final : public ZPObject {
  public:
    UndoKey(MacInputService& service, AutoText& engine) : service_(service), engine_(engine) {
        service_.registerHotKey(&key_);
        service_.hotKeysPressed().addObserver(this, &UndoKey::onPressed);
    }

  private:
    static constexpr std::int32_t KeyCodeOfF8 = 100;

    void onPressed(ZPHotKeysPressedEventArgs* args) { args->cancel = engine_.undo(true); }

    MacInputService& service_;
    AutoText& engine_;
    const GeneralHotKey key_{0, KeyCodeOfF8};
};

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
    const UndoKey undoKey(service, engine);
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
