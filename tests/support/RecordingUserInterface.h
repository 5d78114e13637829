#pragma once

#include <string>

#include "engine/SnippetQuickSearchController.h"
#include "shell/UserInterface.h"

namespace dresk::test {

/// Windows that are only noted, one line for each call; the test answers for the user.
class RecordingUserInterface final : public UserInterface, public MacrosWindow {
  public:
    /// What has been asked for since the last call.
    std::vector<std::string> takeLines() { return std::exchange(lines, {}); }
    /// Presses a button of the oldest open alert.
    void answerAlert(std::size_t button);
    /// Opens the menu as a desktop does and gives what it shows: a line for each visible item.
    std::vector<std::string> openMenu() const { return linesOf(*menu); }
    static std::vector<std::string> linesOf(Menu& menu);
    /// The item with that title, which must be there.
    static MenuItem& itemTitled(Menu& menu, StringView title);
    void choose(StringView title) const { itemTitled(*menu, title).action(); }

    // UserInterface
    void setStatusItem(const StatusItem& item, std::shared_ptr<Menu> itsMenu) override;
    void removeStatusItem() override { note("removeStatusItem"); }
    void statusMenuChanged() override {}
    void setDockBadgeLabel(const std::optional<String>& label) override {
        note("badge" + (label.has_value() ? toUTF8(*label) : " none"));
    }
    void showAlert(const Alert& alert, std::function<void(std::size_t)> closed) override;
    void showNotice(const String& text, double seconds) override;
    void showAccessPrompt(const AccessPrompt& prompt) override;
    void refuseAccessPrompt() override { note("refuseAccessPrompt"); }
    void closeAccessPrompt() override;
    void showDiagnosticWindow(const String& text) override { note(toUTF8(text)); }
    void showOpenPanel(const OpenPanel& panel, PathChosen chosen) override;
    void showSavePanel(const SavePanel& panel, PathChosen chosen) override;
    bool hasWindow(Window window) const override {
        return !missing.has_value() || window != missing;
    }
    MacrosWindow* showMacrosWindow(bool expandAll) override;
    bool showPreferencesWindow(std::function<void()> willClose) override;
    void showAboutWindow() override { note("showAboutWindow"); }
    bool hasVisibleWindows() const override { return false; }
    void setFontSizeDelta(std::int64_t delta) override {
        note("setFontSizeDelta " + std::to_string(delta));
    }
    SnippetSuggestionController* snippetSuggestionController() override { return suggestions; }
    SnippetQuickSearchController* snippetQuickSearchController() override { return quickSearch; }
    FieldsEditorPresenter* fieldsEditorPresenter() override { return nullptr; }
    VMHelperWindow* vmHelperWindow() override { return nullptr; }
    void tearDown() override {}

    // MacrosWindow
    void add() override { note("add"); }
    void newGroup() override { note("newGroup"); }
    void makeSnippetFromClipboard() override { note("makeSnippetFromClipboard"); }
    void navigateToSnippet(const std::shared_ptr<Snippet>& snippet) override;
    void exportAllGroupsToRTF() override { note("exportAllGroupsToRTF"); }

    void note(std::string line) { lines.push_back(std::move(line)); }

    std::vector<std::string> lines;
    std::shared_ptr<Menu> menu;
    /// Set while the prompt is open.
    std::optional<AccessPrompt> prompt;
    std::vector<std::function<void(std::size_t)>> alerts;
    /// What a panel answers.
    std::optional<std::filesystem::path> chosenPath;
    std::function<void()> preferencesWillClose;
    /// A window that this interface lacks.
    std::optional<Window> missing;
    SnippetQuickSearchController* quickSearch = nullptr;
    SnippetSuggestionController* suggestions = nullptr;
};

} // namespace dresk::test
