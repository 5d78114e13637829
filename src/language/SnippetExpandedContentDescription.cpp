#include "language/SnippetExpandedContentDescription.h"

#include <algorithm>

#include "language/DRScript.h"
#include "language/SnippetFieldVariable.h"

namespace dresk {

namespace {

String number(std::uint64_t value) {
    return fromUTF8(std::to_string(value));
}

String inQuotes(StringView text) {
    String result = u"\"";
    for (const char16_t unit : text) {
        if (unit == u'\n')
            result.append(u"\\n");
        else if (unit == u'\t')
            result.append(u"\\t");
        else if (unit == u'\r')
            result.append(u"\\r");
        else
            result.push_back(unit);
    }
    result.push_back(u'"');
    return result;
}

String describeAttributed(const AttributedString& text) {
    if (text.runs().empty())
        return u"rich \"\"";
    String result = u"rich ";
    std::vector<AttributedString::Attributes> known;
    std::uint64_t start = 0;
    for (const AttributedString::Run& run : text.runs()) {
        result.append(inQuotes(StringView(text.string()).substr(start, run.length)));
        start += run.length;
        if (equalAttributes(run.attributes, nullptr)) {
            result.push_back(u'-');
            continue;
        }
        const auto place = std::find_if(known.begin(), known.end(), [&](const auto& attributes) {
            return equalAttributes(attributes, run.attributes);
        });
        result.push_back(static_cast<char16_t>(u'A' + (place - known.begin()) % 26));
        if (place == known.end())
            known.push_back(run.attributes);
    }
    return result;
}

String describe(const SnippetVariable& variable) {
    const String place = u"@" + number(variable.location());
    const String body = u"{" + variable.toString().value_or(String()) + u"}";
    if (const auto* reference = dynamic_cast<const SnippetAbbreviationVariable*>(&variable))
        return u"script" + place + u"+" + number(reference->scriptLength()) + body;
    if (const auto* field = dynamic_cast<const SnippetFieldVariable*>(&variable))
        return u"field" + place + body +
               (field->richTextValue().has_value() ? describeAttributed(*field->richTextValue())
                                                   : String());
    if (const auto* key = dynamic_cast<const SnippetKeyVariable*>(&variable))
        return u"key" + place + (key->count() == 1 ? String() : u"x" + number(key->count())) + body;
    return u"caret" + place;
}

String describe(const DRScript::List& scripts) {
    String result = u"[";
    for (const auto& script : scripts) {
        if (result.size() > 1)
            result.push_back(u' ');
        result.append(u"@" + number(script->location()) + u" ");
        if (script->isAppleScript())
            result.append(u"apple ");
        result.append(inQuotes(script->script()));
        if (!script->nestedScripts().empty())
            result.append(u" " + describe(script->nestedScripts()));
    }
    return result + u"]";
}

} // namespace

String describeSnippetExpandedContent(const SnippetExpandedContent& content) {
    String result;
    if (const auto* attributed = std::get_if<AttributedString>(&content.content()))
        result = describeAttributed(*attributed);
    else
        result = inQuotes(content.string());
    for (const auto& variable : content.variables())
        result.append(u" " + describe(*variable));
    if (!content.scripts().empty())
        result.append(u" scripts" + describe(content.scripts()));
    if (content.hasSuffix())
        result.append(u" suffix" + inQuotes(*content.suffix()));
    return result;
}

} // namespace dresk
