#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Foundation/Descriptor.h"
#include "Foundation/RunLoop.h"

namespace dresk {

/// Sees to it that one Dresk runs for a user at a display, and carries what a later start wants to
/// the running one. It needs no session bus: a lock file and a local socket in a folder that only
/// the user can enter. A supervisor claims the lock and keeps it while its workers come and go;
/// they share the socket. What a killed program leaves behind is no obstacle.
class SingleInstance {
  public:
    /// `folder` is made if it is missing. `display` is the X display by name; its screen does not
    /// matter.
    SingleInstance(std::filesystem::path folder, const std::string& display);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance() { stopListening(); }

    enum class Role {
        First,
        /// Another one runs.
        Late,
        /// The folder is of no use, so nobody can tell.
        Unknown,
    };
    /// Once, before any fork.
    Role claim();

    /// In a forked worker: leaves the lock to the process that claimed it, so that it ends with
    /// that one.
    void leaveLock() { lock_.reset(); }

    // The first one.
    /// `activated` is called on the loop when a later start shows up, with the absolute paths it
    /// was given, none for a start without files. What came while nobody listened is delivered now.
    using Activated = std::function<void(const std::vector<std::filesystem::path>& files)>;
    void listen(MainRunLoop& loop, Activated activated);
    /// Before the loop goes. What comes from now on waits for the next listener.
    void stopListening();

    // A late one.
    /// Tells the first one, and waits a few seconds at most. False if it does not answer.
    bool activateOthers(const std::vector<std::filesystem::path>& files);

    /// A folder of the user's for such things: $XDG_RUNTIME_DIR/dresk, or one in /tmp.
    static std::filesystem::path defaultFolder();

  private:
    bool openFolder();
    void openSocket();
    void accept();
    void receive(int connection);
    void forget(int connection);
    Descriptor connectToFirst() const;
    std::string socketPath() const;

    std::filesystem::path folder_;
    std::string name_;
    Descriptor folderDescriptor_;
    Descriptor lock_;
    Descriptor socket_;
    MainRunLoop* loop_ = nullptr;
    Activated activated_;
    std::vector<Descriptor> connections_;
};

} // namespace dresk
