#include "store/Backups.h"

#include <algorithm>

#include "Foundation/FileStorage.h"
#include "Foundation/PreferenceKeys.h"
#include "store/BackupNames.h"

namespace dresk {

namespace fs = std::filesystem;

namespace {

/// Seconds for each value of the preference, from 1 on; no other value makes timed backups.
constexpr std::array<double, 4> Periods{3600, 86400, 604800, 2592000};

std::vector<fs::path> timedBackups(const fs::path& folder) {
    // "Dresk Auto Backup*.dresk": the date itself plays no part.
    const std::string prefix = std::string(AutoBackupPrefix).substr(0, 17);
    const std::string suffix = DataFileExtension;
    std::vector<fs::path> result;
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error)) {
        const std::string name = file->path().filename().string();
        if (name.size() >= prefix.size() + suffix.size() && name.starts_with(prefix) &&
            name.ends_with(suffix))
            result.push_back(file->path());
    }
    return error ? std::vector<fs::path>() : result;
}

} // namespace

void Backups::autoBackup() {
    const Date now = clock_.now();
    const std::optional<Date> last = preferences_.dateForKey(PreferenceKey::LastBackupTime);
    if (!last.has_value()) {
        preferences_.setObject(PropertyList(now), PreferenceKey::LastBackupTime);
        return;
    }
    const std::int64_t interval = preferences_.integerForKey(PreferenceKey::AutoBackupInterval);
    if (interval < 1 || interval > static_cast<std::int64_t>(Periods.size()))
        return;
    if (now.seconds - last->seconds < Periods[static_cast<std::size_t>(interval - 1)])
        return;
    preferences_.setObject(PropertyList(now), PreferenceKey::LastBackupTime);
    backup(true);
    deleteOldBackups();
}

void Backups::backup(bool timed) {
    const fs::path directory = folder();
    if (directory.empty())
        return;
    std::error_code ignored;
    fs::create_directories(directory, ignored);
    const std::string prefix = timed ? AutoBackupPrefix : ManualBackupPrefix;
    dataManager_.saveDataToFile(directory /
                                (prefix + localDateAndTime(clock_.now()) + DataFileExtension));
}

void Backups::deleteOldBackups() {
    const std::int64_t quantity = preferences_.integerForKey(PreferenceKey::BackupQuantity);
    if (quantity < 1)
        return;
    const std::vector<fs::path> names = timedBackups(folder());
    if (names.size() <= static_cast<std::uint64_t>(quantity))
        return;
    std::vector<std::pair<fs::file_time_type, fs::path>> files;
    for (const fs::path& name : names) {
        std::error_code error;
        const fs::file_time_type time = fs::last_write_time(name, error);
        if (!error)
            files.emplace_back(time, name);
    }
    std::sort(files.begin(), files.end());
    // A file without a date is left out above, but counts among those to delete.
    const std::size_t surplus = names.size() - static_cast<std::size_t>(quantity);
    for (std::size_t i = 0; i < std::min(surplus, files.size()); ++i) {
        std::error_code ignored;
        fs::remove(files[i].second, ignored);
    }
}

fs::path Backups::folder() const {
    return {toUTF8(preferences_.stringForKey(PreferenceKey::BackupDirectory).value_or(String()))};
}

} // namespace dresk
