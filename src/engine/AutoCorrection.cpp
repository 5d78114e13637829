#include "engine/AutoCorrection.h"

#include <algorithm>

#include "Foundation/Unicode.h"
#include "engine/AutoTextUtils.h"

namespace dresk {

namespace {

bool contains(const DRFunctionAvailability::List& list, const std::optional<String>& text) {
    return list.has_value() && text.has_value() &&
           std::find(list->begin(), list->end(), *text) != list->end();
}

bool mayStandBeforeWord(char16_t unit) {
    constexpr char16_t keypadEnter = 3;
    return unit == u' ' || unit == u'\n' || unit == u'\r' || unit == keypadEnter;
}

} // namespace

void AutoCorrection::update(const std::function<void(Settings&)>& change) {
    const std::lock_guard lock(mutex_);
    auto settings = std::make_shared<Settings>(*settings_);
    change(*settings);
    isActive_ = settings->capitalizeNewSentences || settings->correctDoubleCapitals;
    settings_ = std::move(settings);
}

std::shared_ptr<const AutoCorrection::Settings> AutoCorrection::current() const {
    const std::lock_guard lock(mutex_);
    return settings_;
}

bool AutoCorrection::isTrigger(StringView typed) const {
    return !typed.empty() &&
           (typed.back() == u' ' || lowercaseLetterCharacterSet_.contains(typed.back()));
}

std::optional<String> AutoCorrection::capitalize(StringView text) const {
    if (text.size() < 2 || !isTrigger(text))
        return std::nullopt;
    const auto settings = current();
    if (settings->capitalizeNewSentences &&
        lowercaseLetterCharacterSet_.contains(text[text.size() - 2]))
        return capitalizeSentence(*settings, text);
    return lowerSecondCapital(*settings, text);
}

std::optional<String> AutoCorrection::capitalizeSentence(const Settings& settings,
                                                         StringView text) const {
    const std::size_t length = text.size();
    if (length > 2 && !AutoTextUtils::shouldCapitalize(text))
        return std::nullopt;
    for (const String& entry : settings.capitalizationExcludedAbbreviations)
        if (!entry.empty() && entry.size() + 3 <= length &&
            equalStrings(text.substr(length - 3 - entry.size(), entry.size()), entry,
                         CompareOptions::CaseInsensitive))
            return std::nullopt;
    return uppercaseString(text.substr(length - 2, 1));
}

std::optional<String> AutoCorrection::lowerSecondCapital(const Settings& settings,
                                                         StringView text) const {
    const std::size_t length = text.size();
    if (text.back() == u' ' || length < 3 || !settings.correctDoubleCapitals ||
        !uppercaseLetterCharacterSet_.contains(text[length - 2]) ||
        !uppercaseLetterCharacterSet_.contains(text[length - 3]))
        return std::nullopt;
    if (length > 3 && !mayStandBeforeWord(text[length - 4]))
        return std::nullopt;
    const auto& excluded = settings.doubleCapitalsCorrectionExclusion;
    if (excluded.has_value() &&
        std::find(excluded->begin(), excluded->end(), text.substr(length - 3)) != excluded->end())
        return std::nullopt;
    return lowercaseString(text.substr(length - 2, 1));
}

// Every mode but 0 and 1 takes the lists as those to include. That is meant, also for mode 3.
bool AutoCorrection::isAvailable(const std::function<std::optional<String>()>& bundleIdentifier,
                                 const std::optional<String>& inputSourceIdentifier) const {
    const auto settings = current();
    const DRFunctionAvailability& rule = settings->availability;
    if (rule.availability() != 0 &&
        contains(rule.applications(), bundleIdentifier()) == (rule.availability() == 1))
        return false;
    return rule.inputMethodsOption() == 0 ||
           contains(rule.inputMethods(), inputSourceIdentifier) != (rule.inputMethodsOption() == 1);
}

} // namespace dresk
