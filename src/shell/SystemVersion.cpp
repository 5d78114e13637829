#include "shell/SystemVersion.h"

#include <sstream>

#include "Foundation/FileStorage.h"

namespace dresk {

namespace {

/// Takes off the quotes of a shell, and the backslashes inside them.
std::string unquoted(std::string_view value) {
    if (value.size() < 2 || (value.front() != '"' && value.front() != '\'') ||
        value.back() != value.front())
        return std::string(value);
    const bool escapes = value.front() == '"';
    value = value.substr(1, value.size() - 2);
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (escapes && value[i] == '\\' && i + 1 < value.size())
            ++i;
        text += value[i];
    }
    return text;
}

} // namespace

std::optional<String> systemVersion(const std::filesystem::path& file) {
    constexpr std::string_view key = "PRETTY_NAME=";
    std::error_code error;
    std::istringstream lines(readFile(file, error).value_or(std::string()));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(key))
            return fromUTF8(unquoted(std::string_view(line).substr(key.size())));
    return std::nullopt;
}

} // namespace dresk
