#pragma once

#include <memory>
#include <string>
#include <vector>

#include "desktop/KeyboardLayout.h"

struct xcb_connection_t;

namespace dresk {

/// How fast a text is typed, in seconds.
struct TypingPace {
    /// From one key press to the next.
    double interval = 0.015;
    /// How long a key stays down; more than the interval makes keys overlap.
    double hold = 0.009;
};

/// Types on the outer display of tools/with-display, so that the keys come to the inner one as
/// those of its keyboard. Key codes are X key codes. One thread.
class KeyInjector {
  public:
    /// Null with a reason when there are no such displays. Puts the focus and the pointer into the
    /// inner display and sets the layout "us".
    static std::unique_ptr<KeyInjector> connect(std::string& error);
    KeyInjector(const KeyInjector&) = delete;
    KeyInjector& operator=(const KeyInjector&) = delete;
    /// Releases every key that is still down.
    ~KeyInjector();

    /// Sets the layout of both displays, in its first group. (The nested server compares its
    /// modifiers with those outside, so both must understand the keys alike.) False when the layout
    /// is not known.
    bool setLayout(const LayoutNames& names);

    void press(std::uint8_t key);
    void release(std::uint8_t key);
    void tap(std::uint8_t key, double hold = 0.009);
    /// Moves the pointer to a place on the inner display.
    void movePointer(int x, int y);
    /// Presses and releases the left button where the pointer is.
    void click();
    /// Taps Caps Lock and waits until both displays agree on it: the nested server presses the key
    /// itself when the next one comes before that. False when they do not agree in time.
    [[nodiscard]] bool toggleCapsLock();
    /// Types the text key by key and returns when the last key is up. False, with nothing typed,
    /// when the layout lacks a character.
    [[nodiscard]] bool type(StringView text, TypingPace pace = {});

    /// Keys that tests name. The same on every layout.
    static constexpr std::uint8_t Escape = 9;
    static constexpr std::uint8_t Backspace = 22;
    static constexpr std::uint8_t Tab = 23;
    static constexpr std::uint8_t Return = 36;
    static constexpr std::uint8_t LeftControl = 37;
    static constexpr std::uint8_t LeftShift = 50;
    static constexpr std::uint8_t Space = 65;
    static constexpr std::uint8_t Up = 111;
    static constexpr std::uint8_t Left = 113;
    static constexpr std::uint8_t Right = 114;
    static constexpr std::uint8_t Down = 116;

  private:
    struct TimedKey {
        double time;
        bool press;
        std::uint8_t key;
    };

    KeyInjector(xcb_connection_t* outer, std::string outerName, std::string innerName);
    bool enterInnerDisplay(std::string& error);
    static constexpr std::uint8_t CapsLock = 66;
    static std::vector<TimedKey> plan(const std::vector<KeyStroke>& strokes, TypingPace pace);
    void send(bool press, std::uint8_t key);

    xcb_connection_t* outer_;
    std::string outerName_;
    std::string innerName_;
    std::unique_ptr<KeyboardLayout> layout_;
    std::vector<bool> down_;
};

} // namespace dresk
