#include "input/scripted/EventRecord.h"

#include <cstdio>

#include "input/scripted/KeyNames.h"

namespace dresk {

namespace {

std::string keyText(const DesktopEvent& event) {
    std::string key = modifierPrefix(event.flags) + keyName(event.keyCode);
    if (event.unicodeString.empty())
        return key;
    std::string text = quotedText(event.unicodeString);
    return event.keyCode == 0 && event.flags == 0 ? text : key + " " + text;
}

bool isReleaseOf(const RecordedEvent& press, const RecordedEvent& release) {
    return press.event.type == EventType::KeyDown && release.event.type == EventType::KeyUp &&
           press.time == release.time && press.atSession == release.atSession &&
           press.event.keyCode == release.event.keyCode &&
           press.event.flags == release.event.flags &&
           press.event.unicodeString == release.event.unicodeString;
}

std::string timeText(double time) {
    char text[32] = "";
    (void)std::snprintf(text, sizeof text, "%.3f", time);
    std::string result = text;
    if (result.back() == '0')
        result.pop_back();
    return result;
}

/// Puts entries together into lines, counting equal neighbours.
class Lines {
  public:
    void add(double time, const std::string& entry) {
        if (!lines_.empty() && time_ == time && entry_ == entry) {
            ++count_;
            return;
        }
        flush();
        if (lines_.empty() || time_ != time)
            lines_.push_back(timeText(time));
        else
            lines_.back() += ",";
        time_ = time;
        entry_ = entry;
        count_ = 1;
    }
    std::vector<std::string> take() {
        flush();
        return std::move(lines_);
    }

  private:
    void flush() {
        if (count_ == 0)
            return;
        lines_.back() += " " + entry_;
        if (count_ > 1)
            lines_.back() += " x" + std::to_string(count_);
        count_ = 0;
    }

    std::vector<std::string> lines_;
    double time_ = 0;
    std::string entry_;
    std::size_t count_ = 0;
};

} // namespace

std::vector<std::string> recordedLines(const std::vector<RecordedEvent>& events) {
    Lines lines;
    for (std::size_t i = 0; i < events.size(); ++i) {
        const RecordedEvent& recorded = events[i];
        const bool isPair = i + 1 < events.size() && isReleaseOf(recorded, events[i + 1]);
        std::string entry = isPair ? keyText(recorded.event) : eventText(recorded.event);
        if (isPair)
            ++i;
        lines.add(recorded.time, recorded.atSession ? "(" + entry + ")" : entry);
    }
    return lines.take();
}

std::string eventText(const DesktopEvent& event) {
    switch (event.type) {
    case EventType::KeyDown:
        return "down " + keyText(event);
    case EventType::KeyUp:
        return "up " + keyText(event);
    case EventType::FlagsChanged:
        return "flags " + modifierPrefix(event.flags);
    default:
        return "mouse " + std::to_string(static_cast<int>(event.type));
    }
}

std::string quotedText(StringView text) {
    String escaped;
    for (const char16_t unit : text) {
        if (unit == u'"' || unit == u'\\')
            escaped.append({u'\\', unit});
        else if (unit == u'\n')
            escaped.append(u"\\n");
        else if (unit == u'\r')
            escaped.append(u"\\r");
        else if (unit == u'\t')
            escaped.append(u"\\t");
        else if (unit < u' ') {
            char code[8] = "";
            (void)std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(unit));
            escaped.append(fromUTF8(code));
        } else
            escaped.push_back(unit);
    }
    return "\"" + toUTF8(escaped) + "\"";
}

} // namespace dresk
