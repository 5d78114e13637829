#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "shell/UserInterface.h"
#include "ui/QuickSearchPanelController.h"
#include "ui/SnippetContentFieldsEditorPresenter.h"
#include "ui/SuggestionListController.h"
#include "ui/qt/AccessPromptWindow.h"
#include "ui/qt/QtVMHelperWindow.h"
#include "ui/qt/StatusItemView.h"
#include "ui/qt/TextWindows.h"

namespace dresk {

class AppDelegate;

/// The windows of the program with Qt widgets. Made and destroyed on the thread of the
/// QApplication, which lives longer.
class QtUserInterface final : public UserInterface {
  public:
    explicit QtUserInterface(String version) : version_(std::move(version)) {}
    ~QtUserInterface() override;

    /// Where the program's own files lie.
    struct Places {
        /// The page of the fields form and its pictures.
        std::filesystem::path resources;
        /// The module with the window of the form; the first that exists.
        std::vector<std::filesystem::path> formModule;
    };
    /// Makes what the engine is given: lists, search and form. Before the launch; without it there
    /// are none. They live until `tearDown`.
    void makeControllers(AppDelegate& delegate, const Places& places);

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
        return suggestions_.get();
    }
    SnippetQuickSearchController* snippetQuickSearchController() override {
        return quickSearch_.get();
    }
    FieldsEditorPresenter* fieldsEditorPresenter() override { return fieldsEditors_.get(); }
    VMHelperWindow* vmHelperWindow() override { return &vmHelperWindow_; }
    void tearDown() override;

  private:
    const String version_;
    int fontSizeDelta_ = 0;
    std::unique_ptr<StatusItemView> statusItem_;
    std::unique_ptr<AccessPromptWindow> accessPrompt_;
    std::unique_ptr<DiagnosticWindow> diagnosticWindow_;
    std::unique_ptr<AboutWindow> aboutWindow_;
    QtVMHelperWindow vmHelperWindow_;
    std::unique_ptr<SuggestionListController> suggestions_;
    std::unique_ptr<QuickSearchPanelController> quickSearch_;
    std::unique_ptr<SnippetContentFieldsEditorPresenter> fieldsEditors_;
    /// Parent of what is open and deletes itself.
    QWidget panels_;
};

} // namespace dresk
