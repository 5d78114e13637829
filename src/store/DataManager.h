#pragma once

#include <filesystem>
#include <mutex>

#include "Foundation/PreferenceStore.h"
#include "Foundation/RunLoop.h"
#include "store/DataChangedEventArgs.h"
#include "store/SnippetArchive.h"

namespace dresk {

class DataManager;

/// The file formats beyond the system's own archive. Main thread.
class DataFileFormats {
  public:
    DataFileFormats() = default;
    DataFileFormats(const DataFileFormats&) = delete;
    DataFileFormats& operator=(const DataFileFormats&) = delete;
    virtual ~DataFileFormats() = default;

    /// Null for a missing, damaged or unknown file. Changes nothing by itself.
    virtual std::optional<SnippetGroupArray> importFile(const std::filesystem::path& path) = 0;
    /// Writes comma-separated text, a null field as an empty one.
    using Row = std::vector<std::optional<String>>;
    virtual void writeRows(const std::filesystem::path& path, const std::vector<Row>& rows) = 0;
    /// Adds the desktop's own text substitutions, where it has such.
    virtual void importSystemSubstitutions(DataManager&) {}
};

/// What became of the data at load. The user is told once if `isDamaged`.
struct DataLoadReport {
    /// Stored data could not be read, or not in full.
    bool isDamaged = false;
    /// Where the unreadable data lies now.
    std::vector<std::filesystem::path> keptAside;
    /// What was read instead; empty if nothing was, or nothing had to be.
    std::filesystem::path loadedFrom;
};

/// Owns the one list of groups, loads and saves it, and tells everybody about changes. Main thread,
/// save for the list itself, which is shared under its lock.
class DataManager {
  public:
    struct Places {
        /// The build version, written into archives.
        String version;
        /// The default data of the first start.
        std::filesystem::path defaultData;
        /// Preference file of the sandboxed edition, read if there is no data.
        std::filesystem::path sandboxedPreferences;
        /// Settings of another product, imported at the first start if they exist.
        std::filesystem::path foreignSettings;
    };
    /// The arguments outlive the manager. Without `formats` only the system's own archive is read
    /// and written.
    DataManager(PreferenceStore& preferences, RunLoop& runLoop, Places places,
                DataFileFormats* formats = nullptr, const Clock& clock = systemClock());
    DataManager(const DataManager&) = delete;
    DataManager& operator=(const DataManager&) = delete;
    ~DataManager();

    /// True if this was a first start, with no data to load.
    bool loadData();
    const DataLoadReport& loadReport() const { return report_; }
    /// Takes the fields from an archive. False, with nothing changed, if the bytes are damaged.
    bool readData(std::string_view bytes);
    /// Archives into the preference store. Does nothing before `loadData`.
    void saveData();

    std::string archivedData() const;
    std::string dataFromSnippetGroup(const std::shared_ptr<SnippetGroup>& group) const;
    /// By the lower-cased extension: the archive, comma-separated text, or nothing at all.
    void saveDataToFile(const std::filesystem::path& path) const;
    void saveGroup(const std::shared_ptr<SnippetGroup>& group,
                   const std::filesystem::path& toFile) const;

    /// Appends and notifies. The groups must not be in the list yet.
    void addSnippetGroups(const SnippetGroupArray& groups);
    /// Adds a file's data; nothing that is here is lost or changed.
    void mergeFile(const std::filesystem::path& path);
    void importDataFromFile(const std::filesystem::path& path) { mergeFile(path); }
    /// Replaces everything by the file's groups. A file that cannot be read changes nothing.
    void restoreFromFile(const std::filesystem::path& path);
    void restoreFromSnippetGroups(const SnippetGroupArray& groups);
    void generateSnippetSamples();

    /// Every writer of the data calls this after its change, without holding the data lock.
    /// Observers run in this call. Saving follows 5 seconds after the last change.
    void notifyDataChanged(std::int32_t type, DataChangedObject withObject, const void* by);
    ZPEvent& dataChangedEvent() { return dataChangedEvent_; }

    /// The one list; the object stays the same for life. Empty before `loadData`.
    SnippetGroupList& snippetGroups() { return groups_; }
    const SnippetGroupList& snippetGroups() const { return groups_; }
    /// Identity of the present state; null after a restore from a file without one.
    std::optional<String> versionUUIDString() const;
    std::optional<String> uuidString() const;
    std::optional<Date> dateInstalled() const;
    /// The time of the latest change.
    std::optional<Date> dateCreated() const;

    static constexpr double SaveDelay = 5.0;

  private:
    bool loadStoredData();
    bool recoverData();
    bool readSandboxedData();
    void firstStart();
    bool completeIdentity();
    void keepAside(std::string_view bytes, const std::string& name);
    std::optional<SnippetGroupArray> importFile(const std::filesystem::path& path) const;
    /// Adds what is new to a group that is here; the rest goes to the conflict group.
    void mergeGroup(const std::shared_ptr<SnippetGroup>& local, const SnippetGroup& imported,
                    std::shared_ptr<SnippetGroup>& conflicts, SnippetGroupArray& added);
    SnippetArchive header() const;

    PreferenceStore& preferences_;
    RunLoop& runLoop_;
    Places places_;
    DataFileFormats* formats_;
    const Clock& clock_;
    /// Guards the fields below, not the list; taken before the list's lock.
    mutable std::recursive_mutex mutex_;
    SnippetGroupList groups_;
    ZPEvent dataChangedEvent_;
    std::optional<String> versionUUIDString_;
    std::optional<Date> dateInstalled_;
    std::optional<String> uuidString_;
    std::optional<Date> dateCreated_;
    bool isLoaded_ = false;
    DataLoadReport report_;
};

} // namespace dresk
