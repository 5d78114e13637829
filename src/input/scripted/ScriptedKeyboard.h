#pragma once

#include <atomic>

#include "input/Desktop.h"
#include "input/scripted/ScriptedLayout.h"

namespace dresk {

/// The layouts of a desktop in memory and the composing of dead keys.
class ScriptedKeyboard final : public KeyboardLayouts {
  public:
    // KeyboardLayouts
    std::optional<String> stringForKeyCode(std::int64_t keyCode, std::uint64_t flags) override;
    std::optional<String> currentInputSourceIdentifier() override;
    void setInputSourceChangedHandler(std::function<void()> handler) override {
        changed_ = std::move(handler);
    }

    const ScriptedLayout& layout() const { return *layout_; }
    /// "us", "de" or "us(dvorak)"; false, and no change, for any other. Tap thread, as the handler
    /// runs here.
    bool select(StringView identifier);
    /// What a press types, with the dead key before it. Tap thread.
    String typedString(std::uint16_t keyCode, std::uint64_t flags);

  private:
    std::atomic<const ScriptedLayout*> layout_{ScriptedLayout::named(u"us")};
    std::function<void()> changed_;
    /// 0 for none.
    char16_t pendingDeadGlyph_ = 0;
};

} // namespace dresk
