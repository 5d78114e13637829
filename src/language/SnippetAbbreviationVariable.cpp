#include "language/SnippetAbbreviationVariable.h"

#include "language/SnippetVariableUtils.h"

namespace dresk {

SnippetAbbreviationVariable::SnippetAbbreviationVariable(const SnippetVariableParams& params)
    : SnippetVariable(params), abbreviation_(stringForKey(params, u"snippet")),
      uuid_(stringForKey(params, u"uuid")) {}

std::optional<String> SnippetAbbreviationVariable::toString() const {
    SnippetParamsText text;
    text.add(u"snippet", SnippetVariableUtils::escapeParam(abbreviation_.value_or(String())));
    if (uuid_.has_value())
        text.add(u"uuid", SnippetVariableUtils::escapeParam(*uuid_));
    if (isOptional())
        text.addParams(SnippetVariable::toString());
    return text.text();
}

} // namespace dresk
