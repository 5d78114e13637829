#include "store/BackupNames.h"

#include <algorithm>
#include <string>

namespace dresk {

namespace fs = std::filesystem;

std::vector<fs::path> backupsNewestFirst(const fs::path& folder) {
    std::vector<std::pair<std::string, fs::path>> dated;
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error)) {
        const std::string name = file->path().filename().string();
        if (!name.ends_with(DataFileExtension))
            continue;
        for (const std::string prefix : {AutoBackupPrefix, ManualBackupPrefix})
            if (name.starts_with(prefix))
                dated.emplace_back(name.substr(prefix.size()), file->path());
    }
    std::sort(dated.rbegin(), dated.rend());
    std::vector<fs::path> result;
    result.reserve(dated.size());
    for (auto& [date, path] : dated)
        result.push_back(std::move(path));
    return result;
}

} // namespace dresk
