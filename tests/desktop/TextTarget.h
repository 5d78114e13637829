#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "Foundation/String.h"
#include "desktop/ChildProcess.h"
#include "desktop/TargetControl.h"

namespace dresk {

/// An application with a text field that a test types into. It ends with this object.
class TextTarget {
  public:
    enum class Kind { Gtk, Qt, Xterm };
    static constexpr Kind AllKinds[] = {Kind::Gtk, Kind::Qt, Kind::Xterm};

    /// Starts it and waits until it has the focus. Null with a reason if it does not come up.
    static std::unique_ptr<TextTarget> start(Kind kind, std::string& error);
    TextTarget(const TextTarget&) = delete;
    TextTarget& operator=(const TextTarget&) = delete;
    ~TextTarget();

    Kind kind() const { return kind_; }
    const ChildProcess& process() const { return *process_; }
    /// The text that the application holds now.
    String text();
    /// Empties the field and forgets the keys.
    void clear();
    /// The next paste command finds it hanging for so long before it asks for the clipboard. Not
    /// for Xterm.
    void stallNextPaste(double seconds);
    /// Brings the window to the front; false if it has no focus after some seconds.
    bool focus();
    /// Every key event that reached the application since the last `clear`.
    std::vector<TargetKey> keys();

    /// Waits until the text is `expected` and stays so for `quietSeconds`, or until it has not
    /// changed for `seconds`; the text at the end.
    String awaitText(StringView expected, double seconds, double quietSeconds = 0.1);

  private:
    TextTarget(Kind kind, std::string folder, int listener);
    bool connect(const std::vector<std::string>& command, std::string& error);
    void request(std::string_view line) const;
    bool readLine(std::string& line, double seconds);
    bool awaitLine(const std::function<bool(const std::string&)>& wanted, double seconds);
    void noteAnnouncement(const std::string& line);
    bool awaitChange(double seconds);

    Kind kind_;
    std::string folder_;
    int listener_;
    int descriptor_ = -1;
    std::unique_ptr<ChildProcess> process_;
    std::string received_;
    bool focused_ = false;
    bool changed_ = false;
    std::uint32_t window_ = 0;
};

/// Brings a window to the front. Asks the window manager as a pager does: such a request is
/// followed, unless the focus has moved meanwhile.
void activateWindow(std::uint32_t window);

/// For test names and messages.
std::string nameOf(TextTarget::Kind kind);
void PrintTo(TextTarget::Kind kind, std::ostream* stream);

} // namespace dresk
