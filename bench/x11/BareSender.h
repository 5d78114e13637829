#pragma once

#include <map>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace dresk {

/// The least that a program can do to put text into another one: it sees no keys and waits for
/// nothing. On a connection of its own.
class BareSender {
  public:
    BareSender();
    BareSender(const BareSender&) = delete;
    BareSender& operator=(const BareSender&) = delete;
    /// Gives the keycodes back that it has bound.
    ~BareSender();

    int descriptor() const { return xcb_get_file_descriptor(connection_); }
    /// Binds what the layout lacks.
    void prepareToType(const std::u32string& text);
    /// Backspaces and the text, all of it in one go.
    void type(int backspaces, const std::u32string& text);
    void paste(int backspaces, std::string utf8);
    /// Has the clipboard with that text, as after a copy of the user's.
    void own(std::string utf8);
    /// Answers who asks for the clipboard.
    void serve();

  private:
    struct Stroke {
        xcb_keycode_t key;
        bool shift;
    };

    void readLayout();
    void bind(xcb_keycode_t key, xcb_keysym_t keysym);
    void fake(bool press, xcb_keycode_t key);
    void tap(xcb_keycode_t key);
    void answer(const xcb_selection_request_event_t& request);

    xcb_connection_t* connection_;
    xcb_window_t window_;
    xcb_atom_t clipboard_;
    xcb_atom_t targets_;
    xcb_atom_t utf8_;
    std::map<xcb_keysym_t, Stroke> strokes_;
    std::vector<xcb_keycode_t> spare_;
    std::vector<xcb_keycode_t> bound_;
    std::string text_;
};

} // namespace dresk
