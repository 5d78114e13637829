#pragma once

#include <filesystem>

#include "Foundation/String.h"

namespace dresk {

/// The operating system by name and version, from a file in the form of /etc/os-release; null when
/// the file does not tell.
std::optional<String> systemVersion(const std::filesystem::path& file = "/etc/os-release");

} // namespace dresk
