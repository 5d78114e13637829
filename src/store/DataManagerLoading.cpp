#include <algorithm>

#include "Foundation/FileStorage.h"
#include "Foundation/Log.h"
#include "Foundation/PreferenceKeys.h"
#include "store/BackupNames.h"
#include "store/DataManager.h"

namespace dresk {

namespace fs = std::filesystem;

bool DataManager::loadData() {
    const std::lock_guard lock(mutex_);
    const PreferenceLoadReport stored = preferences_.loadReport();
    report_.isDamaged = stored.isDamaged;
    report_.keptAside = stored.keptAside;
    report_.loadedFrom = stored.loadedFrom;

    const bool isRead = loadStoredData();
    isLoaded_ = true;
    if (!dateInstalled_.has_value())
        dateInstalled_ = clock_.now();
    bool isFirstStart = false;
    if ((!isRead || groups_.groups.empty()) && !readSandboxedData()) {
        isFirstStart = true;
        firstStart();
    }
    // What was damaged lies aside now; saved at once, it is told of once.
    if (completeIdentity() || report_.isDamaged)
        saveData();
    return isFirstStart;
}

// The data of the store, or, if that is damaged, the newest data that can be read.
bool DataManager::loadStoredData() {
    const auto data = preferences_.dataForKey(PreferenceKey::Data);
    if (data.has_value()) {
        if (readData(*data))
            return true;
        keepAside(*data, "Damaged data");
    }
    return report_.isDamaged && recoverData();
}

bool DataManager::recoverData() {
    const PropertyList previous = preferences_.previousObjectForKey(PreferenceKey::Data);
    if (previous.bytes() != nullptr && readData(*previous.bytes()))
        return true;
    const String folder =
        preferences_.stringForKey(PreferenceKey::BackupDirectory).value_or(String());
    for (const fs::path& backup : backupsNewestFirst(fs::path(toUTF8(folder)))) {
        std::error_code error;
        const auto bytes = readFile(backup, error);
        if (bytes.has_value() && readData(*bytes)) {
            report_.loadedFrom = backup;
            logLine("The data was restored from " + backup.string());
            return true;
        }
    }
    return false;
}

void DataManager::keepAside(std::string_view bytes, const std::string& name) {
    report_.isDamaged = true;
    const fs::path copy = preferences_.keepCopy(bytes, name);
    if (!copy.empty())
        report_.keptAside.push_back(copy);
    else // no room for a file: the store itself keeps it
        preferences_.setObject(PropertyList(std::string(bytes)), PreferenceKey::UnreadableData);
    logLine("Stored data could not be read in full; a copy is kept " +
            (copy.empty() ? "in the preferences" : "as " + copy.string()));
}

/// The file of the sandboxed edition counts as data even if it cannot be read.
bool DataManager::readSandboxedData() {
    std::error_code error;
    const auto bytes = readFile(places_.sandboxedPreferences, error);
    if (!bytes.has_value())
        return false;
    const auto values = PropertyList::propertyListWithData(*bytes);
    const PropertyList* data = values.has_value() ? values->find(PreferenceKey::Data) : nullptr;
    if (data != nullptr && data->bytes() != nullptr)
        (void)readData(*data->bytes());
    return true;
}

void DataManager::firstStart() {
    {
        const std::unique_lock exclusive(groups_.lock);
        groups_.groups.clear();
    }
    generateSnippetSamples();
    std::error_code error;
    if (fs::exists(places_.foreignSettings, error))
        importDataFromFile(places_.foreignSettings);
    if (formats_ != nullptr)
        formats_->importSystemSubstitutions(*this);
}

/// Makes up what is missing; whether anything was.
bool DataManager::completeIdentity() {
    if (uuidString_.has_value() && versionUUIDString_.has_value() && dateCreated_.has_value())
        return false;
    if (!uuidString_.has_value())
        uuidString_ = XCDUUID().UUIDString();
    if (!versionUUIDString_.has_value())
        versionUUIDString_ = XCDUUID().UUIDString();
    if (!dateCreated_.has_value())
        dateCreated_ = clock_.now();
    return true;
}

} // namespace dresk
