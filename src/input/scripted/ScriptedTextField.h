#pragma once

#include "Foundation/String.h"
#include "input/Desktop.h"

namespace dresk {

/// An ordinary multi-line text field: text, caret and selection, driven by keys. The caret moves by
/// whole characters; lines end with line feeds.
class ScriptedTextField {
  public:
    const String& text() const { return text_; }
    Range selection() const;
    std::uint64_t caret() const { return caret_; }
    /// Replaces the text and puts the caret behind it.
    void setText(StringView text);
    /// Cut to the text; the caret is at its end.
    void setSelection(Range selection);

    /// Replaces the selection. Carriage return and end-of-text become line feeds.
    void insert(StringView text);
    /// Does what the key does: moves, erases, or inserts `text`, which is what the key types.
    /// Shift with a moving key selects. Control and Command chords do nothing.
    void pressKey(std::uint16_t keyCode, std::uint64_t flags, StringView text);

  private:
    void erase(bool forward);
    std::optional<std::uint64_t> target(std::uint16_t keyCode) const;
    std::uint64_t before(std::uint64_t index) const;
    std::uint64_t after(std::uint64_t index) const;
    std::uint64_t lineStart(std::uint64_t index) const;
    std::uint64_t lineEnd(std::uint64_t index) const;

    String text_;
    std::uint64_t caret_ = 0;
    /// The other end of the selection.
    std::uint64_t anchor_ = 0;
};

} // namespace dresk
