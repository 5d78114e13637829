#pragma once

#include <filesystem>
#include <vector>

namespace dresk {

/// How backups are named: one of the two beginnings, the local date and time, the extension.
inline constexpr const char* AutoBackupPrefix = "Dresk Auto Backup ";
inline constexpr const char* ManualBackupPrefix = "Dresk Backup ";
inline constexpr const char* DataFileExtension = ".dresk";

/// The backups of a folder by the date in their names. None for a folder that cannot be read.
std::vector<std::filesystem::path> backupsNewestFirst(const std::filesystem::path& folder);

} // namespace dresk
