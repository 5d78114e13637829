#include "engine/AutoText.h"

namespace dresk {

namespace {

/// How much text before the caret a correction asks the application for, in units.
constexpr std::int64_t AskedLength = 3;

} // namespace

void AutoText::setCapitalizeNewSentences(bool capitalize) {
    autoCorrection_.update([&](auto& settings) { settings.capitalizeNewSentences = capitalize; });
}

void AutoText::setCorrectDoubleCapitals(bool correct) {
    autoCorrection_.update([&](auto& settings) { settings.correctDoubleCapitals = correct; });
}

void AutoText::setAutoCorrectAvailability(DRFunctionAvailability availability) {
    autoCorrection_.update(
        [&](auto& settings) { settings.availability = std::move(availability); });
}

void AutoText::setCapitalizationExcludedAbbreviations(std::vector<String> abbreviations) {
    autoCorrection_.update([&](auto& settings) {
        settings.capitalizationExcludedAbbreviations = std::move(abbreviations);
    });
}

void AutoText::setDoubleCapitalsCorrectionExclusion(std::optional<std::vector<String>> exclusion) {
    autoCorrection_.update(
        [&](auto& settings) { settings.doubleCapitalsCorrectionExclusion = std::move(exclusion); });
}

// Behind a key that matched nothing and stands in the letters by now.
void AutoText::correctTyping(ZPKeyEventArgs& args) {
    if (!autoCorrection_.isActive() || !autoCorrection_.isTrigger(*args.s))
        return;
    String old;
    const auto replacement = replacementAt(*args.s, old);
    if (!replacement.has_value())
        return;
    autocorrectSnippet_ = Snippet::initWithAbbreviation(old, *replacement);
    autocorrectSnippet_->setParentGroup(autocorrectGroup_.get());
    // The letters go on as the user sees them, whatever the sending makes of them.
    String saved;
    {
        const std::lock_guard lock(mutex_);
        saved.swap(letters_);
    }
    const auto cancel = expand(autocorrectSnippet_, old, SnippetTrigger::Typed);
    args.cancel = cancel.value_or(false);
    if (cancel.has_value() && saved.size() >= 2)
        saved.replace(saved.size() - 2, 1, *replacement);
    setLetters(std::move(saved));
}

// What the unit before the key that was typed becomes, and that unit; null when it stays. The
// application is asked last, and only while the letters do not reach back far enough.
std::optional<String> AutoText::replacementAt(StringView typed, String& old) {
    std::optional<String> replacement;
    {
        const std::lock_guard lock(mutex_);
        if (letters_.size() > 2) {
            replacement = autoCorrection_.capitalize(letters_);
            old = letters_.substr(letters_.size() - 2, 1);
            if (!replacement.has_value())
                return std::nullopt;
        }
    }
    if (!isCorrectionAvailable())
        return std::nullopt;
    if (replacement.has_value())
        return replacement;
    auto text = macInputService_.getTextBeforeCaretWithMaxLength(AskedLength);
    if (!text.has_value() || text->empty())
        return std::nullopt;
    old = text->substr(text->size() - 1);
    return autoCorrection_.capitalize(text->append(typed));
}

bool AutoText::isCorrectionAvailable() {
    macInputService_.refreshContextInputSetting();
    if (macInputService_.contextInputSetting()->disableCapitalization)
        return false;
    return autoCorrection_.isAvailable(
        [this] {
            return bundleIdentifierResolver_.getBundleIdentifier(
                macInputService_.lastProcessReceivedKeyEvent());
        },
        inputSourceIdentifier());
}

} // namespace dresk
