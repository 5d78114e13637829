#include "desktop/TargetControl.h"

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <thread>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "desktop/LineText.h"

namespace dresk {

std::string lineOfKey(const TargetKey& key) {
    std::ostringstream line;
    line << (key.press ? "press " : "release ") << key.keycode << ' ' << key.keysym << ' '
         << key.sendEvent;
    return line.str();
}

bool keyOfLine(const std::string& line, TargetKey& key) {
    std::istringstream words(line);
    std::string kind;
    words >> kind >> key.keycode >> key.keysym >> key.sendEvent;
    key.press = kind == "press";
    return !words.fail() && (key.press || kind == "release");
}

TargetControl::~TargetControl() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

bool TargetControl::connect(const char* path, Handlers handlers) {
    handlers_ = std::move(handlers);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string_view name(path);
    if (name.size() >= sizeof(address.sun_path)) {
        return false;
    }
    name.copy(address.sun_path, name.size());
    descriptor_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    return descriptor_ >= 0 &&
           ::connect(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
}

void TargetControl::serve() {
    char buffer[256];
    const ssize_t count = read(descriptor_, buffer, sizeof(buffer));
    if (count <= 0) {
        handlers_.quit();
        return;
    }
    received_.append(buffer, static_cast<std::size_t>(count));
    for (auto end = received_.find('\n'); end != std::string::npos; end = received_.find('\n')) {
        const std::string request = received_.substr(0, end);
        received_.erase(0, end + 1);
        answer(request);
    }
}

void TargetControl::answer(std::string_view request) {
    constexpr std::string_view Stall = "stall ";
    if (request == "text") {
        changeTold_ = false;
        send("text " + escapeToLine(handlers_.text()));
    } else if (request == "clear") {
        handlers_.clear();
        keys_.clear();
        changeTold_ = false;
        send("cleared");
    } else if (request == "keys") {
        for (const TargetKey& key : keys_) {
            send(lineOfKey(key));
        }
        send("end");
    } else if (request.starts_with(Stall)) {
        stallSeconds_ = std::strtod(std::string(request.substr(Stall.size())).c_str(), nullptr);
        send("stalls");
    } else if (request == "quit") {
        handlers_.quit();
    }
}

void TargetControl::announceWindow(std::uint32_t window) {
    send("window " + std::to_string(window));
}

void TargetControl::announceFocus(bool focused) {
    if (focused != focused_) {
        focused_ = focused;
        send(focused ? "focus 1" : "focus 0");
    }
}

void TargetControl::textChanged() {
    if (!changeTold_) {
        changeTold_ = true;
        send("changed");
    }
}

void TargetControl::pasteCommanded() {
    std::this_thread::sleep_for(std::chrono::duration<double>(std::exchange(stallSeconds_, 0)));
}

void TargetControl::nameLastKey(std::uint32_t keycode, std::uint32_t keysym) {
    if (!keys_.empty() && keys_.back().keycode == keycode) {
        keys_.back().keysym = keysym;
    }
}

void TargetControl::send(const std::string& line) {
    const std::string bytes = line + '\n';
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            ::send(descriptor_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count <= 0) {
            return;
        }
        done += static_cast<std::size_t>(count);
    }
}

} // namespace dresk
