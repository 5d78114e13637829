#include "Foundation/FileStorage.h"

#include <cerrno>
#include <cmath>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Foundation/Descriptor.h"

namespace dresk {

namespace {

namespace fs = std::filesystem;

// What the user exports is subject to the user's mask; what is stored is nobody else's business.
constexpr unsigned Shared = 0666;
constexpr unsigned Private = 0600;

std::error_code lastError() {
    return {errno, std::generic_category()};
}

Descriptor openFile(const fs::path& path, int flags = O_RDONLY, unsigned mode = 0) {
    return Descriptor(open(path.c_str(), flags | O_CLOEXEC, mode));
}

std::error_code writeAll(const fs::path& path, std::string_view bytes, unsigned mode, bool flush) {
    Descriptor file = openFile(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
    if (!file.isOpen())
        return lastError();
    while (!bytes.empty()) {
        const ssize_t written = write(file.get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return lastError();
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    if (flush && fsync(file.get()) != 0)
        return lastError();
    // Closing may tell that the last write has failed.
    return close(file.release()) == 0 ? std::error_code() : lastError();
}

void flushFolder(const fs::path& folder) {
    const Descriptor directory =
        openFile(folder.empty() ? fs::path(".") : folder, O_RDONLY | O_DIRECTORY);
    if (directory.isOpen())
        (void)fsync(directory.get()); // some file systems refuse; the rename stands anyway
}

/// Makes `previous` a second name of the file, so that the file itself is never missing. Where the
/// file system has no second names it is moved, and the next start finds it under `previous`.
std::error_code keepAs(const fs::path& path, const fs::path& previous) {
    fs::path second = previous;
    second += ".new";
    (void)unlink(second.c_str());
    if (link(path.c_str(), second.c_str()) == 0)
        return rename(second.c_str(), previous.c_str()) == 0 ? std::error_code() : lastError();
    if (errno == ENOENT)
        return {};
    return rename(path.c_str(), previous.c_str()) == 0 ? std::error_code() : lastError();
}

} // namespace

std::optional<std::string> readFile(const fs::path& path, std::error_code& error) {
    error.clear();
    const Descriptor file = openFile(path);
    if (!file.isOpen()) {
        if (errno != ENOENT && errno != ENOTDIR)
            error = lastError();
        return std::nullopt;
    }
    struct stat status {};
    std::string bytes;
    if (fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode))
        bytes.reserve(static_cast<std::size_t>(status.st_size));
    std::string block(1 << 16, '\0');
    for (;;) {
        const ssize_t count = read(file.get(), block.data(), block.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            error = lastError();
            return std::nullopt;
        }
        if (count == 0)
            return bytes;
        bytes.append(block, 0, static_cast<std::size_t>(count));
    }
}

std::error_code writeFile(const fs::path& path, std::string_view bytes) {
    return writeAll(path, bytes, Shared, false);
}

std::error_code replaceFile(const fs::path& path, std::string_view bytes,
                            const fs::path& previous) {
    fs::path fresh = path;
    fresh += ".new";
    std::error_code error = writeAll(fresh, bytes, Private, true);
    if (!error && !previous.empty())
        error = keepAs(path, previous);
    if (!error && rename(fresh.c_str(), path.c_str()) != 0)
        error = lastError();
    if (error)
        (void)unlink(fresh.c_str());
    else
        flushFolder(path.parent_path());
    return error;
}

std::string localDateAndTime(Date date) {
    const auto seconds = static_cast<std::time_t>(std::floor(date.seconds + SecondsFrom1970To2001));
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[32] = "";
    (void)std::strftime(text, sizeof text, "%Y-%m-%d %H-%M-%S", &local);
    return text;
}

fs::path datedSibling(const fs::path& path, const std::string& name, const std::string& extension,
                      Date date) {
    const std::string stem = name + " " + localDateAndTime(date);
    fs::path result = path.parent_path() / (stem + extension);
    std::error_code error;
    for (int number = 2; fs::exists(result, error); ++number) {
        result = path.parent_path() / stem;
        result += " ";
        result += std::to_string(number);
        result += extension;
    }
    return result;
}

} // namespace dresk
