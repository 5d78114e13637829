#include "input/scripted/ScriptedTextField.h"

#include <algorithm>

#include "input/scripted/KeyNames.h"

namespace dresk {

Range ScriptedTextField::selection() const {
    const std::uint64_t start = std::min(caret_, anchor_);
    return {start, std::max(caret_, anchor_) - start};
}

void ScriptedTextField::setText(StringView text) {
    text_ = text;
    caret_ = anchor_ = text_.size();
}

void ScriptedTextField::setSelection(Range selection) {
    anchor_ = std::min<std::uint64_t>(selection.location, text_.size());
    caret_ = anchor_ + std::min<std::uint64_t>(selection.length, text_.size() - anchor_);
}

void ScriptedTextField::insert(StringView text) {
    String lines(text);
    for (char16_t& unit : lines)
        if (unit == u'\r' || unit == u'\x03')
            unit = u'\n';
    const Range range = selection();
    text_.replace(range.location, range.length, lines);
    caret_ = anchor_ = range.location + lines.size();
}

void ScriptedTextField::pressKey(std::uint16_t keyCode, std::uint64_t flags, StringView text) {
    if ((flags & (EventFlag::Control | EventFlag::Command)) != 0)
        return;
    if (keyCode == KeyCode::Delete || keyCode == KeyCode::ForwardDelete) {
        erase(keyCode == KeyCode::ForwardDelete);
        return;
    }
    if (const auto index = target(keyCode)) {
        caret_ = *index;
        if ((flags & EventFlag::Shift) == 0)
            anchor_ = caret_;
        return;
    }
    if (keyCode != KeyCode::Escape && !text.empty())
        insert(text);
}

void ScriptedTextField::erase(bool forward) {
    Range range = selection();
    if (range.length == 0) {
        const std::uint64_t other = forward ? after(caret_) : before(caret_);
        range = {std::min(caret_, other), std::max(caret_, other) - std::min(caret_, other)};
    }
    text_.erase(range.location, range.length);
    caret_ = anchor_ = range.location;
}

std::optional<std::uint64_t> ScriptedTextField::target(std::uint16_t keyCode) const {
    const std::uint64_t column = caret_ - lineStart(caret_);
    switch (keyCode) {
    case KeyCode::LeftArrow:
        return before(caret_);
    case KeyCode::RightArrow:
        return after(caret_);
    case KeyCode::Home:
        return lineStart(caret_);
    case KeyCode::End:
        return lineEnd(caret_);
    case KeyCode::UpArrow: {
        if (lineStart(caret_) == 0)
            return 0;
        const std::uint64_t end = lineStart(caret_) - 1;
        return std::min(lineStart(end) + column, end);
    }
    case KeyCode::DownArrow: {
        if (lineEnd(caret_) == text_.size())
            return text_.size();
        const std::uint64_t start = lineEnd(caret_) + 1;
        return std::min(start + column, lineEnd(start));
    }
    default:
        return std::nullopt;
    }
}

std::uint64_t ScriptedTextField::before(std::uint64_t index) const {
    if (index == 0)
        return 0;
    const bool isPair =
        index >= 2 && isLowSurrogate(text_[index - 1]) && isHighSurrogate(text_[index - 2]);
    return index - (isPair ? 2 : 1);
}

std::uint64_t ScriptedTextField::after(std::uint64_t index) const {
    return index == text_.size() ? index : index + codePointAt(text_, index).length;
}

std::uint64_t ScriptedTextField::lineStart(std::uint64_t index) const {
    const auto feed = index == 0 ? String::npos : text_.rfind(u'\n', index - 1);
    return feed == String::npos ? 0 : feed + 1;
}

std::uint64_t ScriptedTextField::lineEnd(std::uint64_t index) const {
    return std::min(text_.find(u'\n', index), text_.size());
}

} // namespace dresk
