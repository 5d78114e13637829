#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace dresk {

/// One key event as an application received it.
struct TargetKey {
    bool press = false;
    std::uint32_t keycode = 0;
    /// 0 where the application does not tell.
    std::uint32_t keysym = 0;
    /// Made by another client's SendEvent instead of a keyboard.
    bool sendEvent = false;

    friend bool operator==(const TargetKey&, const TargetKey&) = default;
};

/// `press KEYCODE KEYSYM SENDEVENT` or the like with `release`, numbers decimal.
std::string lineOfKey(const TargetKey& key);
/// False for a line that is no key.
bool keyOfLine(const std::string& line, TargetKey& key);

/// A target's end of the socket on which a test asks it. Lines, UTF-8; text is escaped as by
/// escapeToLine.
///   requests            answers
///   text                text TEXT
///   clear               cleared; forgets the keys too
///   keys                a line a key since the last clear, then end
///   stall SECONDS       stalls; the next paste command is slept on for so long
///   quit                none, the program ends
/// Told unasked: `window ID` once, `focus 1` and `focus 0`, and `changed` when the text has changed
/// for the first time since it was last asked for.
class TargetControl {
  public:
    struct Handlers {
        std::function<std::string()> text;
        std::function<void()> clear;
        std::function<void()> quit;
    };

    TargetControl() = default;
    TargetControl(const TargetControl&) = delete;
    TargetControl& operator=(const TargetControl&) = delete;
    ~TargetControl();

    /// Connects to the socket at `path`; false if nobody listens there.
    bool connect(const char* path, Handlers handlers);
    /// Readable when `serve` has something to do.
    int descriptor() const { return descriptor_; }
    /// Answers what has come. When the test is gone it calls quit.
    void serve();

    void announceWindow(std::uint32_t window);
    void announceFocus(bool focused);
    void textChanged();
    void keyArrived(const TargetKey& key) { keys_.push_back(key); }
    /// To be called at a paste command, before the clipboard is asked for. Sleeps if the test wants
    /// that.
    void pasteCommanded();
    /// Fills in what a later stage of the application found out about the last key.
    void nameLastKey(std::uint32_t keycode, std::uint32_t keysym);

  private:
    void answer(std::string_view request);
    void send(const std::string& line);

    int descriptor_ = -1;
    Handlers handlers_;
    std::string received_;
    std::vector<TargetKey> keys_;
    double stallSeconds_ = 0;
    bool changeTold_ = false;
    bool focused_ = false;
};

} // namespace dresk
