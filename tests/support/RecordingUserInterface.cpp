#include "support/RecordingUserInterface.h"

#include <stdexcept>

namespace dresk::test {

void RecordingUserInterface::answerAlert(std::size_t button) {
    const auto closed = alerts.at(0);
    alerts.erase(alerts.begin());
    if (closed)
        closed(button);
}

std::vector<std::string> RecordingUserInterface::linesOf(Menu& menu) {
    if (menu.needsUpdate)
        menu.needsUpdate();
    std::vector<std::string> result;
    for (const MenuItem& item : menu.items) {
        if (item.isHidden)
            continue;
        std::string line = item.isSeparator ? "-" : toUTF8(item.title);
        if (item.isSwitch)
            line += item.isChecked ? " [x]" : " [ ]";
        if (item.row.has_value())
            line += " | " + toUTF8(item.row->prefix + item.row->abbreviation);
        if (item.submenu != nullptr)
            line += " >";
        result.push_back(std::move(line));
    }
    return result;
}

MenuItem& RecordingUserInterface::itemTitled(Menu& menu, StringView title) {
    for (MenuItem& item : menu.items)
        if (item.title == title)
            return item;
    throw std::out_of_range("no item " + toUTF8(title));
}

void RecordingUserInterface::setStatusItem(const StatusItem& item, std::shared_ptr<Menu> itsMenu) {
    menu = std::move(itsMenu);
    note("icon " + toUTF8(item.image) + (item.isTemplate ? " template" : ""));
}

void RecordingUserInterface::showAlert(const Alert& alert,
                                       std::function<void(std::size_t)> closed) {
    std::string line = "alert " + toUTF8(alert.title) + " | " + toUTF8(alert.message);
    for (const String& button : alert.buttons)
        line += " [" + toUTF8(button) + "]";
    note(std::move(line));
    alerts.push_back(std::move(closed));
}

void RecordingUserInterface::showNotice(const String& text, double seconds) {
    note("notice " + toUTF8(text) + ", " + std::to_string(static_cast<int>(seconds)) + " s");
}

void RecordingUserInterface::showAccessPrompt(const AccessPrompt& itsPrompt) {
    note("showAccessPrompt");
    prompt = itsPrompt;
}

void RecordingUserInterface::closeAccessPrompt() {
    if (!prompt.has_value())
        return;
    note("closeAccessPrompt");
    const auto closed = prompt->closed;
    prompt.reset();
    closed();
}

void RecordingUserInterface::showOpenPanel(const OpenPanel& panel, PathChosen chosen) {
    std::string line = "openPanel";
    for (const String& type : panel.fileTypes)
        line += " " + toUTF8(type);
    note(std::move(line));
    chosen(chosenPath);
}

void RecordingUserInterface::showSavePanel(const SavePanel& panel, PathChosen chosen) {
    note("savePanel " + toUTF8(panel.message));
    chosen(chosenPath);
}

MacrosWindow* RecordingUserInterface::showMacrosWindow(bool expandAll) {
    note(expandAll ? "showMacrosWindow, all expanded" : "showMacrosWindow");
    return this;
}

bool RecordingUserInterface::showPreferencesWindow(std::function<void()> willClose) {
    note("showPreferencesWindow");
    if (preferencesWillClose)
        return false;
    preferencesWillClose = std::move(willClose);
    return true;
}

void RecordingUserInterface::navigateToSnippet(const std::shared_ptr<Snippet>& snippet) {
    note("navigateToSnippet " +
         (snippet != nullptr ? toUTF8(snippet->abbreviation().value_or(u"")) : "null"));
}

} // namespace dresk::test
