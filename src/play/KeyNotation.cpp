#include "play/KeyNotation.h"

#include <charconv>

#include "input/scripted/KeyNames.h"

namespace dresk {

namespace {

constexpr double LongestWait = 3600;

std::optional<PlayStep> parseWait(std::string_view seconds) {
    double value = 0;
    const char* end = seconds.data() + seconds.size();
    const auto [rest, failure] = std::from_chars(seconds.data(), end, value);
    if (failure != std::errc() || rest != end || !(value >= 0 && value <= LongestWait))
        return std::nullopt;
    return PlayPause{value};
}

std::optional<PlayStep> parseKey(std::string_view name) {
    constexpr std::string_view wait = "Wait ";
    if (name == "Expand")
        return ExpandKey;
    if (name == "Undo")
        return UndoKey;
    if (name.starts_with(wait))
        return parseWait(name.substr(wait.size()));
    KeyPress press;
    for (bool found = true; found;) {
        found = false;
        for (const ModifierKey& modifier : ModifierKeys) {
            const std::size_t length = modifier.name.size();
            if (name.size() <= length + 1 || !name.starts_with(modifier.name) ||
                name[length] != '-')
                continue;
            press.flags |= modifier.flag;
            name.remove_prefix(length + 1);
            found = true;
        }
    }
    if (const auto keyCode = keyCodeNamed(name)) {
        press.keyCode = *keyCode;
        return press;
    }
    const String character = fromUTF8(name);
    if (character.size() != 1)
        return std::nullopt;
    const auto presses = ScriptedLayout::named(u"us")->pressesFor(character.front());
    if (presses.size() != 1)
        return std::nullopt;
    press.keyCode = presses.front().keyCode;
    press.flags |= presses.front().flags;
    return press;
}

} // namespace

std::optional<std::vector<PlayStep>> parseKeyNotation(std::string_view typed, std::string& error) {
    std::vector<PlayStep> steps;
    while (!typed.empty()) {
        const std::size_t start = typed.find('<');
        const String text = fromUTF8(typed.substr(0, start));
        for (std::size_t i = 0; i < text.size(); i += codePointAt(text, i).length)
            steps.emplace_back(codePointAt(text, i).value);
        if (start == std::string_view::npos)
            break;
        typed.remove_prefix(start + 1);
        if (typed.starts_with('<')) {
            steps.emplace_back(U'<');
            typed.remove_prefix(1);
            continue;
        }
        const std::size_t end = typed.find('>');
        const std::string_view name = typed.substr(0, end);
        const auto step = end != std::string_view::npos ? parseKey(name) : std::nullopt;
        if (!step.has_value()) {
            error = "no such key: <" + std::string(name) + (end == typed.npos ? "" : ">");
            return std::nullopt;
        }
        steps.push_back(*step);
        typed.remove_prefix(end + 1);
    }
    return steps;
}

} // namespace dresk
