#pragma once

#include <atomic>
#include <mutex>
#include <unordered_map>

#include "input/Desktop.h"
#include "input/x11/FocusWindow.h"

namespace dresk {

/// Desktop files by window class, read once.
class DesktopFiles {
  public:
    /// Reads the "applications" folders of the data directories of this user and system.
    DesktopFiles();
    /// Identifier of the desktop file for a window class, without the ending; null for none.
    std::optional<String> identifierForWindowClass(const std::string& windowClass) const;

  private:
    void readFolder(const std::string& folder);

    std::unordered_map<std::string, std::string> identifiers_;
};

/// The process in front, known from the window with the focus, and what its applications are
/// called: the identifier of the desktop file where there is one, else the window class.
class Applications final : public Processes {
  public:
    explicit Applications(const XConnection& connection);

    /// Learns which process owns the window; 0 for none. Tap thread.
    void setFocusWindow(xcb_window_t window);
    /// The window of this program that has the focus without coming to the front; 0 for none. Any
    /// thread.
    void setPanelWindow(xcb_window_t window) { panelWindow_ = window; }

    ProcessSerialNumber currentProcess() override;
    ProcessSerialNumber frontProcess() override { return {0, frontProcess_}; }
    void setFrontProcess(ProcessSerialNumber process) override;
    std::optional<String> bundleIdentifier(ProcessSerialNumber process) override;
    std::optional<String> localizedName(ProcessSerialNumber process) override;

  private:
    struct Application {
        String identifier;
        xcb_window_t window = XCB_WINDOW_NONE;
    };

    std::uint32_t processOfWindow(xcb_window_t window, xcb_window_t topLevel) const;
    String identifierOfWindow(xcb_window_t topLevel) const;
    void activate(xcb_window_t window);

    const XConnection& connection_;
    const DesktopFiles desktopFiles_;
    FocusWindow focusWindow_;
    xcb_atom_t processId_;
    xcb_atom_t applicationId_;
    xcb_atom_t activeWindow_;
    xcb_atom_t windowManager_;
    xcb_atom_t utf8_;
    std::atomic<std::uint32_t> frontProcess_{0};
    std::atomic<xcb_window_t> panelWindow_{XCB_WINDOW_NONE};
    std::mutex mutex_;
    std::unordered_map<std::uint32_t, Application> applications_;
};

} // namespace dresk
