#include "shell/NoUserInterface.h"

#include <algorithm>

#include "Foundation/Log.h"

namespace dresk {

namespace {

/// In one line, as the log has it.
void log(String text) {
    while (!text.empty() && (text.back() == u'\n' || text.back() == u' '))
        text.pop_back();
    std::erase(text, u'\r');
    std::replace(text.begin(), text.end(), u'\n', u' ');
    logLine(toUTF8(text));
}

} // namespace

void NoUserInterface::showAlert(const Alert& alert, std::function<void(std::size_t)> closed) {
    // Of several buttons the last one is the way out, and the reader is to know that it was taken.
    const bool hasChoice = alert.buttons.size() > 1;
    log(alert.title + u" " + alert.message +
        (hasChoice ? u" [" + alert.buttons.back() + u"]" : u""));
    if (closed)
        mainRunLoop_.post({this, "closed"}, [closed = std::move(closed),
                                             last = alert.buttons.size() - 1] { closed(last); });
}

void NoUserInterface::showNotice(const String& text, double /*seconds*/) {
    log(text);
}

void NoUserInterface::showAccessPrompt(const AccessPrompt& prompt) {
    log(prompt.title + u" " + prompt.text);
    mainRunLoop_.post({this, "closed"}, [closed = prompt.closed] { closed(); });
}

void NoUserInterface::showDiagnosticWindow(const String& text) {
    log(text);
}

} // namespace dresk
