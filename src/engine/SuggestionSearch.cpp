#include "engine/SuggestionSearch.h"

#include <algorithm>

#include "Foundation/Unicode.h"
#include "language/SnippetUtils.h"

namespace dresk {

namespace {

CompareOptions optionsOf(const Snippet& snippet) {
    return snippet.caseSensitivity() == SnippetCaseSensitivity::Exact
               ? CompareOptions::Exact
               : CompareOptions::CaseInsensitive;
}

bool canBeSuggested(const Snippet& snippet) {
    return snippet.abbreviation().has_value() && snippet.hasContent();
}

bool compareSnippetSuggestion(const SnippetMatch& a, const SnippetMatch& b) {
    if (a.second().size() != b.second().size())
        return a.second().size() > b.second().size();
    return compareCaseInsensitive(a.second(), b.second()) < 0;
}

} // namespace

SnippetMatches SuggestionSearch::find(const SnippetGroupArray& groups) {
    if (letters_.empty())
        return {};
    for (const auto& group : groups) {
        if (group->hasAbbreviationPrefix())
            searchGroupWithPrefix(*group);
        else
            searchGroup(*group);
    }
    std::stable_sort(sortedRows_.begin(), sortedRows_.end(), compareSnippetSuggestion);
    std::move(sortedRows_.begin(), sortedRows_.end(), std::back_inserter(rows_));
    return std::move(rows_);
}

bool SuggestionSearch::mayStandBehind(const SnippetGroup& group, std::size_t index) const {
    return index == 0 || checkExpandAfterMode(static_cast<std::uint64_t>(group.expandAfter()),
                                              letters_[index - 1]);
}

// Occurrences of the prefix may overlap here, and each counts: a snippet can appear more than once.
// That is meant.
void SuggestionSearch::searchGroupWithPrefix(const SnippetGroup& group) {
    const String& prefix = *group.abbreviationPrefix();
    std::size_t longest = 0;
    for (const auto& snippet : group.items())
        if (canBeSuggested(*snippet))
            longest = std::max(longest, prefix.size() + snippet->abbreviation()->size());
    // What was typed further back is longer than any abbreviation.
    const std::size_t start = letters_.size() - std::min(longest, letters_.size());
    std::vector<StringView> endings;
    for (Range hit = rangeOfString(letters_, prefix, CompareOptions::CaseInsensitive, start);
         hit.location != NotFound;
         hit = rangeOfString(letters_, prefix, CompareOptions::CaseInsensitive, hit.location + 1))
        if (mayStandBehind(group, hit.location))
            endings.push_back(letters_.substr(hit.location));
    if (endings.empty())
        return;
    String whole;
    for (const auto& snippet : group.items()) {
        if (!canBeSuggested(*snippet))
            continue;
        whole.assign(prefix).append(*snippet->abbreviation());
        for (const StringView ending : endings)
            if (whole.size() >= ending.size() &&
                equalStrings(StringView(whole).substr(0, ending.size()), ending,
                             optionsOf(*snippet)))
                rows_.emplace_back(snippet, String(ending));
    }
}

void SuggestionSearch::searchGroup(const SnippetGroup& group) {
    for (const auto& snippet : group.items()) {
        if (!canBeSuggested(*snippet))
            continue;
        if (const std::size_t length = typedLength(group, *snippet); length > 0)
            sortedRows_.emplace_back(snippet, snippet->abbreviation()->substr(0, length));
    }
}

// How many units of the abbreviation, as many as possible, end the letters; 0 for none.
std::size_t SuggestionSearch::typedLength(const SnippetGroup& group, const Snippet& snippet) const {
    const StringView abbreviation = *snippet.abbreviation();
    const CompareOptions options = optionsOf(snippet);
    const StringView last = letters_.substr(letters_.size() - 1);
    for (std::size_t length = std::min(abbreviation.size(), letters_.size()); length > 0;
         --length) {
        if (!equalStrings(abbreviation.substr(length - 1, 1), last, options))
            continue;
        const std::size_t start = letters_.size() - length;
        if (mayStandBehind(group, start) &&
            equalStrings(abbreviation.substr(0, length), letters_.substr(start), options))
            return length;
    }
    return 0;
}

} // namespace dresk
