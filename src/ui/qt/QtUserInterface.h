#pragma once

#include <memory>

#include "shell/UserInterface.h"
#include "ui/qt/AccessPromptWindow.h"
#include "ui/qt/StatusItemView.h"
#include "ui/qt/TextWindows.h"

namespace dresk {

/// The windows of the program with Qt widgets. Made and destroyed on the thread of the
/// QApplication, which lives longer.
class QtUserInterface final : public UserInterface {
  public:
    /// What has windows of its own; null for what there is not. Borrowed.
    struct Controllers {
        SnippetSuggestionController* suggestions = nullptr;
        SnippetQuickSearchController* quickSearch = nullptr;
        FieldsEditorPresenter* fieldsEditors = nullptr;
        VMHelperController* vmHelper = nullptr;
    };

    QtUserInterface(const Controllers& controllers, String version);
    ~QtUserInterface() override;

    void setStatusItem(const StatusItem& item, std::shared_ptr<Menu> menu) override;
    void removeStatusItem() override { statusItem_.reset(); }
    void statusMenuChanged() override;
    /// Docks of Linux desktops show numbers only.
    void setDockBadgeLabel(const std::optional<String>& /*label*/) override {}

    void showAlert(const Alert& alert, std::function<void(std::size_t button)> closed) override;
    void showNotice(const String& text, double seconds) override;
    void showAccessPrompt(const AccessPrompt& prompt) override;
    void refuseAccessPrompt() override;
    void closeAccessPrompt() override;
    void showDiagnosticWindow(const String& text) override;

    void showOpenPanel(const OpenPanel& panel, PathChosen chosen) override;
    void showSavePanel(const SavePanel& panel, PathChosen chosen) override;

    bool hasWindow(Window window) const override;
    MacrosWindow* showMacrosWindow(bool /*expandAll*/) override { return nullptr; }
    bool showPreferencesWindow(std::function<void()> /*willClose*/) override { return false; }
    void showAboutWindow() override;
    bool hasVisibleWindows() const override;
    void setFontSizeDelta(std::int64_t delta) override;

    SnippetSuggestionController* snippetSuggestionController() override {
        return controllers_.suggestions;
    }
    SnippetQuickSearchController* snippetQuickSearchController() override {
        return controllers_.quickSearch;
    }
    FieldsEditorPresenter* fieldsEditorPresenter() override { return controllers_.fieldsEditors; }
    VMHelperController* vmHelperController() override { return controllers_.vmHelper; }

  private:
    const Controllers controllers_;
    const String version_;
    int fontSizeDelta_ = 0;
    std::unique_ptr<StatusItemView> statusItem_;
    std::unique_ptr<AccessPromptWindow> accessPrompt_;
    std::unique_ptr<DiagnosticWindow> diagnosticWindow_;
    std::unique_ptr<AboutWindow> aboutWindow_;
    /// Parent of what is open and deletes itself.
    QWidget panels_;
};

} // namespace dresk
