#pragma once

struct xcb_connection_t;

namespace dresk {

/// Holds the keyboard of the display named in DISPLAY, as a program that asks for a password does.
class KeyboardGrab {
  public:
    KeyboardGrab();
    KeyboardGrab(const KeyboardGrab&) = delete;
    KeyboardGrab& operator=(const KeyboardGrab&) = delete;
    ~KeyboardGrab();
    bool isHeld() const { return isHeld_; }

  private:
    xcb_connection_t* connection_;
    bool isHeld_ = false;
};

} // namespace dresk
