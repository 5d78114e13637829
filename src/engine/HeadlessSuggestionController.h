#pragma once

#include "engine/SnippetSuggestionController.h"

namespace dresk {

/// A suggestion list without a window: keeps what the engine asks for, so that digits, Return,
/// Escape and the arrows choose all the same.
class HeadlessSuggestionController final : public SnippetSuggestionController {
  public:
    void setSuggestions(const SuggestionRows& rows,
                        std::function<void()> suggestionSelectedAction) override;
    void setSnippetSelectorKeyModifier(std::uint64_t /*modifier*/) override {}
    void showWindowAtCaret() override;
    void close() override { visible_ = false; }
    bool isVisible() const override { return visible_; }
    Rect windowFrame() const override { return {}; }
    void reloadData() override { selected_ = 0; }
    void notifyFontSizeDeltaChanged() override {}
    void refreshHeight() override {}
    void nextSuggestion() override;
    void previousSuggestion() override;
    std::size_t selectedSuggestionIndex() const override { return selected_; }

  private:
    const SuggestionRows* rows_ = nullptr;
    std::size_t selected_ = 0;
    std::atomic<bool> visible_{false};
};

} // namespace dresk
