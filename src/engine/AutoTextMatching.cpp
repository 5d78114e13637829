#include "Foundation/Unicode.h"
#include "engine/AutoText.h"

namespace dresk {

std::shared_lock<std::shared_mutex> AutoText::lockGroups() const {
    return snippetGroups_ != nullptr ? std::shared_lock(snippetGroups_->lock)
                                     : std::shared_lock<std::shared_mutex>();
}

const SnippetGroupArray& AutoText::groups() const {
    static const SnippetGroupArray none;
    return snippetGroups_ != nullptr ? snippetGroups_->groups : none;
}

SnippetMatches AutoText::findSnippetsInLetters(StringView letters, char16_t trigger,
                                               StringView lettersWithoutSeparator) {
    SnippetMatches pairs;
    const auto groupsLock = lockGroups();
    const std::lock_guard lock(mutex_);
    findSnippets(letters, trigger, lettersWithoutSeparator, pairs);
    return pairs;
}

void AutoText::findSnippets(StringView letters, char16_t trigger,
                            StringView lettersWithoutSeparator, SnippetMatches& pairs) {
    hashesWithKey_.reset(letters);
    hashesWithoutKey_.reset(lettersWithoutSeparator);
    std::optional<String> bundleIdentifier;
    for (const auto& group : groups()) {
        if (!takesTrigger(*group, trigger) || !isAvailable(*group, bundleIdentifier))
            continue;
        // A delimiter is no part of an abbreviation.
        SuffixHashes& hashes = group->expandTrigger() == ExpandTrigger::Immediately
                                   ? hashesWithKey_
                                   : hashesWithoutKey_;
        if (group->hasAbbreviationPrefix())
            checkGroupWithPrefix(*group, hashes, pairs);
        else
            checkGroup(*group, hashes, {0, 0}, true, pairs);
    }
}

bool AutoText::takesTrigger(const SnippetGroup& group, char16_t trigger) const {
    switch (group.expandTrigger()) {
    case ExpandTrigger::AtDelimiter:
    case ExpandTrigger::AtSwallowedDelimiter: {
        const auto& own = group.delimiters();
        return trigger != 0 &&
               (own.has_value() ? own->contains(trigger) : defaultDelimiters_.contains(trigger));
    }
    case ExpandTrigger::Immediately:
        return trigger != 0;
    case ExpandTrigger::AtHotKey:
        return trigger == 0;
    default:
        return false;
    }
}

// `bundleIdentifier` is asked for at the first group that needs it and kept for the search.
bool AutoText::isAvailable(const SnippetGroup& group, std::optional<String>& bundleIdentifier) {
    const DRFunctionAvailability& rule = group.availability();
    const bool needsIdentifier = rule.availability() == 1 || rule.availability() == 2;
    if (needsIdentifier && !bundleIdentifier.has_value())
        bundleIdentifier = bundleIdentifierResolver_.getBundleIdentifier(
            macInputService_.lastProcessReceivedKeyEvent());
    return rule.allowsApplication(bundleIdentifier) &&
           rule.allowsInputSource(inputSourceIdentifier_);
}

// The prefix need not touch the abbreviation, and each of its occurrences gives a pair. That is
// meant.
void AutoText::checkGroupWithPrefix(const SnippetGroup& group, SuffixHashes& hashes,
                                    SnippetMatches& pairs) {
    const StringView letters = hashes.letters();
    const String& prefix = *group.abbreviationPrefix();
    if (prefix.size() >= letters.size())
        return;
    // Without an abbreviation at the end the prefix is not worth a walk through the letters.
    group.abbreviationIndex().find(hashes, hits_);
    if (hits_.empty())
        return;
    for (const Range& range : rangesOfString(letters, prefix, CompareOptions::CaseInsensitive))
        if (range.end() < letters.size() && checkExpandAfterOfGroup(group, letters, range.location))
            checkGroup(group, hashes, range, false, pairs);
}

void AutoText::checkGroup(const SnippetGroup& group, SuffixHashes& hashes, Range prefixRange,
                          bool checkExpandAfter, SnippetMatches& pairs) {
    const StringView letters = hashes.letters();
    group.abbreviationIndex().find(hashes, hits_);
    for (auto hit = hits_.begin(); hit != hits_.end();) {
        const std::uint32_t item = hit->item;
        const auto& snippet = group.items()[item];
        const bool caseSensitive = snippet->caseSensitivity() == SnippetCaseSensitivity::Exact;
        // The abbreviation wins over the aliases, an earlier alias over a later one.
        std::optional<StringView> typed;
        for (; hit != hits_.end() && hit->item == item; ++hit)
            if (!typed.has_value())
                typed = checkAbbreviation(hit->text == 0 ? *snippet->abbreviation()
                                                         : (*snippet->aliases())[hit->text - 1],
                                          letters, group, caseSensitive, checkExpandAfter);
        if (!typed.has_value())
            continue;
        const StringView prefix = letters.substr(prefixRange.location, prefixRange.length);
        if (caseSensitive && group.abbreviationPrefix().has_value() &&
            prefix != *group.abbreviationPrefix())
            continue;
        pairs.emplace_back(snippet, String(prefix).append(*typed));
    }
}

// The units as typed, or null.
std::optional<StringView> AutoText::checkAbbreviation(StringView abbreviation, StringView letters,
                                                      const SnippetGroup& group, bool caseSensitive,
                                                      bool checkExpandAfter) const {
    const std::size_t start = letters.size() - abbreviation.size();
    if (checkExpandAfter && !checkExpandAfterOfGroup(group, letters, start))
        return std::nullopt;
    const StringView typed = letters.substr(start);
    const auto options = caseSensitive ? CompareOptions::Exact : CompareOptions::CaseInsensitive;
    if (!equalStrings(typed, abbreviation, options))
        return std::nullopt;
    return typed;
}

bool AutoText::checkExpandAfterOfGroup(const SnippetGroup& group, StringView letters,
                                       std::uint64_t index) const {
    constexpr char16_t objectReplacement = 0xFFFC;
    if (group.expandAfter() == ExpandAfter::Anything)
        return true;
    if (index == 0)
        return group.expandAfter() != ExpandAfter::Digits;
    const char16_t unit = letters[index - 1];
    if (unit == objectReplacement)
        return true;
    switch (group.expandAfter()) {
    case ExpandAfter::Delimiter: {
        const auto& own = group.expandAfterDelimiters();
        const char16_t asTyped = unit == u'\n' ? u'\r' : unit;
        return own.has_value() ? own->contains(asTyped) : defaultDelimiters_.contains(asTyped);
    }
    case ExpandAfter::WhitespaceOrNewline:
        return whitespaceAndNewlines_.contains(unit);
    case ExpandAfter::Digits:
        return standsBehindDigits(letters, index);
    default:
        return false;
    }
}

// `index` is not 0. The group's own delimiters take no part here. That is meant.
bool AutoText::standsBehindDigits(StringView letters, std::uint64_t index) const {
    std::uint64_t start = index;
    while (start > 0 && decimalDigits_.contains(letters[start - 1]))
        --start;
    if (start == index)
        return false;
    return start == 0 || whitespaceAndNewlines_.contains(letters[start - 1]) ||
           defaultDelimiters_.contains(letters[start - 1]);
}

void AutoText::expandAtHotkey() {
    noteTapThread();
    if (macInputService_.isSameProcess() || snippetQuickSearchWindowVisible())
        return;
    SnippetMatches matches;
    {
        const auto groupsLock = lockGroups();
        const std::lock_guard lock(mutex_);
        findSnippets(letters_, 0, letters_, matches);
    }
    if (matches.empty())
        return;
    if (matches.size() > 1) {
        chooseBetween(std::move(matches));
        return;
    }
    hideSnippetSuggestion();
    sendSnippet(matches.front().first(), matches.front().second(), SnippetTrigger::HotKey);
}

void AutoText::chooseBetween(SnippetMatches matches) {
    hideSnippetSuggestion();
    suggestions_.assign(std::move(matches), true);
    postToMain("showSnippetSuggestion", &AutoText::showSnippetSuggestion);
}

} // namespace dresk
