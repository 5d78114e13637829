#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <xcb/xcb.h>

namespace dresk {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
/// Replies and events of xcb, which are allocated with malloc.
template <class T>
using XPointer = std::unique_ptr<T, FreeDeleter>;

/// One connection to the X server with the extensions that the back end needs. Any thread, as far
/// as xcb itself goes; events are read by whoever opened it.
class XConnection {
  public:
    /// Null when the server cannot be reached or lacks an extension; `error` then says why, in one
    /// line. `displayName` null means $DISPLAY.
    static std::unique_ptr<XConnection> open(const char* displayName, std::string& error);

    XConnection(const XConnection&) = delete;
    XConnection& operator=(const XConnection&) = delete;
    ~XConnection();

    xcb_connection_t* get() const { return connection_; }
    xcb_window_t root() const { return screen_->root; }
    const xcb_screen_t& screen() const { return *screen_; }
    std::uint8_t inputOpcode() const { return inputOpcode_; }
    std::uint8_t xkbFirstEvent() const { return xkbFirstEvent_; }
    std::uint16_t masterKeyboard() const { return masterKeyboard_; }
    /// The device behind events made with XTest for the master keyboard.
    std::uint16_t testKeyboard() const { return testKeyboard_; }

    xcb_atom_t atom(std::string_view name) const;
    void flush() const { xcb_flush(connection_); }
    /// False after the server has gone.
    bool isAlive() const { return xcb_connection_has_error(connection_) == 0; }

    /// Property of a window as bytes; empty when it has none or the window has gone.
    std::string property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const;
    /// Property of 32-bit items.
    std::vector<std::uint32_t> property32(xcb_window_t window, xcb_atom_t name,
                                          xcb_atom_t type) const;
    /// Parent of a window; 0 for the root and for a window that has gone.
    xcb_window_t parent(xcb_window_t window) const;
    /// The window around this one that the window manager manages, or the outermost one.
    xcb_window_t topLevelWindow(xcb_window_t window) const;
    /// Asks for events of the root window, or does no longer. One thread.
    void selectRootEvents(std::uint32_t mask, bool on) const;
    /// Process of the client that made the window; 0 when the server does not tell.
    std::uint32_t clientProcess(xcb_window_t window) const;

  private:
    XConnection(xcb_connection_t* connection, xcb_screen_t* screen)
        : connection_(connection), screen_(screen) {}
    bool initExtensions(std::string& error);
    bool findKeyboards(std::string& error);

    xcb_connection_t* connection_;
    xcb_screen_t* screen_;
    xcb_atom_t windowState_ = XCB_ATOM_NONE;
    mutable std::uint32_t rootEvents_ = 0;
    bool hasResourceExtension_ = false;
    std::uint8_t inputOpcode_ = 0;
    std::uint8_t xkbFirstEvent_ = 0;
    std::uint16_t masterKeyboard_ = 0;
    std::uint16_t testKeyboard_ = 0;
};

} // namespace dresk
