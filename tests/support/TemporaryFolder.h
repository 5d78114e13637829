#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace dresk::test {

/// A file system in memory where there is one: for tests that write much and ask nothing of a disk.
inline std::filesystem::path memoryFolder() {
    std::error_code ignored;
    const std::filesystem::path shared = "/dev/shm";
    return std::filesystem::is_directory(shared, ignored) ? shared
                                                          : std::filesystem::temp_directory_path();
}

/// A folder of its own for one test, removed with all that is in it.
class TemporaryFolder {
  public:
    explicit TemporaryFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::string name = (parent / "dresk-test-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    /// Number of entries.
    std::size_t count() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_),
                                                      std::filesystem::directory_iterator()));
    }

  private:
    std::filesystem::path path_;
};

} // namespace dresk::test
