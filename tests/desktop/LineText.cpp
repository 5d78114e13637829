#include "desktop/LineText.h"

namespace dresk {
namespace {

constexpr std::string_view Plain = "\\\t\n\r";
constexpr std::string_view Escaped = "\\tnr";

} // namespace

std::string escapeToLine(std::string_view text) {
    std::string line;
    for (const char unit : text) {
        const auto index = Plain.find(unit);
        if (index == std::string_view::npos) {
            line += unit;
        } else {
            line += '\\';
            line += Escaped[index];
        }
    }
    return line;
}

std::string unescapeLine(std::string_view line) {
    std::string text;
    for (std::size_t i = 0; i < line.size(); i++) {
        if (line[i] != '\\' || i + 1 == line.size()) {
            text += line[i];
            continue;
        }
        const auto index = Escaped.find(line[++i]);
        text += index == std::string_view::npos ? line[i] : Plain[index];
    }
    return text;
}

} // namespace dresk
