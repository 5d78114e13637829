#include "store/DataManager.h"

#include <algorithm>

#include "Foundation/FileStorage.h"
#include "Foundation/Log.h"
#include "Foundation/PreferenceKeys.h"
#include "Foundation/Unicode.h"

namespace dresk {

namespace fs = std::filesystem;

namespace {

constexpr StringView MergeConflictName = u"Merge Conflict"; // the same in every language

enum class FileKind { Archive, Rows, Other };

std::string lowerCaseExtension(const fs::path& path) {
    return toUTF8(lowercaseString(fromUTF8(path.extension().string())));
}

FileKind fileKind(const fs::path& path) {
    const std::string extension = lowerCaseExtension(path);
    return extension == ".dresk" ? FileKind::Archive
           : extension == ".csv" ? FileKind::Rows
                                 : FileKind::Other;
}

void writeArchive(const fs::path& path, std::string_view bytes) {
    if (const std::error_code error = writeFile(path, bytes))
        logLine(path.string() + " could not be written: " + error.message());
}

std::shared_ptr<SnippetGroup> groupWithUUID(const SnippetGroupArray& groups,
                                            const std::optional<XCDUUID>& uuid) {
    const auto found = std::find_if(groups.begin(), groups.end(), [&](const auto& group) {
        return uuid.has_value() && group->uuid() == uuid;
    });
    return found != groups.end() ? *found : nullptr;
}

bool hasSnippet(const SnippetGroup& group, const Snippet& snippet) {
    return snippet.uuid().has_value() &&
           std::any_of(group.items().begin(), group.items().end(),
                       [&](const auto& item) { return item->uuid() == snippet.uuid(); });
}

} // namespace

DataManager::DataManager(PreferenceStore& preferences, RunLoop& runLoop, Places places,
                         DataFileFormats* formats, const Clock& clock)
    : preferences_(preferences), runLoop_(runLoop), places_(std::move(places)), formats_(formats),
      clock_(clock), dataChangedEvent_(&runLoop) {}

DataManager::~DataManager() {
    runLoop_.cancelAll(this);
}

std::optional<String> DataManager::versionUUIDString() const {
    const std::lock_guard lock(mutex_);
    return versionUUIDString_;
}

std::optional<String> DataManager::uuidString() const {
    const std::lock_guard lock(mutex_);
    return uuidString_;
}

std::optional<Date> DataManager::dateInstalled() const {
    const std::lock_guard lock(mutex_);
    return dateInstalled_;
}

std::optional<Date> DataManager::dateCreated() const {
    const std::lock_guard lock(mutex_);
    return dateCreated_;
}

bool DataManager::readData(std::string_view bytes) {
    auto archive = SnippetArchive::unarchive(bytes, clock_);
    if (!archive.has_value())
        return false;
    if (!archive->isLossless)
        keepAside(bytes, "Data not read in full");
    const std::lock_guard lock(mutex_);
    {
        const std::unique_lock exclusive(groups_.lock);
        groups_.groups = std::move(archive->groups).value_or(SnippetGroupArray());
    }
    dateInstalled_ = archive->dateInstalled;
    uuidString_ = std::move(archive->uuidString);
    dateCreated_ = archive->dateCreated;
    versionUUIDString_ = std::move(archive->versionUUIDString);
    return true;
}

void DataManager::saveData() {
    const std::lock_guard lock(mutex_);
    runLoop_.cancel({this, "saveData"});
    if (isLoaded_)
        preferences_.setObject(PropertyList(archivedData()), PreferenceKey::Data);
}

SnippetArchive DataManager::header() const {
    SnippetArchive archive;
    archive.version = places_.version;
    archive.dateInstalled = dateInstalled_;
    archive.uuidString = uuidString_;
    archive.versionUUIDString = versionUUIDString_;
    archive.dateCreated = dateCreated_;
    return archive;
}

// The records are copied under the shared lock; bytes are made of the copy outside it, so that an
// edit waits as short as possible. Matching holds the same lock shared and never waits for this.
std::string DataManager::archivedData() const {
    const std::lock_guard lock(mutex_);
    SnippetArchive archive = header();
    PropertyList copy;
    {
        const std::shared_lock shared(groups_.lock);
        archive.groups = groups_.groups;
        copy = archive.archiveAllData();
    }
    return copy.binaryData();
}

std::string DataManager::dataFromSnippetGroup(const std::shared_ptr<SnippetGroup>& group) const {
    const std::lock_guard lock(mutex_);
    SnippetArchive archive = header();
    archive.groups = SnippetGroupArray{group};
    PropertyList copy;
    {
        const std::shared_lock shared(groups_.lock);
        copy = archive.archiveOneGroup();
    }
    return copy.binaryData();
}

void DataManager::saveDataToFile(const fs::path& path) const {
    const FileKind kind = fileKind(path);
    if (kind == FileKind::Archive)
        writeArchive(path, archivedData());
    if (kind != FileKind::Rows || formats_ == nullptr)
        return;
    std::vector<DataFileFormats::Row> rows;
    {
        const std::shared_lock shared(groups_.lock);
        for (const auto& group : groups_.groups)
            for (const auto& item : group->items())
                rows.push_back({item->abbreviationWithPrefix(), item->plainTextContent()});
    }
    formats_->writeRows(path, rows);
}

void DataManager::saveGroup(const std::shared_ptr<SnippetGroup>& group,
                            const fs::path& toFile) const {
    const FileKind kind = fileKind(toFile);
    if (kind == FileKind::Archive)
        writeArchive(toFile, dataFromSnippetGroup(group));
    if (kind != FileKind::Rows || formats_ == nullptr)
        return;
    std::vector<DataFileFormats::Row> rows;
    {
        const std::shared_lock shared(groups_.lock);
        for (const auto& item : group->items())
            rows.push_back(
                {item->abbreviationWithPrefix(), item->plainTextContent(), item->label()});
    }
    formats_->writeRows(toFile, rows);
}

void DataManager::addSnippetGroups(const SnippetGroupArray& groups) {
    {
        const std::unique_lock exclusive(groups_.lock);
        groups_.groups.insert(groups_.groups.end(), groups.begin(), groups.end());
    }
    notifyDataChanged(DataChange::GroupsAdded, groups, this);
}

std::optional<SnippetGroupArray> DataManager::importFile(const fs::path& path) const {
    if (formats_ != nullptr)
        return formats_->importFile(path);
    if (fileKind(path) != FileKind::Archive)
        return std::nullopt;
    std::error_code error;
    const auto bytes = readFile(path, error);
    return bytes.has_value() ? SnippetArchive::importData(*bytes, clock_) : std::nullopt;
}

void DataManager::mergeFile(const fs::path& path) {
    const auto imported = importFile(path);
    if (!imported.has_value())
        return;
    SnippetGroupArray local;
    {
        const std::shared_lock shared(groups_.lock);
        local = groups_.groups;
    }
    SnippetGroupArray added;
    std::shared_ptr<SnippetGroup> conflicts;
    for (const auto& group : *imported) {
        if (const auto known = groupWithUUID(local, group->uuid()))
            mergeGroup(known, *group, conflicts, added);
        else
            added.push_back(group);
    }
    addSnippetGroups(added);
}

void DataManager::mergeGroup(const std::shared_ptr<SnippetGroup>& local,
                             const SnippetGroup& imported, std::shared_ptr<SnippetGroup>& conflicts,
                             SnippetGroupArray& added) {
    for (const auto& snippet : SnippetGroup::Items(imported.items())) {
        if (!hasSnippet(*local, *snippet)) {
            {
                const std::unique_lock exclusive(groups_.lock);
                local->addItem(snippet);
            }
            notifyDataChanged(DataChange::SnippetAdded, snippet, this);
            continue;
        }
        // Meant so: equal content is a conflict as well.
        if (conflicts == nullptr) {
            conflicts = std::make_shared<SnippetGroup>(clock_);
            conflicts->setName(String(MergeConflictName));
            added.push_back(conflicts);
        }
        conflicts->addItem(snippet);
    }
}

void DataManager::restoreFromFile(const fs::path& path) {
    std::error_code error;
    const auto bytes = readFile(path, error);
    if (!bytes.has_value())
        return;
    auto archive = SnippetArchive::unarchive(*bytes, clock_);
    if (!archive.has_value() || !archive->groups.has_value())
        return;
    const std::lock_guard lock(mutex_);
    restoreFromSnippetGroups(*archive->groups);
    // Behind the notifications, which made a fresh one: the file's identity wins.
    versionUUIDString_ = std::move(archive->versionUUIDString);
}

void DataManager::restoreFromSnippetGroups(const SnippetGroupArray& groups) {
    SnippetGroupArray old;
    {
        const std::unique_lock exclusive(groups_.lock);
        old.swap(groups_.groups);
    }
    for (const auto& group : old)
        notifyDataChanged(DataChange::GroupRemoved, group, this);
    addSnippetGroups(groups);
}

void DataManager::generateSnippetSamples() {
    importDataFromFile(places_.defaultData);
}

void DataManager::notifyDataChanged(std::int32_t type, DataChangedObject withObject,
                                    const void* by) {
    const std::lock_guard lock(mutex_);
    dateCreated_ = clock_.now();
    versionUUIDString_ = XCDUUID().UUIDString();
    runLoop_.cancelAndCallAfter(SaveDelay, {this, "saveData"}, [this] { saveData(); });
    DataChangedEventArgs args(type);
    args.setObject(std::move(withObject));
    args.setBy(by);
    dataChangedEvent_.raise(&args);
}

} // namespace dresk
