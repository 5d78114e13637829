// Shows a text expander at work on the display of tools/with-display: desktop_demo PICTURE KEYS
// COMMAND... starts the command, types the keys into an editor, prints what the editor then holds
// and saves a picture of the screen.

#include <iostream>

#include "desktop/ChildProcess.h"
#include "desktop/KeyInjector.h"
#include "desktop/Screenshot.h"
#include "desktop/TextTarget.h"

namespace dresk {
namespace {

/// Types until something else stands in the editor: the program needs a moment to start.
String typeUntilReplaced(KeyInjector& injector, TextTarget& editor, StringView keys) {
    constexpr int Attempts = 10;
    constexpr double SecondsToSettle = 1;
    String text;
    for (int attempt = 0; attempt < Attempts && (text.empty() || text == keys); attempt++) {
        editor.clear();
        if (!injector.type(keys, {.interval = 0.1, .hold = 0.05})) {
            break;
        }
        text = editor.awaitText({}, SecondsToSettle);
    }
    return text;
}

int showProgram(const char* picture, const String& keys, const std::vector<std::string>& command) {
    std::string error;
    const auto injector = KeyInjector::connect(error);
    const auto editor =
        injector != nullptr ? TextTarget::start(TextTarget::Kind::Gtk, error) : nullptr;
    if (editor == nullptr) {
        std::cerr << "desktop_demo: " << error << '\n';
        return 1;
    }
    const auto program = ChildProcess::start(command);
    const String text = typeUntilReplaced(*injector, *editor, keys);
    std::cout << "Typed:            " << toUTF8(keys) << "\nThe editor holds: " << toUTF8(text)
              << '\n';
    if (saveScreenshot(picture)) {
        std::cout << "Screenshot:       " << picture << '\n';
    }
    return program != nullptr && !text.empty() && text != keys ? 0 : 1;
}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    if (argc < 4) {
        std::cerr << "usage: desktop_demo PICTURE KEYS COMMAND...\n";
        return 2;
    }
    return dresk::showProgram(argv[1], dresk::fromUTF8(argv[2]), {argv + 3, argv + argc});
}
