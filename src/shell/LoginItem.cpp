#include "shell/LoginItem.h"

#include <sstream>
#include <string>

#include "Foundation/FileStorage.h"

namespace dresk {

namespace fs = std::filesystem;

namespace {

/// The argument of an Exec line: quoted, and then escaped once more as every value of the file.
std::string execArgument(const std::string& path) {
    std::string quoted;
    for (const char c : path) {
        if (std::string_view("\"`$\\").find(c) != std::string_view::npos)
            quoted += c == '\\' ? "\\\\\\" : "\\\\";
        if (c == '%')
            quoted += '%';
        quoted += c;
    }
    return '"' + quoted + '"';
}

} // namespace

fs::path LoginItem::file() const {
    return folder_ / "com.zopal.Dresk.desktop";
}

bool LoginItem::enabled() const {
    std::error_code error;
    const auto text = readFile(file(), error);
    if (!text.has_value())
        return false;
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);)
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false")
            return false;
    return true;
}

bool LoginItem::setEnabled(bool enabled) const {
    if (folder_.empty() || program_.empty())
        return false;
    std::error_code error;
    if (!enabled) {
        fs::remove(file(), error);
        return !error;
    }
    fs::create_directories(folder_, error);
    const std::string text = "[Desktop Entry]\n"
                             "Type=Application\n"
                             "Name=Dresk\n"
                             "Comment=Replaces abbreviations by snippets as you type\n"
                             "Icon=dresk\n"
                             "Exec=" +
                             execArgument(program_.string()) +
                             "\n"
                             "Terminal=false\n";
    return !replaceFile(file(), text);
}

} // namespace dresk
