#pragma once

#include <memory>

#include "FocusedWindow.h"
#include "Foundation/String.h"

struct xkb_context;
struct xkb_state;

namespace dresk {

/// A text field as small as can be: takes characters, Backspace and Control-V, for which it asks
/// for the targets and then for UTF8_STRING, as toolkits do.
class TextField {
  public:
    TextField();
    ~TextField();

    int descriptor() const;
    /// Handles what has come.
    void serve();
    const std::u32string& text() const { return text_; }
    void setText(std::u32string text) { text_ = std::move(text); }

  private:
    void handle(const xcb_generic_event_t& event);
    void handleKey(const xcb_key_press_event_t& key);
    void selectionCame(const xcb_selection_notify_event_t& notice);
    void ask(xcb_atom_t target);
    void readKeymap();

    FocusedWindow window_;
    xcb_atom_t clipboard_;
    xcb_atom_t targets_;
    xcb_atom_t utf8_;
    std::uint8_t xkbEvent_ = 0;
    bool keymapIsStale_ = true;
    std::unique_ptr<xkb_context, void (*)(xkb_context*)> context_;
    std::unique_ptr<xkb_state, void (*)(xkb_state*)> state_;
    std::u32string text_;
};

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name);

} // namespace dresk
