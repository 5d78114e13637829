#include "ui/SnippetCellContent.h"

#include "Foundation/Unicode.h"

namespace dresk {

namespace {

/// More than fits into any row; laying out megabytes would hold up the window.
constexpr std::size_t LongestTitle = 1000;

void cut(String& text) {
    if (text.size() <= LongestTitle)
        return;
    text.resize(isHighSurrogate(text[LongestTitle - 1]) ? LongestTitle - 1 : LongestTitle);
}

/// The first run that has attributes; the others of a formatted title have none.
Range markedRange(const AttributedString& text) {
    std::uint64_t location = 0;
    for (const AttributedString::Run& run : text.runs()) {
        if (run.attributes != nullptr)
            return {location, run.length};
        location += run.length;
    }
    return {};
}

void setTitle(SnippetCellContent& content, String title, Range match) {
    content.title = std::move(title);
    cut(content.title);
    if (match.end() <= content.title.size())
        content.titleMatch = match;
}

} // namespace

SnippetCellContent cellContentOfSnippet(const Snippet& snippet, const SnippetFormatter& formatter,
                                        const std::optional<String>& filter) {
    SnippetCellContent content;
    if (const auto title = formatter.attributedStringForObjectValue(snippet, nullptr))
        setTitle(content, title->string(), markedRange(*title));
    else
        setTitle(content, formatter.stringForObjectValue(snippet), {});
    if (!snippet.abbreviation().has_value() || snippet.abbreviation()->empty())
        return content;
    content.abbreviation = *snippet.abbreviation();
    const SnippetGroup* group = snippet.parentGroup();
    if (group != nullptr && group->hasAbbreviationPrefix())
        content.abbreviationPrefix = *group->abbreviationPrefix();
    const Range match =
        rangeOfString(content.abbreviationPrefix + content.abbreviation, filter.value_or(String()),
                      CompareOptions::CaseInsensitive);
    if (match.location != NotFound)
        content.abbreviationMatch = match;
    return content;
}

SnippetCellContent cellContentOfGroup(const SnippetGroup& group,
                                      const SnippetFormatter& formatter) {
    SnippetCellContent content;
    setTitle(content, formatter.stringForObjectValue(group), {});
    content.isGroup = true;
    content.isDisabled = group.isDisabled();
    return content;
}

} // namespace dresk
