// A line that a test types into inside a terminal: xterm -e tty_target SOCKET. It reads raw bytes
// and applies what a line editor would: characters, backspace, delete, arrows and Return. The key
// events are those that reach the terminal's windows.

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include "desktop/TargetControl.h"

#include <xcb/xcb.h>

namespace dresk {
namespace {

/// Text with a caret, kept as whole UTF-8 characters.
class LineModel {
  public:
    void feed(char byte) {
        if (!sequence_.empty()) {
            feedSequence(byte);
        } else if (byte == '\x1b') {
            sequence_ = byte;
        } else if (byte == '\x7f' || byte == '\b') {
            if (caret_ > 0) {
                characters_.erase(characters_.begin() + --caret_);
            }
        } else if ((byte & 0xC0) == 0x80 && caret_ > 0) {
            characters_[static_cast<std::size_t>(caret_ - 1)] += byte;
        } else {
            characters_.insert(characters_.begin() + caret_++,
                               std::string(1, byte == '\r' ? '\n' : byte));
        }
    }

    void clear() {
        characters_.clear();
        caret_ = 0;
    }

    std::string text() const {
        std::string text;
        for (const std::string& character : characters_) {
            text += character;
        }
        return text;
    }

  private:
    void feedSequence(char byte) {
        const auto size = static_cast<std::ptrdiff_t>(characters_.size());
        sequence_ += byte;
        const bool begun = sequence_.size() == 2 && (byte == '[' || byte == 'O');
        if (begun || (byte >= '0' && byte <= '9') || byte == ';') {
            return;
        }
        if (byte == 'C' && caret_ < size) {
            caret_++;
        } else if (byte == 'D' && caret_ > 0) {
            caret_--;
        } else if (sequence_ == "\x1b[3~" && caret_ < size) {
            characters_.erase(characters_.begin() + caret_);
        }
        sequence_.clear();
    }

    std::vector<std::string> characters_;
    std::ptrdiff_t caret_ = 0;
    std::string sequence_;
};

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// Watches the keys and the focus of the terminal's windows.
class WindowWatch {
  public:
    WindowWatch() : connection_(xcb_connect(nullptr, nullptr)) {}
    WindowWatch(const WindowWatch&) = delete;
    WindowWatch& operator=(const WindowWatch&) = delete;
    ~WindowWatch() { xcb_disconnect(connection_); }

    int descriptor() const { return xcb_get_file_descriptor(connection_); }

    /// Selects on the window and everything in it, then tells the control of the state so far.
    void watch(xcb_window_t window, TargetControl& control) {
        select(window);
        const std::unique_ptr<xcb_get_input_focus_reply_t, Free> focus(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        if (focus != nullptr && focus->focus == window) {
            control.announceFocus(true);
        }
    }

    void serve(TargetControl& control) {
        constexpr std::uint8_t SendEventBit = 0x80;
        for (;;) {
            const std::unique_ptr<xcb_generic_event_t, Free> event(xcb_poll_for_event(connection_));
            if (event == nullptr) {
                return;
            }
            const int type = event->response_type & ~SendEventBit;
            if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
                const auto* key = reinterpret_cast<xcb_key_press_event_t*>(event.get());
                control.keyArrived({type == XCB_KEY_PRESS, key->detail, 0,
                                    (event->response_type & SendEventBit) != 0});
            } else if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
                announce(*reinterpret_cast<xcb_focus_in_event_t*>(event.get()),
                         type == XCB_FOCUS_IN, control);
            }
        }
    }

  private:
    void select(xcb_window_t window) {
        const std::uint32_t mask =
            XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;
        xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
        const std::unique_ptr<xcb_query_tree_reply_t, Free> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
        if (tree == nullptr) {
            return;
        }
        const xcb_window_t* children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); i++) {
            select(children[i]);
        }
    }

    /// Grabs of keys come and go without the user leaving the window.
    static void announce(const xcb_focus_in_event_t& event, bool focused, TargetControl& control) {
        const bool ofWindow = event.detail == XCB_NOTIFY_DETAIL_ANCESTOR ||
                              event.detail == XCB_NOTIFY_DETAIL_NONLINEAR ||
                              event.detail == XCB_NOTIFY_DETAIL_INFERIOR;
        if (ofWindow &&
            (event.mode == XCB_NOTIFY_MODE_NORMAL || event.mode == XCB_NOTIFY_MODE_WHILE_GRABBED)) {
            control.announceFocus(focused);
        }
    }

    xcb_connection_t* connection_;
};

void setRawMode() {
    termios settings{};
    tcgetattr(STDIN_FILENO, &settings);
    cfmakeraw(&settings);
    tcsetattr(STDIN_FILENO, TCSANOW, &settings);
}

/// Reads what was typed and shows it; false when the terminal is gone.
bool readTerminal(LineModel& line) {
    char buffer[4096];
    const ssize_t count = read(STDIN_FILENO, buffer, sizeof(buffer));
    for (ssize_t i = 0; i < count; i++) {
        line.feed(buffer[i]);
    }
    const std::string picture = "\x1b[H\x1b[2J" + line.text();
    return count > 0 && write(STDOUT_FILENO, picture.data(), picture.size()) >= 0;
}

int runTarget(const char* socketPath, xcb_window_t window) {
    TargetControl control;
    WindowWatch watch;
    LineModel line;
    bool running = true;
    const TargetControl::Handlers handlers{
        [&] { return line.text(); },
        [&] { line.clear(); },
        [&] { running = false; },
    };
    if (!control.connect(socketPath, handlers)) {
        std::fprintf(stderr, "tty_target: cannot connect to %s\n", socketPath);
        return 1;
    }
    setRawMode();
    control.announceWindow(window);
    watch.watch(window, control);
    while (running) {
        watch.serve(control);
        pollfd descriptors[] = {{STDIN_FILENO, POLLIN, 0},
                                {control.descriptor(), POLLIN, 0},
                                {watch.descriptor(), POLLIN, 0}};
        poll(descriptors, 3, -1);
        if (descriptors[0].revents != 0) {
            running = readTerminal(line);
            control.textChanged();
        }
        if (descriptors[1].revents != 0) {
            control.serve();
        }
    }
    return 0;
}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    // The terminal names its window there; nothing else runs yet.
    const char* window = std::getenv("WINDOWID"); // NOLINT(concurrency-mt-unsafe)
    if (argc != 2 || window == nullptr) {
        std::fprintf(stderr, "usage: xterm -e tty_target SOCKET\n");
        return 2;
    }
    return dresk::runTarget(argv[1], static_cast<xcb_window_t>(std::strtoul(window, nullptr, 10)));
}
