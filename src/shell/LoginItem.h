#pragma once

#include <filesystem>

namespace dresk {

/// The entry by which the desktop starts the program at login. Main thread.
class LoginItem {
  public:
    /// Nothing that could be enabled.
    LoginItem() = default;
    /// `folder` is the user's folder of such entries, `program` the absolute path to start.
    LoginItem(std::filesystem::path folder, std::filesystem::path program)
        : folder_(std::move(folder)), program_(std::move(program)) {}

    /// Whether there is an entry that the desktop obeys, whatever program it names.
    bool enabled() const;
    /// Writes or removes the entry. False if that failed.
    bool setEnabled(bool enabled) const;

    /// The folder of such entries in the user's configuration folder.
    static std::filesystem::path folderIn(const std::filesystem::path& configuration) {
        return configuration / "autostart";
    }

  private:
    std::filesystem::path file() const;

    std::filesystem::path folder_;
    std::filesystem::path program_;
};

} // namespace dresk
