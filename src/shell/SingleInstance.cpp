#include "shell/SingleInstance.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "Foundation/Log.h"

namespace dresk {

namespace fs = std::filesystem;

namespace {

/// One message is one packet: paths, each ended by a zero byte. None means: show yourself.
constexpr std::size_t MaximumMessage = 65536;
constexpr char Taken = 't';
constexpr std::size_t MaximumConnections = 16;
constexpr double AnswerTimeout = 3.0;
constexpr int RetryMilliseconds = 50;

std::string displayWithoutScreen(std::string display) {
    const std::size_t colon = display.rfind(':');
    const std::size_t dot = display.rfind('.');
    if (colon != std::string::npos && dot != std::string::npos && dot > colon)
        display.resize(dot);
    std::replace(display.begin(), display.end(), '/', '_');
    return display;
}

bool isSameUser(int connection) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 &&
           credentials.uid == geteuid();
}

int newSocket() {
    return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

bool fillAddress(sockaddr_un& address, const std::string& path) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    return true;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

bool waitUntilReadable(int descriptor, double seconds) {
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, static_cast<int>(seconds * 1000)) == 1;
}

/// The paths in as few messages as they fit into; one at least.
std::vector<std::string> messagesFor(const std::vector<fs::path>& files) {
    std::vector<std::string> messages(1);
    for (const fs::path& file : files) {
        const std::string path = file.string() + '\0';
        if (messages.back().size() + path.size() > MaximumMessage)
            messages.emplace_back();
        messages.back() += path;
    }
    return messages;
}

std::vector<fs::path> pathsIn(std::string_view message) {
    std::vector<fs::path> paths;
    for (std::size_t end = 0; (end = message.find('\0')) != std::string_view::npos;
         message.remove_prefix(end + 1))
        if (fs::path path(message.substr(0, end)); path.is_absolute())
            paths.push_back(std::move(path));
    return paths;
}

} // namespace

SingleInstance::SingleInstance(fs::path folder, const std::string& display)
    : folder_(std::move(folder)), name_(displayWithoutScreen(display)) {}

SingleInstance::~SingleInstance() {
    stopListening();
    leaveLock();
    for (const int descriptor : {socketDescriptor_, folderDescriptor_})
        if (descriptor >= 0)
            close(descriptor);
}

fs::path SingleInstance::defaultFolder() {
    // Read before the program starts its threads.
    const char* runtime = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
    std::error_code error;
    if (runtime != nullptr && *runtime == '/' && fs::is_directory(runtime, error))
        return fs::path(runtime) / "dresk";
    return "/tmp/dresk-" + std::to_string(geteuid());
}

bool SingleInstance::openFolder() {
    (void)mkdir(folder_.c_str(), S_IRWXU);
    folderDescriptor_ =
        open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); // NOLINT
    struct stat status {};
    return folderDescriptor_ >= 0 && fstat(folderDescriptor_, &status) == 0 &&
           status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

SingleInstance::Role SingleInstance::claim() {
    if (openFolder())
        lockDescriptor_ = openat(folderDescriptor_, ("lock" + name_).c_str(),
                                 O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (lockDescriptor_ < 0) {
        logLine("Dresk cannot tell whether it runs already: " + folder_.string() +
                " is not a folder of this user's own.");
        return Role::Unknown;
    }
    if (flock(lockDescriptor_, LOCK_EX | LOCK_NB) != 0)
        return Role::Late;
    openSocket();
    return Role::First;
}

void SingleInstance::leaveLock() {
    if (lockDescriptor_ >= 0)
        close(lockDescriptor_);
    lockDescriptor_ = -1;
}

// By way of the descriptor of the folder, because the address of a socket is short.
std::string SingleInstance::socketPath() const {
    return "/proc/self/fd/" + std::to_string(folderDescriptor_) + "/socket" + name_;
}

void SingleInstance::openSocket() {
    const std::string path = socketPath();
    sockaddr_un address{};
    socketDescriptor_ = newSocket();
    // The lock is ours, so a socket that is here has nobody behind it.
    (void)unlink(path.c_str());
    if (socketDescriptor_ >= 0 && fillAddress(address, path) &&
        bind(socketDescriptor_, generic(address), sizeof address) == 0 &&
        ::listen(socketDescriptor_, MaximumConnections) == 0)
        return;
    logLine("Dresk cannot be reached by later starts: no socket in " + folder_.string() + ".");
    if (socketDescriptor_ >= 0)
        close(socketDescriptor_);
    socketDescriptor_ = -1;
}

void SingleInstance::listen(MainRunLoop& loop, Activated activated) {
    activated_ = std::move(activated);
    if (socketDescriptor_ < 0)
        return;
    loop_ = &loop;
    loop_->addDescriptor(socketDescriptor_, [this] { accept(); });
}

void SingleInstance::stopListening() {
    if (loop_ == nullptr)
        return;
    loop_->removeDescriptor(socketDescriptor_);
    while (!connections_.empty())
        forget(connections_.back());
    loop_ = nullptr;
}

void SingleInstance::accept() {
    const int connection =
        accept4(socketDescriptor_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (connection < 0)
        return;
    if (!isSameUser(connection)) {
        close(connection);
        return;
    }
    // Whoever connects and says nothing must not use up the descriptors.
    if (connections_.size() >= MaximumConnections)
        forget(connections_.front());
    connections_.push_back(connection);
    loop_->addDescriptor(connection, [this, connection] { receive(connection); });
}

void SingleInstance::receive(int connection) {
    std::string message(MaximumMessage, '\0');
    const ssize_t size = recv(connection, message.data(), message.size(), 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    // An end of the connection and an empty packet look alike, so a message is never empty.
    if (size <= 0) {
        forget(connection);
        return;
    }
    message.resize(static_cast<std::size_t>(size));
    (void)send(connection, &Taken, 1, MSG_NOSIGNAL);
    activated_(pathsIn(message));
}

void SingleInstance::forget(int connection) {
    std::erase(connections_, connection);
    loop_->removeDescriptor(connection);
    close(connection);
}

// The first one may be on its way between lock and socket.
int SingleInstance::connectToFirst() const {
    sockaddr_un address{};
    if (!fillAddress(address, socketPath()))
        return -1;
    const double deadline = steadySeconds() + AnswerTimeout;
    do {
        const int connection = newSocket();
        if (connection < 0)
            return -1;
        if (connect(connection, generic(address), sizeof address) == 0 && isSameUser(connection))
            return connection;
        close(connection);
        (void)poll(nullptr, 0, RetryMilliseconds);
    } while (steadySeconds() < deadline);
    return -1;
}

bool SingleInstance::activateOthers(const std::vector<fs::path>& files) {
    const int connection = connectToFirst();
    if (connection < 0)
        return false;
    bool taken = true;
    for (std::string message : messagesFor(files)) {
        message += '\0';
        char answer = 0;
        taken = taken &&
                send(connection, message.data(), message.size(), MSG_NOSIGNAL) ==
                    static_cast<ssize_t>(message.size()) &&
                waitUntilReadable(connection, AnswerTimeout) &&
                recv(connection, &answer, 1, 0) == 1 && answer == Taken;
    }
    close(connection);
    return taken;
}

} // namespace dresk
