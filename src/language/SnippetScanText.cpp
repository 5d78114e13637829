#include "language/SnippetScanText.h"

#include <algorithm>

#include "language/SnippetVariableUtils.h"

namespace dresk {

SnippetScanText::SnippetScanText(const AttributedString& content, bool isRichText)
    : isRichText_(isRichText), rest_(content.string()) {
    if (isRichText_)
        restRuns_.assign(content.runs().rbegin(), content.runs().rend());
}

bool SnippetScanText::findToken() {
    const std::size_t opening = rest().find(TokenOpening);
    const std::size_t closing =
        opening != StringView::npos ? rest().find(TokenClosing, opening) : StringView::npos;
    if (closing == StringView::npos) {
        moveToDone(rest().size());
        return false;
    }
    moveToDone(opening);
    tokenLength_ = closing + 1 - opening;
    return true;
}

StringView SnippetScanText::body() const {
    return rest().substr(1, tokenLength_ - 2);
}

AttributedString::Attributes SnippetScanText::attributes() const {
    return restRuns_.empty() ? nullptr : restRuns_.back().attributes;
}

void SnippetScanText::keepToken() {
    moveToDone(tokenLength_);
}

void SnippetScanText::deleteToken() {
    drop(tokenLength_);
}

void SnippetScanText::replaceToken(StringView text) {
    appendRun({text.size(), attributes()});
    done_.append(text);
    drop(tokenLength_);
}

void SnippetScanText::replaceToken(const AttributedString& text) {
    for (const AttributedString::Run& run : text.runs())
        appendRun(run);
    done_.append(text.string());
    drop(tokenLength_);
}

void SnippetScanText::replaceTokenAndScan(StringView text) {
    auto tokenAttributes = attributes();
    drop(tokenLength_);
    prepend(text);
    if (isRichText_ && !text.empty())
        restRuns_.push_back({text.size(), std::move(tokenAttributes)});
}

void SnippetScanText::replaceTokenAndScan(const AttributedString& text) {
    drop(tokenLength_);
    prepend(text.string());
    if (isRichText_)
        restRuns_.insert(restRuns_.end(), text.runs().rbegin(), text.runs().rend());
}

SnippetScanText::Content SnippetScanText::finish() {
    if (!isRichText_)
        return std::move(done_);
    return AttributedString(std::move(done_), std::move(doneRuns_));
}

void SnippetScanText::moveToDone(std::size_t length) {
    done_.append(rest_, front_, length);
    front_ += length;
    takeRuns(length, [this](AttributedString::Run run) { appendRun(std::move(run)); });
}

void SnippetScanText::drop(std::size_t length) {
    front_ += length;
    takeRuns(length, [](const AttributedString::Run&) {});
}

template <class Receiver>
void SnippetScanText::takeRuns(std::size_t length, Receiver receiver) {
    std::uint64_t left = isRichText_ ? length : 0;
    while (left > 0) {
        AttributedString::Run& run = restRuns_.back();
        const std::uint64_t taken = std::min(left, run.length);
        left -= taken;
        run.length -= taken;
        receiver({taken, run.attributes});
        if (run.length == 0)
            restRuns_.pop_back();
    }
}

void SnippetScanText::appendRun(AttributedString::Run run) {
    if (!isRichText_ || run.length == 0)
        return;
    if (!doneRuns_.empty() && doneRuns_.back().attributes == run.attributes)
        doneRuns_.back().length += run.length;
    else
        doneRuns_.push_back(std::move(run));
}

void SnippetScanText::prepend(StringView text) {
    if (text.size() > front_) {
        // As much room again as there is text, so that growing stays rare.
        const std::size_t room = text.size() + rest().size();
        String grown(room, u'\0');
        grown.append(rest());
        rest_ = std::move(grown);
        front_ = room;
    }
    front_ -= text.size();
    std::copy(text.begin(), text.end(), rest_.begin() + static_cast<std::ptrdiff_t>(front_));
}

} // namespace dresk
