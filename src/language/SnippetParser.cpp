#include "language/SnippetParser.h"

namespace dresk {

std::shared_ptr<SnippetExpandedContent>
SnippetParser::parseSnippet(const Snippet& snippet, const SnippetGroupArray& /*groups*/) const {
    if (!snippet.hasContent())
        return nullptr;
    auto expanded = std::make_shared<SnippetExpandedContent>();
    if (snippet.contentType() == SnippetContentType::RichText)
        expanded->setContent(*snippet.richTextContent());
    else
        expanded->setContent(snippet.richTextContent()->string());
    return expanded;
}

} // namespace dresk
