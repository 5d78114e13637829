#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace dresk {

/// A window that can be seen, in pixels of the display named in DISPLAY.
struct DesktopWindow {
    std::uint32_t id = 0;
    /// What its program says; 0 if it says nothing.
    pid_t pid = 0;
    std::string title;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// Windows of programs that tell who they are, those at the bottom first. Frames that a window
/// manager puts around them do not count.
std::vector<DesktopWindow> visibleWindows();

/// Looks every now and then until there is something to see; false when time is over.
bool awaitSight(double seconds, const std::function<bool()>& isThere);
/// Waits for a window of that program, by title if there is one; null if none comes.
std::optional<DesktopWindow> awaitWindow(pid_t pid, const std::string& title, double seconds = 10);
/// Does something and waits for the window of that program that comes by it; null if none does.
std::optional<DesktopWindow> awaitNewWindow(pid_t pid, const std::function<void()>& action,
                                            double seconds = 10);
/// Waits until what is typed goes to a window of that program.
bool awaitKeyboardAt(pid_t pid, double seconds = 10);
/// Waits until the window cannot be seen any more.
bool awaitWindowGone(const DesktopWindow& window, double seconds = 10);

} // namespace dresk
