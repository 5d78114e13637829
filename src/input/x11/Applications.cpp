#include "input/x11/Applications.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

namespace dresk {

namespace {

std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    return text;
}

// The environment is read before the program starts its threads.
std::string variable(const char* name, const std::string& otherwise) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr && *value != '\0' ? value : otherwise;
}

} // namespace

DesktopFiles::DesktopFiles() {
    const std::string home = variable("HOME", "/");
    std::string folders = variable("XDG_DATA_HOME", home + "/.local/share") + ":" +
                          variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    std::istringstream stream(folders);
    for (std::string folder; std::getline(stream, folder, ':');)
        readFolder(folder + "/applications");
}

// A window class named by a file counts before a file that merely has the class as its name, and an
// earlier folder before a later one.
void DesktopFiles::readFolder(const std::string& folder) {
    std::error_code error;
    std::vector<std::pair<std::string, std::string>> byName;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().extension() != ".desktop")
            continue;
        const std::string identifier = entry.path().stem().string();
        byName.emplace_back(lowercased(identifier), identifier);
        std::ifstream file(entry.path());
        constexpr std::string_view key = "StartupWMClass=";
        for (std::string line; std::getline(file, line);)
            if (line.compare(0, key.size(), key) == 0) {
                identifiers_.emplace(lowercased(line.substr(key.size())), identifier);
                break;
            }
    }
    for (auto& [name, identifier] : byName)
        identifiers_.emplace(std::move(name), std::move(identifier));
}

std::optional<String> DesktopFiles::identifierForWindowClass(const std::string& windowClass) const {
    const auto found = identifiers_.find(lowercased(windowClass));
    if (found == identifiers_.end())
        return std::nullopt;
    return fromUTF8(found->second);
}

Applications::Applications(const XConnection& connection)
    : connection_(connection), focusWindow_(connection), processId_(connection.atom("_NET_WM_PID")),
      applicationId_(connection.atom("_GTK_APPLICATION_ID")),
      activeWindow_(connection.atom("_NET_ACTIVE_WINDOW")),
      windowManager_(connection.atom("_NET_SUPPORTING_WM_CHECK")),
      utf8_(connection.atom("UTF8_STRING")) {}

void Applications::setFocusWindow(xcb_window_t window) {
    if (window == XCB_WINDOW_NONE) {
        frontProcess_ = 0;
        return;
    }
    if (window == panelWindow_)
        return;
    const xcb_window_t topLevel = connection_.topLevelWindow(window);
    const std::uint32_t process = processOfWindow(window, topLevel);
    Application application{identifierOfWindow(topLevel), topLevel};
    {
        const std::lock_guard lock(mutex_);
        applications_[process] = std::move(application);
    }
    frontProcess_ = process;
}

std::uint32_t Applications::processOfWindow(xcb_window_t window, xcb_window_t topLevel) const {
    if (const std::uint32_t process = connection_.clientProcess(window))
        return process;
    const auto process = connection_.property32(topLevel, processId_, XCB_ATOM_CARDINAL);
    return process.empty() ? 0 : process.front();
}

String Applications::identifierOfWindow(xcb_window_t topLevel) const {
    const std::string applicationId = connection_.property(topLevel, applicationId_, utf8_);
    // Some toolkits name one for all windows of a suite, and there is no such desktop file.
    if (auto identifier = desktopFiles_.identifierForWindowClass(applicationId))
        return *identifier;
    // Two texts, each closed by a zero byte: the instance and the class.
    const std::string both = connection_.property(topLevel, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
    const std::size_t end = std::min(both.find('\0'), both.size());
    const std::string instance = both.substr(0, end);
    std::string windowClass = end < both.size() ? both.substr(end + 1) : std::string();
    windowClass.resize(std::min(windowClass.find('\0'), windowClass.size()));
    for (const std::string& name : {windowClass, instance})
        if (auto identifier = desktopFiles_.identifierForWindowClass(name))
            return *identifier;
    for (const std::string& name : {applicationId, windowClass})
        if (!name.empty())
            return fromUTF8(name);
    return fromUTF8(instance);
}

ProcessSerialNumber Applications::currentProcess() {
    return {0, static_cast<std::uint32_t>(getpid())};
}

// This program comes to the front without any of its windows being shown.
void Applications::setFrontProcess(ProcessSerialNumber process) {
    if (process == currentProcess()) {
        focusWindow_.takeFocus();
        return;
    }
    xcb_window_t window = XCB_WINDOW_NONE;
    {
        const std::lock_guard lock(mutex_);
        const auto found = applications_.find(process.low);
        if (found != applications_.end())
            window = found->second.window;
    }
    if (window != XCB_WINDOW_NONE)
        activate(window);
    focusWindow_.leave();
}

void Applications::activate(xcb_window_t window) {
    if (connection_.property(connection_.root(), windowManager_, XCB_ATOM_WINDOW).empty()) {
        xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        connection_.flush();
        return;
    }
    constexpr std::uint32_t fromPager = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = activeWindow_;
    message.data.data32[0] = fromPager;
    xcb_send_event(connection_.get(), 0, connection_.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    connection_.flush();
}

std::optional<String> Applications::bundleIdentifier(ProcessSerialNumber process) {
    const std::lock_guard lock(mutex_);
    const auto found = applications_.find(process.low);
    if (found == applications_.end() || found->second.identifier.empty())
        return std::nullopt;
    return found->second.identifier;
}

std::optional<String> Applications::localizedName(ProcessSerialNumber process) {
    if (process.low == 0)
        return std::nullopt;
    std::ifstream file("/proc/" + std::to_string(process.low) + "/comm");
    std::string name;
    if (!std::getline(file, name) || name.empty())
        return std::nullopt;
    return fromUTF8(name);
}

} // namespace dresk
