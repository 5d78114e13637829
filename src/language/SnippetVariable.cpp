#include "language/SnippetVariable.h"

#include <algorithm>
#include <cmath>

#include "language/DecimalFormatter.h"

namespace dresk {

SnippetVariable::SnippetVariable(const SnippetVariableParams& params)
    : isOptional_(params.contains(u"optional")),
      isSelected_((integerForKey(params, u"optional", 0) & 1) != 0),
      isReadonly_(params.contains(u"readonly")) {}

std::optional<String> SnippetVariable::toString() const {
    SnippetParamsText text;
    if (isOptional_)
        text.add(u"optional", isSelected_ ? 1 : 0);
    if (canSetReadonly() && isReadonly_)
        text.add(u"readonly");
    if (text.text().empty())
        return std::nullopt;
    return text.text();
}

SnippetKeyVariable::SnippetKeyVariable(const SnippetVariableParams& params)
    : key_(stringForKey(params, u"key")),
      keyCode_(static_cast<std::uint16_t>(integerForKey(params, u"code", 65535))),
      modifiers_(static_cast<std::uint64_t>(integerForKey(params, u"modifiers", 0))),
      count_(static_cast<std::uint64_t>(
          std::max<std::int64_t>(integerForKey(params, u"count", 1), 0))),
      delay_(doubleForKey(params, u"delay", 0)) {
    if (!std::isfinite(delay_))
        delay_ = 0;
}

std::optional<String> SnippetKeyVariable::toString() const {
    SnippetParamsText text;
    // The display text is written as it is, so one with a blank or a colon reads back differently.
    // That is meant, and so is the word for a missing one.
    text.add(u"key", key_.value_or(u"(null)"));
    text.add(u"code", keyCode_);
    if (modifiers_ != 0)
        text.add(u"modifiers", fromUTF8(std::to_string(modifiers_)));
    if (count_ >= 2)
        text.add(u"count", fromUTF8(std::to_string(count_)));
    if (delay_ > 0)
        text.add(u"delay", DecimalFormatter(u"en_US", true).stringFromNumber(delay_));
    return text.text();
}

} // namespace dresk
