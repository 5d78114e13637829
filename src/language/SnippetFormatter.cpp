#include "language/SnippetFormatter.h"

#include "Foundation/Unicode.h"

namespace dresk {

namespace {

String inOneLine(const Snippet& snippet) {
    String text = snippet.plainTextContent().value_or(String());
    std::erase_if(text, [](char16_t unit) { return unit == u'\n' || unit == u'\r'; });
    return text;
}

} // namespace

String SnippetFormatter::stringForObjectValue(const SnippetGroup& group) const {
    return group.name().value_or(String());
}

String SnippetFormatter::stringForObjectValue(const Snippet& snippet) const {
    if (snippet.label().has_value() && !snippet.label()->empty())
        return *snippet.label();
    return inOneLine(snippet);
}

std::optional<AttributedString> SnippetFormatter::attributedStringForObjectValue(
    const Snippet& snippet, const AttributedString::Attributes& defaultAttributes) const {
    if (!filter_.has_value() || filter_->empty())
        return std::nullopt;
    const String text = inOneLine(snippet);
    const Range match = rangeOfString(text, *filter_, CompareOptions::CaseInsensitive);
    if (match.location == NotFound)
        return std::nullopt;
    auto marked = std::make_shared<TextAttributes>();
    marked->foregroundColor = filteredTextColor_;
    marked->backgroundColor = TextColor{1, 1, 0, 1};
    AttributedString result(text, defaultAttributes);
    result.setAttributes(std::move(marked), match);
    return result;
}

} // namespace dresk
