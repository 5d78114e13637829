#include "language/SnippetClipboardVariable.h"

#include "language/SnippetVariableUtils.h"

namespace dresk {

namespace {

constexpr std::int64_t RegularExpressionsFlag = 1;
constexpr int MatchingOptionShift = 1;
constexpr std::int64_t MatchCaseFlag = 8;
constexpr std::int64_t MatchSnippetStyleFlag = 16;

} // namespace

SnippetClipboardVariable::SnippetClipboardVariable(const SnippetVariableParams& params)
    : SnippetVariable(params), find_(stringForKey(params, u"find")),
      replacement_(stringForKey(params, u"replacement")) {
    const std::int64_t flags = integerForKey(params, u"flags", 0);
    regularExpressions_ = (flags & RegularExpressionsFlag) != 0;
    matchingOption_ = flags >> MatchingOptionShift & 3;
    matchCase_ = (flags & MatchCaseFlag) != 0;
    matchSnippetStyle_ = (flags & MatchSnippetStyleFlag) != 0;
}

std::optional<String> SnippetClipboardVariable::toString() const {
    SnippetParamsText text;
    text.add(u"clipboard");
    if (find_.has_value())
        text.add(u"find", SnippetVariableUtils::escapeParam(*find_));
    if (replacement_.has_value())
        text.add(u"replacement", SnippetVariableUtils::escapeParam(*replacement_));
    text.add(u"flags", (regularExpressions_ ? RegularExpressionsFlag : 0) |
                           matchingOption_ << MatchingOptionShift |
                           (matchCase_ ? MatchCaseFlag : 0) |
                           (matchSnippetStyle_ ? MatchSnippetStyleFlag : 0));
    if (isOptional())
        text.addParams(SnippetVariable::toString());
    return text.text();
}

} // namespace dresk
