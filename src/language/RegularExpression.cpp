#include "language/RegularExpression.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include <unicode/uregex.h>

namespace dresk {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr auto LongestSearch = std::chrono::milliseconds(250);
// In the library's ticks of some ten thousand steps.
constexpr int32_t LongestMatchTicks = 1000;
constexpr int32_t LargestStackBytes = 16 * 1024 * 1024;
constexpr std::size_t LongestPattern = 65536;

// One step over a back reference takes time with its length, and the library asks for the deadline
// only every ten thousand steps.
constexpr std::size_t LongestTextForBackReferences = 4096;

bool hasBackReference(StringView pattern) {
    for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
        if (pattern[i] != u'\\')
            continue;
        ++i;
        if ((pattern[i] >= u'1' && pattern[i] <= u'9') || pattern[i] == u'k')
            return true;
    }
    return false;
}

struct Deadline {
    SteadyClock::time_point end = SteadyClock::now() + LongestSearch;
    unsigned calls = 0;

    bool isPast() const { return SteadyClock::now() > end; }
    // Asks the clock at every 1024th call only.
    bool isPastOccasionally() { return (++calls & 1023) == 0 && isPast(); }
};

UBool onMatchTick(const void* context, int32_t /*steps*/) {
    return !static_cast<const Deadline*>(context)->isPast();
}

UBool onFindProgress(const void* context, int64_t /*index*/) {
    return !const_cast<Deadline*>(static_cast<const Deadline*>(context))->isPastOccasionally();
}

void readGroups(URegularExpression* expression, RegularExpression::Groups& groups) {
    UErrorCode status = U_ZERO_ERROR;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const auto number = static_cast<int32_t>(i);
        const int32_t start = uregex_start(expression, number, &status);
        const int32_t end = uregex_end(expression, number, &status);
        if (U_FAILURE(status) || start < 0)
            groups[i] = {NotFound, 0};
        else
            groups[i] = {static_cast<std::uint64_t>(start),
                         static_cast<std::uint64_t>(end - start)};
    }
}

bool isDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

void appendGroup(String& result, const Range& group, StringView source) {
    if (group.location < source.size())
        result.append(source.substr(group.location, group.length));
}

} // namespace

std::optional<RegularExpression> RegularExpression::compile(StringView pattern,
                                                            bool caseInsensitive) {
    if (pattern.size() > LongestPattern)
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    URegularExpression* expression =
        uregex_open(pattern.data(), static_cast<int32_t>(pattern.size()),
                    caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0, &where, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    std::shared_ptr<URegularExpression> owner(expression, uregex_close);
    uregex_setTimeLimit(expression, LongestMatchTicks, &status);
    uregex_setStackLimit(expression, LargestStackBytes, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    return RegularExpression(std::move(owner), hasBackReference(pattern));
}

bool RegularExpression::enumerateMatches(StringView text,
                                         const std::function<bool(const Groups&)>& handler) const {
    const std::size_t longestText =
        hasBackReference_ ? LongestTextForBackReferences
                          : static_cast<std::size_t>(std::numeric_limits<int32_t>::max());
    if (text.size() > longestText)
        return false;
    URegularExpression* const expression = expression_.get();
    Deadline deadline;
    UErrorCode status = U_ZERO_ERROR;
    uregex_setMatchCallback(expression, onMatchTick, &deadline, &status);
    uregex_setFindProgressCallback(expression, onFindProgress, &deadline, &status);
    // An empty text still needs a place.
    uregex_setText(expression, text.empty() ? u"" : text.data(), static_cast<int32_t>(text.size()),
                   &status);
    const int32_t groupCount = U_SUCCESS(status) ? uregex_groupCount(expression, &status) : 0;
    Groups groups(static_cast<std::size_t>(groupCount) + 1);
    bool goesOn = true;
    while (goesOn && uregex_findNext(expression, &status)) {
        readGroups(expression, groups);
        goesOn = handler(groups) && !deadline.isPastOccasionally();
    }
    // Nothing of this call outlives it.
    UErrorCode ignored = U_ZERO_ERROR;
    uregex_setMatchCallback(expression, nullptr, nullptr, &ignored);
    uregex_setFindProgressCallback(expression, nullptr, nullptr, &ignored);
    uregex_setText(expression, u"", 0, &ignored);
    return goesOn && U_SUCCESS(status);
}

String RegularExpression::replacementString(StringView replacementTemplate, const Groups& groups,
                                            StringView source) {
    String result;
    const std::size_t groupCount = groups.size() - 1;
    for (std::size_t i = 0; i < replacementTemplate.size(); ++i) {
        const char16_t unit = replacementTemplate[i];
        const bool hasNext = i + 1 < replacementTemplate.size();
        if (unit == u'\\' && hasNext) {
            result.push_back(replacementTemplate[++i]);
        } else if (unit == u'$' && hasNext && isDigit(replacementTemplate[i + 1])) {
            // No more digits than the number of groups has belong to the reference.
            std::size_t number = 0;
            std::size_t widest = groupCount;
            do {
                number = number * 10 + (replacementTemplate[++i] - u'0');
                widest /= 10;
            } while (widest > 0 && i + 1 < replacementTemplate.size() &&
                     isDigit(replacementTemplate[i + 1]));
            if (number < groups.size())
                appendGroup(result, groups[number], source);
        } else {
            result.push_back(unit);
        }
    }
    return result;
}

} // namespace dresk
