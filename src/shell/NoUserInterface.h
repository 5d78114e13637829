#pragma once

#include "Foundation/RunLoop.h"
#include "shell/UserInterface.h"

namespace dresk {

/// No windows: what has to be said is logged, and questions get the answer of a user who closes
/// them. Dresk expands abbreviations as ever.
class NoUserInterface final : public UserInterface {
  public:
    /// `mainRunLoop` carries the answers and outlives the interface.
    explicit NoUserInterface(RunLoop& mainRunLoop) : mainRunLoop_(mainRunLoop) {}
    ~NoUserInterface() override { mainRunLoop_.cancelAll(this); }

    void setStatusItem(const StatusItem& /*item*/, std::shared_ptr<Menu> /*menu*/) override {}
    void removeStatusItem() override {}
    void statusMenuChanged() override {}
    void setDockBadgeLabel(const std::optional<String>& /*label*/) override {}

    void showAlert(const Alert& alert, std::function<void(std::size_t)> closed) override;
    void showNotice(const String& text, double seconds) override;
    /// Closes at once: the program then runs without keys.
    void showAccessPrompt(const AccessPrompt& prompt) override;
    void refuseAccessPrompt() override {}
    void closeAccessPrompt() override {}
    void showDiagnosticWindow(const String& text) override;

    void showOpenPanel(const OpenPanel& /*panel*/, PathChosen /*chosen*/) override {}
    void showSavePanel(const SavePanel& /*panel*/, PathChosen /*chosen*/) override {}

    bool hasWindow(Window /*window*/) const override { return false; }
    MacrosWindow* showMacrosWindow(bool /*expandAll*/) override { return nullptr; }
    bool showPreferencesWindow(std::function<void()> /*willClose*/) override { return false; }
    void showAboutWindow() override {}
    bool hasVisibleWindows() const override { return false; }
    void setFontSizeDelta(std::int64_t /*delta*/) override {}

    SnippetSuggestionController* snippetSuggestionController() override { return nullptr; }
    SnippetQuickSearchController* snippetQuickSearchController() override { return nullptr; }
    FieldsEditorPresenter* fieldsEditorPresenter() override { return nullptr; }
    VMHelperWindow* vmHelperWindow() override { return nullptr; }

  private:
    RunLoop& mainRunLoop_;
};

} // namespace dresk
