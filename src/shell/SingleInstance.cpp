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

bool isSameUser(const Descriptor& connection) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    return getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 &&
           credentials.uid == geteuid();
}

Descriptor newSocket() {
    return Descriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
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

bool waitUntilReadable(const Descriptor& descriptor, double seconds) {
    pollfd entry{descriptor.get(), POLLIN, 0};
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
    folderDescriptor_ = Descriptor(
        open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)); // NOLINT
    struct stat status {};
    return folderDescriptor_.isOpen() && fstat(folderDescriptor_.get(), &status) == 0 &&
           status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

SingleInstance::Role SingleInstance::claim() {
    if (openFolder())
        lock_ = Descriptor(openat(folderDescriptor_.get(), ("lock" + name_).c_str(),
                                  O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!lock_.isOpen()) {
        logLine("Dresk cannot tell whether it runs already: " + folder_.string() +
                " is not a folder of this user's own.");
        return Role::Unknown;
    }
    if (flock(lock_.get(), LOCK_EX | LOCK_NB) != 0)
        return Role::Late;
    openSocket();
    return Role::First;
}

// By way of the descriptor of the folder, because the address of a socket is short.
std::string SingleInstance::socketPath() const {
    return "/proc/self/fd/" + std::to_string(folderDescriptor_.get()) + "/socket" + name_;
}

void SingleInstance::openSocket() {
    const std::string path = socketPath();
    sockaddr_un address{};
    socket_ = newSocket();
    // The lock is ours, so a socket that is here has nobody behind it.
    (void)unlink(path.c_str());
    if (socket_.isOpen() && fillAddress(address, path) &&
        bind(socket_.get(), generic(address), sizeof address) == 0 &&
        ::listen(socket_.get(), MaximumConnections) == 0)
        return;
    logLine("Dresk cannot be reached by later starts: no socket in " + folder_.string() + ".");
    socket_.reset();
}

void SingleInstance::listen(MainRunLoop& loop, Activated activated) {
    activated_ = std::move(activated);
    if (!socket_.isOpen())
        return;
    loop_ = &loop;
    loop_->addDescriptor(socket_.get(), [this] { accept(); });
}

void SingleInstance::stopListening() {
    if (loop_ == nullptr)
        return;
    loop_->removeDescriptor(socket_.get());
    while (!connections_.empty())
        forget(connections_.back().get());
    loop_ = nullptr;
}

void SingleInstance::accept() {
    Descriptor connection(accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!connection.isOpen() || !isSameUser(connection))
        return;
    // Whoever connects and says nothing must not use up the descriptors.
    if (connections_.size() >= MaximumConnections)
        forget(connections_.front().get());
    const int number = connection.get();
    connections_.push_back(std::move(connection));
    loop_->addDescriptor(number, [this, number] { receive(number); });
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
    loop_->removeDescriptor(connection);
    std::erase_if(connections_,
                  [connection](const Descriptor& other) { return other.get() == connection; });
}

// The first one may be on its way between lock and socket.
Descriptor SingleInstance::connectToFirst() const {
    sockaddr_un address{};
    if (!fillAddress(address, socketPath()))
        return {};
    const double deadline = steadySeconds() + AnswerTimeout;
    do {
        Descriptor connection = newSocket();
        if (!connection.isOpen())
            return {};
        if (connect(connection.get(), generic(address), sizeof address) == 0 &&
            isSameUser(connection))
            return connection;
        (void)poll(nullptr, 0, RetryMilliseconds);
    } while (steadySeconds() < deadline);
    return {};
}

bool SingleInstance::activateOthers(const std::vector<fs::path>& files) {
    const Descriptor connection = connectToFirst();
    if (!connection.isOpen())
        return false;
    bool taken = true;
    for (std::string message : messagesFor(files)) {
        message += '\0';
        char answer = 0;
        taken = taken &&
                send(connection.get(), message.data(), message.size(), MSG_NOSIGNAL) ==
                    static_cast<ssize_t>(message.size()) &&
                waitUntilReadable(connection, AnswerTimeout) &&
                recv(connection.get(), &answer, 1, 0) == 1 && answer == Taken;
    }
    return taken;
}

} // namespace dresk
