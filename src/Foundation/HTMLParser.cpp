#include <libxml/HTMLparser.h>
#include <libxml/parserInternals.h>

#include "Foundation/HTML.h"
#include "Foundation/HTMLBytes.h"
#include "Foundation/HTMLReader.h"

namespace dresk {

namespace {

constexpr std::size_t MaximumBytes = std::size_t{16} * 1024 * 1024;
/// Steps that the parser may lose on end tags that match nothing: it looks through all open
/// elements for each of them.
constexpr std::size_t MaximumSearch = 50'000'000;

struct ContextCloser {
    void operator()(htmlParserCtxt* context) const { htmlFreeParserCtxt(context); }
};

struct Parse {
    HTMLReader reader;
    htmlParserCtxt* context = nullptr;
    std::size_t searched = 0;
};

std::string_view view(const xmlChar* text) {
    return text != nullptr ? reinterpret_cast<const char*>(text) : std::string_view();
}

void onStartElement(void* data, const xmlChar* name, const xmlChar** attributes) {
    std::vector<HTMLReader::Attribute> list;
    for (; attributes != nullptr && attributes[0] != nullptr; attributes += 2)
        list.emplace_back(view(attributes[0]), view(attributes[1]));
    static_cast<Parse*>(data)->reader.startElement(view(name), list);
}

void onEndElement(void* data, const xmlChar*) {
    static_cast<Parse*>(data)->reader.endElement();
}

void onCharacters(void* data, const xmlChar* text, int length) {
    static_cast<Parse*>(data)->reader.characters(
        view(text).substr(0, static_cast<std::size_t>(length)));
}

void onComment(void* data, const xmlChar* text) {
    static_cast<Parse*>(data)->reader.comment(view(text));
}

void onError(void* data, xmlError*) {
    auto* parse = static_cast<Parse*>(data);
    parse->searched += static_cast<std::size_t>(parse->context->nameNr);
    if (parse->searched > MaximumSearch)
        xmlStopParser(parse->context);
}

/// Events only: no tree, no entities from elsewhere, no network. Scripts and style sheets come as
/// CDATA, which nobody takes.
xmlSAXHandler handler() {
    xmlSAXHandler result{};
    result.startElement = onStartElement;
    result.endElement = onEndElement;
    result.characters = onCharacters;
    result.ignorableWhitespace = onCharacters;
    result.comment = onComment;
    result.initialized = XML_SAX2_MAGIC; // without it errors are not reported
    result.serror = onError;
    return result;
}

} // namespace

std::optional<AttributedString> attributedStringWithHTML(std::string_view bytes) {
    [[maybe_unused]] static const bool ready = (xmlInitParser(), true);
    if (bytes.size() > MaximumBytes)
        return std::nullopt;
    // The parser would put text at the top into a paragraph of its own.
    std::string html = "<html><body>" + decodeHTMLBytes(bytes);
    if (hasExcessiveAttributes(html))
        return std::nullopt;
    const std::unique_ptr<htmlParserCtxt, ContextCloser> context(
        htmlCreateMemoryParserCtxt(html.data(), static_cast<int>(html.size())));
    if (context == nullptr)
        return std::nullopt;
    html = std::string(); // the parser has a copy
    Parse parse;
    parse.context = context.get();
    *context->sax = handler();
    context->userData = &parse;
    htmlCtxtUseOptions(context.get(), HTML_PARSE_RECOVER | HTML_PARSE_NONET | HTML_PARSE_NODEFDTD |
                                          HTML_PARSE_IGNORE_ENC);
    xmlSwitchEncoding(context.get(), XML_CHAR_ENCODING_UTF8);
    htmlParseDocument(context.get());
    return parse.reader.finish();
}

} // namespace dresk
