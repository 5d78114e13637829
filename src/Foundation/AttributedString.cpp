#include "Foundation/AttributedString.h"

#include <algorithm>

#include "Foundation/TextAttributes.h"

namespace dresk {

bool operator==(const TextAttributes& a, const TextAttributes& b) {
    const auto sameObject = [](const auto& x, const auto& y) {
        return x == y || (x != nullptr && y != nullptr && *x == *y);
    };
    return sameObject(a.attachment, b.attachment) && sameObject(a.textBlock, b.textBlock) &&
           a.font == b.font && a.foregroundColor == b.foregroundColor &&
           a.backgroundColor == b.backgroundColor && a.alignment == b.alignment &&
           a.underlineStyle == b.underlineStyle && a.strikethroughStyle == b.strikethroughStyle &&
           a.superscript == b.superscript && a.firstLineHeadIndent == b.firstLineHeadIndent &&
           a.headIndent == b.headIndent && a.link == b.link && a.toolTip == b.toolTip &&
           a.paragraphStyle == b.paragraphStyle && a.others == b.others;
}

bool equalAttributes(const AttributedString::Attributes& a, const AttributedString::Attributes& b) {
    if (a == b)
        return true;
    static const TextAttributes none;
    return (a != nullptr ? *a : none) == (b != nullptr ? *b : none);
}

AttributedString::AttributedString(StringView text, Attributes attributes) : string_(text) {
    if (!text.empty())
        runs_.push_back({text.size(), std::move(attributes)});
}

AttributedString::AttributedString(String text, std::vector<Run> runs)
    : string_(std::move(text)), runs_(std::move(runs)) {
    std::uint64_t covered = 0;
    for (Run& run : runs_) {
        run.length = std::min(run.length, length() - covered);
        covered += run.length;
    }
    if (covered < length())
        runs_.push_back({length() - covered, nullptr});
    joinRuns();
}

Range AttributedString::clamped(Range range) const {
    const std::uint64_t location = std::min<std::uint64_t>(range.location, length());
    return {location, std::min(range.length, length() - location)};
}

AttributedString::Attributes AttributedString::attributesAtIndex(std::uint64_t index,
                                                                 Range* effectiveRange) const {
    std::uint64_t start = 0;
    for (const Run& run : runs_) {
        if (index < start + run.length) {
            if (effectiveRange != nullptr)
                *effectiveRange = {start, run.length};
            return run.attributes;
        }
        start += run.length;
    }
    if (effectiveRange != nullptr)
        *effectiveRange = {length(), 0};
    return nullptr;
}

// Makes a run begin at `index` and returns its place; the place behind the last run for the end.
std::size_t AttributedString::splitRunsAt(std::uint64_t index) {
    std::uint64_t start = 0;
    for (std::size_t i = 0; i < runs_.size(); ++i) {
        if (index == start)
            return i;
        if (index < start + runs_[i].length) {
            const std::uint64_t head = index - start;
            Run tail{runs_[i].length - head, runs_[i].attributes};
            runs_[i].length = head;
            runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(i) + 1, std::move(tail));
            return i + 1;
        }
        start += runs_[i].length;
    }
    return runs_.size();
}

void AttributedString::joinRuns() {
    std::vector<Run> joined;
    for (Run& run : runs_) {
        if (run.length == 0)
            continue;
        if (!joined.empty() && equalAttributes(joined.back().attributes, run.attributes))
            joined.back().length += run.length;
        else
            joined.push_back(std::move(run));
    }
    runs_ = std::move(joined);
}

AttributedString AttributedString::attributedSubstring(Range range) const {
    range = clamped(range);
    AttributedString result;
    result.string_ = string_.substr(range.location, range.length);
    std::uint64_t start = 0;
    for (const Run& run : runs_) {
        const std::uint64_t from = std::max(start, range.location);
        const std::uint64_t to = std::min(start + run.length, range.end());
        if (from < to)
            result.runs_.push_back({to - from, run.attributes});
        start += run.length;
    }
    return result;
}

void AttributedString::replaceCharactersInRange(Range range, StringView text) {
    range = clamped(range);
    Attributes attributes;
    if (range.length == 0 && range.location > 0)
        attributes = attributesAtIndex(range.location - 1);
    else if (range.location < length())
        attributes = attributesAtIndex(range.location);
    replaceCharactersInRange(range, AttributedString(text, std::move(attributes)));
}

void AttributedString::replaceCharactersInRange(Range range, const AttributedString& text) {
    range = clamped(range);
    const std::vector<Run> inserted = text.runs_;
    string_.replace(range.location, range.length, text.string_);
    const auto first = static_cast<std::ptrdiff_t>(splitRunsAt(range.location));
    const auto last = static_cast<std::ptrdiff_t>(splitRunsAt(range.end()));
    const auto place = runs_.erase(runs_.begin() + first, runs_.begin() + last);
    runs_.insert(place, inserted.begin(), inserted.end());
    joinRuns();
}

void AttributedString::setAttributes(const Attributes& attributes, Range range) {
    range = clamped(range);
    const std::size_t first = splitRunsAt(range.location);
    const std::size_t last = splitRunsAt(range.end());
    for (std::size_t i = first; i < last; ++i)
        runs_[i].attributes = attributes;
    joinRuns();
}

bool operator==(const AttributedString& a, const AttributedString& b) {
    return a.string_ == b.string_ && a.runs_.size() == b.runs_.size() &&
           std::equal(a.runs_.begin(), a.runs_.end(), b.runs_.begin(),
                      [](const AttributedString::Run& x, const AttributedString::Run& y) {
                          return x.length == y.length &&
                                 equalAttributes(x.attributes, y.attributes);
                      });
}

} // namespace dresk
