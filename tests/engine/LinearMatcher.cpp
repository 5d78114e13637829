#include "engine/LinearMatcher.h"

#include <algorithm>

#include "Foundation/Unicode.h"

namespace dresk {

namespace {

bool contains(const DRFunctionAvailability::List& list, const std::optional<String>& text) {
    return list.has_value() && text.has_value() &&
           std::count(list->begin(), list->end(), *text) > 0;
}

} // namespace

SnippetMatches LinearMatcher::find(const SnippetGroupArray& groups, StringView letters,
                                   char16_t trigger, StringView lettersWithoutSeparator) const {
    SnippetMatches pairs;
    for (const auto& group : groups) {
        const auto kind = group->expandTrigger();
        const auto delimiters = group->delimiters().value_or(defaults_);
        const bool fires =
            ((kind == 1 || kind == 2) && trigger != 0 && delimiters.contains(trigger)) ||
            (kind == 0 && trigger != 0) || (kind == 4 && trigger == 0);
        if (!fires)
            continue;
        const auto& rule = group->availability();
        const bool listed = contains(rule.applications(), bundleIdentifier);
        const auto mode = rule.availability();
        if (!(mode == 0 || (mode == 1 && !listed) || (mode == 2 && listed)))
            continue;
        if (rule.inputMethodsOption() != 0 && inputSource.has_value() &&
            contains(rule.inputMethods(), inputSource) == (rule.inputMethodsOption() == 1))
            continue;
        const StringView checked = kind == 0 ? letters : lettersWithoutSeparator;
        const String prefix = group->abbreviationPrefix().value_or(String());
        if (prefix.empty()) {
            checkGroup(*group, checked, {0, 0}, true, pairs);
            continue;
        }
        if (prefix.size() >= checked.size())
            continue;
        for (std::size_t i = 0; i + prefix.size() <= checked.size();) {
            if (!equalStrings(checked.substr(i, prefix.size()), prefix,
                              CompareOptions::CaseInsensitive)) {
                ++i;
                continue;
            }
            if (i + prefix.size() < checked.size() &&
                mayStandAt(*group, checked, static_cast<std::int64_t>(i)))
                checkGroup(*group, checked, {i, prefix.size()}, false, pairs);
            i += prefix.size();
        }
    }
    return pairs;
}

void LinearMatcher::checkGroup(const SnippetGroup& group, StringView letters, Range prefixRange,
                               bool checkExpandAfter, SnippetMatches& pairs) const {
    for (const auto& snippet : group.items()) {
        const bool caseSensitive = snippet->caseSensitivity() == 0;
        std::optional<String> typed;
        if (snippet->abbreviation().has_value())
            typed = check(*snippet->abbreviation(), snippet->abbreviationHash(), group, letters,
                          caseSensitive, checkExpandAfter);
        for (std::size_t i = 0;
             !typed.has_value() && snippet->aliases().has_value() && i < snippet->aliases()->size();
             ++i)
            typed = check((*snippet->aliases())[i], (*snippet->aliasHashes())[i], group, letters,
                          caseSensitive, checkExpandAfter);
        if (!typed.has_value())
            continue;
        const String prefix(letters.substr(prefixRange.location, prefixRange.length));
        if (group.abbreviationPrefix().has_value() && caseSensitive &&
            prefix != *group.abbreviationPrefix())
            continue;
        pairs.emplace_back(snippet, prefix + *typed);
    }
}

std::optional<String> LinearMatcher::check(StringView abbreviation, std::uint64_t hash,
                                           const SnippetGroup& group, StringView letters,
                                           bool caseSensitive, bool checkExpandAfter) const {
    const std::size_t n = abbreviation.size();
    if (n == 0 || n > letters.size())
        return std::nullopt;
    const StringView last = letters.substr(letters.size() - n);
    if (hashOfLowercaseString(last) != hash)
        return std::nullopt;
    const auto start = static_cast<std::int64_t>(letters.size() - n);
    if (checkExpandAfter && !mayStandAt(group, letters, start))
        return std::nullopt;
    const auto options = caseSensitive ? CompareOptions::Exact : CompareOptions::CaseInsensitive;
    if (!equalStrings(last, abbreviation, options))
        return std::nullopt;
    return String(last);
}

bool LinearMatcher::mayStandAt(const SnippetGroup& group, StringView letters,
                               std::int64_t index) const {
    const auto& spaces = CharacterSet::whitespaceAndNewlineCharacterSet();
    const auto mode = group.expandAfter();
    if (mode == 2)
        return true;
    if (index == 0)
        return mode != 3;
    const auto unitAt = [&](std::int64_t i) { return letters[static_cast<std::size_t>(i)]; };
    char16_t before = unitAt(index - 1);
    if (before == 0xFFFC)
        return true;
    if (mode == 0) {
        if (before == u'\n')
            before = u'\r';
        return group.expandAfterDelimiters().value_or(defaults_).contains(before);
    }
    if (mode == 1)
        return spaces.contains(before);
    if (mode != 3)
        return false;
    bool seen = false;
    for (std::int64_t i = index - 1; i >= 0; --i) {
        if (!CharacterSet::decimalDigitCharacterSet().contains(unitAt(i)))
            return seen && (spaces.contains(unitAt(i)) || defaults_.contains(unitAt(i)));
        seen = true;
    }
    return seen;
}

} // namespace dresk
