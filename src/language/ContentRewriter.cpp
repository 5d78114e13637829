#include "language/ContentRewriter.h"

#include <algorithm>

namespace dresk {

ContentRewriter::ContentRewriter(const Content& source) {
    if (const auto* attributed = std::get_if<AttributedString>(&source)) {
        text_ = attributed->string();
        runs_ = &attributed->runs();
    } else {
        text_ = std::get<String>(source);
    }
}

ContentRewriter::ContentRewriter(const AttributedString& source)
    : text_(source.string()), runs_(&source.runs()) {}

AttributedString::Attributes ContentRewriter::attributes() const {
    if (runs_ == nullptr || runs_->empty())
        return nullptr;
    return (*runs_)[std::min(runIndex_, runs_->size() - 1)].attributes;
}

void ContentRewriter::copyTo(std::uint64_t index) {
    advanceTo(index, true);
}

void ContentRewriter::skipTo(std::uint64_t index) {
    advanceTo(index, false);
}

void ContentRewriter::advanceTo(std::uint64_t index, bool copies) {
    index = std::min<std::uint64_t>(index, text_.size());
    if (index <= position_)
        return;
    if (copies)
        result_.append(text_.substr(position_, index - position_));
    std::uint64_t left = runs_ != nullptr ? index - position_ : 0;
    while (left > 0) {
        const AttributedString::Run& run = (*runs_)[runIndex_];
        const std::uint64_t taken = std::min(left, run.length - runOffset_);
        if (copies)
            appendRun(taken, run.attributes);
        left -= taken;
        runOffset_ += taken;
        if (runOffset_ == run.length) {
            ++runIndex_;
            runOffset_ = 0;
        }
    }
    position_ = index;
}

void ContentRewriter::insert(StringView text, AttributedString::Attributes attributes) {
    result_.append(text);
    if (runs_ != nullptr)
        appendRun(text.size(), std::move(attributes));
}

void ContentRewriter::insert(const AttributedString& text) {
    result_.append(text.string());
    if (runs_ != nullptr)
        resultRuns_.insert(resultRuns_.end(), text.runs().begin(), text.runs().end());
}

void ContentRewriter::appendRun(std::uint64_t length, AttributedString::Attributes attributes) {
    if (length == 0)
        return;
    if (!resultRuns_.empty() && resultRuns_.back().attributes == attributes)
        resultRuns_.back().length += length;
    else
        resultRuns_.push_back({length, std::move(attributes)});
}

ContentRewriter::Content ContentRewriter::finish() {
    if (runs_ != nullptr)
        return finishAttributed();
    copyTo(text_.size());
    return std::move(result_);
}

AttributedString ContentRewriter::finishAttributed() {
    copyTo(text_.size());
    return {std::move(result_), std::move(resultRuns_)};
}

} // namespace dresk
