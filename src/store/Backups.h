#pragma once

#include "store/DataManager.h"

namespace dresk {

/// The backups in the user's folder: timed ones, of which only the newest are kept, and those that
/// the user asks for, which stay. Nothing is reported. Main thread.
class Backups {
  public:
    /// All outlive it.
    Backups(const DataManager& dataManager, PreferenceStore& preferences,
            const Clock& clock = systemClock())
        : dataManager_(dataManager), preferences_(preferences), clock_(clock) {}

    /// Makes a timed backup when the interval since the last one has passed. To be called each
    /// minute.
    void autoBackup();
    /// Makes one now.
    void backup(bool timed);
    /// Removes the timed backups beyond the number to keep, oldest modification first.
    void deleteOldBackups();

  private:
    std::filesystem::path folder() const;

    const DataManager& dataManager_;
    PreferenceStore& preferences_;
    const Clock& clock_;
};

} // namespace dresk
