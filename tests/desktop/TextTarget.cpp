#include "desktop/TextTarget.h"

#include <cstdlib>
#include <ostream>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "desktop/Deadline.h"
#include "desktop/LineText.h"

#include <xcb/xcb.h>

namespace dresk {
namespace {

constexpr double SecondsToStart = 20;
constexpr double SecondsToAnswer = 10;
// Each change between the user's keyboard and that of XTest makes the window manager read the
// keyboard map again, so behind a test that types much it has a lot to catch up with.
constexpr double SecondsToFocus = 60;

constexpr std::string_view SocketName = "/socket";

/// A socket that listens in a new folder of its own; -1 on failure.
int listenInNewFolder(std::string& folder) {
    char name[] = "/tmp/dresk-target-XXXXXX";
    if (mkdtemp(name) == nullptr) {
        return -1;
    }
    folder = name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder + std::string(SocketName);
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener, 1) != 0) {
        close(listener);
        return -1;
    }
    return listener;
}

std::vector<std::string> commandOf(TextTarget::Kind kind, const std::string& socketPath) {
    switch (kind) {
    case TextTarget::Kind::Gtk:
        return {DRESK_GTK_TARGET, socketPath};
    case TextTarget::Kind::Qt:
        return {DRESK_QT_TARGET, socketPath};
    case TextTarget::Kind::Xterm:
        break;
    }
    return {"xterm",
            "-fa",
            "monospace",
            "-fs",
            "11",
            "-geometry",
            "100x30",
            "-title",
            "Terminal target",
            "-e",
            DRESK_TTY_TARGET,
            socketPath};
}

} // namespace

void activateWindow(std::uint32_t window) {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    constexpr std::string_view Name = "_NET_ACTIVE_WINDOW";
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, Name.size(), Name.data()), nullptr);
    if (atom != nullptr) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom->atom;
        message.data.data32[0] = 2;
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_send_event(connection, 0, root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(connection);
        std::free(atom);
    }
    xcb_disconnect(connection);
}

std::string nameOf(TextTarget::Kind kind) {
    constexpr const char* Names[] = {"Gtk", "Qt", "Xterm"};
    return Names[static_cast<std::size_t>(kind)];
}

void PrintTo(TextTarget::Kind kind, std::ostream* stream) {
    *stream << nameOf(kind);
}

std::unique_ptr<TextTarget> TextTarget::start(Kind kind, std::string& error) {
    std::string folder;
    const int listener = listenInNewFolder(folder);
    if (listener < 0) {
        error = "cannot listen";
        return nullptr;
    }
    std::unique_ptr<TextTarget> target(new TextTarget(kind, folder, listener));
    if (!target->connect(commandOf(kind, folder + std::string(SocketName)), error)) {
        return nullptr;
    }
    return target;
}

TextTarget::TextTarget(Kind kind, std::string folder, int listener)
    : kind_(kind), folder_(std::move(folder)), listener_(listener) {}

TextTarget::~TextTarget() {
    if (descriptor_ >= 0) {
        request("quit");
        process_->wait(SecondsToAnswer);
        close(descriptor_);
    }
    process_.reset();
    close(listener_);
    unlink((folder_ + std::string(SocketName)).c_str());
    rmdir(folder_.c_str());
}

bool TextTarget::connect(const std::vector<std::string>& command, std::string& error) {
    process_ = ChildProcess::start(command);
    if (process_ == nullptr || !Deadline(SecondsToStart).awaitReadable(listener_)) {
        error = command[0] + " did not start";
        return false;
    }
    descriptor_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (!awaitLine([this](const std::string&) { return window_ != 0; }, SecondsToStart) ||
        !focus()) {
        error = command[0] + " did not get the focus";
        return false;
    }
    return true;
}

String TextTarget::text() {
    constexpr std::string_view Answer = "text ";
    std::string text;
    request("text");
    changed_ = false;
    awaitLine(
        [&](const std::string& line) {
            const bool found = line.starts_with(Answer);
            if (found) {
                text = unescapeLine(line.substr(Answer.size()));
            }
            return found;
        },
        SecondsToAnswer);
    return fromUTF8(text);
}

void TextTarget::clear() {
    request("clear");
    awaitLine([](const std::string& line) { return line == "cleared"; }, SecondsToAnswer);
}

bool TextTarget::focus() {
    constexpr double SecondsToAskAgain = 0.5;
    const Deadline deadline(SecondsToFocus);
    // The answer comes behind what was announced before.
    text();
    // A request is lost when the window manager passes it on with a time older than the last change
    // of the focus.
    while (!focused_ && !deadline.passed()) {
        activateWindow(window_);
        awaitLine([this](const std::string&) { return focused_; }, SecondsToAskAgain);
    }
    return focused_;
}

void TextTarget::stallNextPaste(double seconds) {
    request("stall " + std::to_string(seconds));
    awaitLine([](const std::string& line) { return line == "stalls"; }, SecondsToAnswer);
}

std::vector<TargetKey> TextTarget::keys() {
    std::vector<TargetKey> keys;
    request("keys");
    awaitLine(
        [&](const std::string& line) {
            TargetKey key;
            if (keyOfLine(line, key)) {
                keys.push_back(key);
            }
            return line == "end";
        },
        SecondsToAnswer);
    return keys;
}

String TextTarget::awaitText(StringView expected, double seconds, double quietSeconds) {
    for (;;) {
        String text = this->text();
        if (!awaitChange(text == expected ? quietSeconds : seconds)) {
            return text;
        }
    }
}

bool TextTarget::awaitChange(double seconds) {
    return changed_ || awaitLine([this](const std::string&) { return changed_; }, seconds);
}

void TextTarget::request(std::string_view line) const {
    const std::string bytes = std::string(line) + '\n';
    send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

bool TextTarget::awaitLine(const std::function<bool(const std::string&)>& wanted, double seconds) {
    const Deadline deadline(seconds);
    std::string line;
    while (readLine(line, deadline.remaining())) {
        noteAnnouncement(line);
        if (wanted(line)) {
            return true;
        }
    }
    return false;
}

bool TextTarget::readLine(std::string& line, double seconds) {
    const Deadline deadline(seconds);
    auto end = received_.find('\n');
    while (end == std::string::npos) {
        char buffer[65536];
        if (!deadline.awaitReadable(descriptor_)) {
            return false;
        }
        const ssize_t count = read(descriptor_, buffer, sizeof(buffer));
        if (count <= 0) {
            return false;
        }
        received_.append(buffer, static_cast<std::size_t>(count));
        end = received_.find('\n');
    }
    line = received_.substr(0, end);
    received_.erase(0, end + 1);
    return true;
}

void TextTarget::noteAnnouncement(const std::string& line) {
    constexpr std::string_view Window = "window ";
    if (line == "changed") {
        changed_ = true;
    } else if (line == "focus 1" || line == "focus 0") {
        focused_ = line.back() == '1';
    } else if (line.starts_with(Window)) {
        window_ =
            static_cast<std::uint32_t>(std::strtoul(line.c_str() + Window.size(), nullptr, 10));
    }
}

} // namespace dresk
