#include <array>

#include "language/ContentRewriter.h"
#include "language/SnippetParser.h"
#include "language/SnippetVariableUtils.h"

namespace dresk {

namespace {

constexpr char16_t Mark = u'%';

// The first that stands at a place wins.
constexpr std::array<StringView, 12> OldKeywords = {u"date:",  u"time:", u"clipboard", u"snippet:",
                                                    u"field:", u"fill:", u"key:",      u"|",
                                                    u"<",      u"^",     u">",         u"v"};

struct OldKey {
    StringView name;
    StringView key;
    std::uint16_t keyCode;
};

constexpr OldKey OldKeys[] = {
    {u"enter", u"↩", 36}, {u"tab", u"⇥", 48}, {u"esc", u"⎋", 53}, {u"<", u"←", 123},
    {u"^", u"↑", 126},    {u">", u"→", 124},  {u"v", u"↓", 125},
};

StringView findKeyword(StringView text, std::size_t startFrom) {
    for (const StringView keyword : OldKeywords)
        if (text.substr(startFrom).starts_with(keyword))
            return keyword;
    return {};
}

// Up to the next mark; null if there is none.
std::optional<StringView> findParam(StringView text, std::size_t startFrom) {
    const std::size_t end = text.find(Mark, startFrom);
    if (end == StringView::npos)
        return std::nullopt;
    return text.substr(startFrom, end - startFrom);
}

// A key that the older mark-up does not know still becomes a token, without key and code. That is
// meant.
String keyBody(StringView name) {
    SnippetKeyVariable variable;
    for (const OldKey& key : OldKeys) {
        if (key.name == name) {
            variable.setKey(String(key.key));
            variable.setKeyCode(key.keyCode);
        }
    }
    return *variable.toString();
}

String newBody(StringView keyword, StringView param) {
    if (keyword == u"key:")
        return keyBody(param);
    if (keyword == u"clipboard" || keyword == u"|")
        return String(keyword);
    if (!keyword.ends_with(u':'))
        return keyBody(keyword);
    return String(keyword == u"fill:" ? u"field:" : keyword) +
           SnippetVariableUtils::escapeParam(param);
}

} // namespace

void SnippetParser::convertOldSnippet(Snippet& snippet) const {
    if (!snippet.hasContent())
        return;
    const AttributedString content = *snippet.richTextContent();
    ContentRewriter rewriter(content);
    const StringView text = rewriter.text();
    for (std::size_t mark = text.find(Mark); mark != StringView::npos;) {
        const StringView keyword = findKeyword(text, mark + 1);
        std::size_t end = mark + 1 + keyword.size();
        StringView param;
        bool isComplete = !keyword.empty();
        if (keyword.ends_with(u':')) {
            const auto found = findParam(text, end);
            isComplete = found.has_value();
            param = found.value_or(StringView());
            end += param.size() + 1;
        }
        if (isComplete) {
            rewriter.copyTo(mark);
            rewriter.insert(SnippetVariableUtils::token(newBody(keyword, param)),
                            rewriter.attributes());
            rewriter.skipTo(end);
        }
        mark = text.find(Mark, isComplete ? end : mark + 1);
    }
    snippet.setRichTextContent(rewriter.finishAttributed());
}

} // namespace dresk
