#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/Date.h"

namespace dresk {

/// The whole file; null with `error` set if it cannot be read, with `error` clear if there is none.
std::optional<std::string> readFile(const std::filesystem::path& path, std::error_code& error);

/// Writes in place. A failure leaves a part of the bytes behind.
std::error_code writeFile(const std::filesystem::path& path, std::string_view bytes);

/// Replaces the file in one step: a reader, or a start after a crash, finds the old bytes or the
/// new ones, whole and on disk. The old file stays as `previous` unless that path is empty.
std::error_code replaceFile(const std::filesystem::path& path, std::string_view bytes,
                            const std::filesystem::path& previous = {});

/// As it stands in file names: "2026-01-31 23-59-59", local time. Any thread.
std::string localDateAndTime(Date date);

/// A path in the folder of `path` that no file has: name, local date and time, extension.
std::filesystem::path datedSibling(const std::filesystem::path& path, const std::string& name,
                                   const std::string& extension, Date date);

} // namespace dresk
