#include "language/SnippetVariableUtils.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "Foundation/CSVParser.h"
#include "Foundation/TextAttributes.h"
#include "language/ContentRewriter.h"
#include "language/SnippetAbbreviationVariable.h"
#include "language/SnippetClipboardVariable.h"
#include "language/SnippetDateTimeVariable.h"
#include "language/SnippetFieldVariable.h"

namespace dresk {

namespace {

constexpr std::array<StringView, 11> Keywords = {
    u"date:", u"time:", u"clipboard", u"snippet:", u"field", u"key:", u"|", u"◀", u"▲", u"▶", u"▼"};

// No file can have these names, so no picture is taken for a token.
constexpr StringView VariableCellName = u"/【】";
constexpr StringView AliasCellName = u"/alias";

using Maker = std::shared_ptr<SnippetVariable> (*)(const SnippetVariableParams&);

template <class Variable>
std::shared_ptr<SnippetVariable> make(const SnippetVariableParams& params) {
    return std::make_shared<Variable>(params);
}

struct VariableClass {
    StringView prefix;
    Maker maker;
};

constexpr VariableClass VariableClasses[] = {
    {u"field", make<SnippetFieldVariable>}, {u"snippet:", make<SnippetAbbreviationVariable>},
    {u"key:", make<SnippetKeyVariable>},    {u"date:", make<SnippetDateVariable>},
    {u"time:", make<SnippetTimeVariable>},  {u"clipboard", make<SnippetClipboardVariable>},
};

SnippetVariableParams parseParams(StringView body) {
    static const CharacterSet blank(u" ");
    const String nameKey = u"Name";
    const String valueKey = u"Value";
    SnippetVariableParams params;
    CSVParser parser(String(body), u":", blank, false, {nameKey, valueKey});
    parser.parseRowsForReceiver([&](CSVParser::Row row) {
        const auto value = row.find(valueKey);
        params.insert_or_assign(std::move(row[nameKey]),
                                value != row.end() ? std::move(value->second) : String());
    });
    return params;
}

AttributedString::Attributes cellAttributes(const AttributedString::Attributes& base,
                                            StringView cellName, StringView value) {
    auto attachment = std::make_shared<TextAttachment>();
    attachment->preferredFilename = cellName;
    attachment->contents.resize(value.size() * sizeof(char16_t));
    std::memcpy(attachment->contents.data(), value.data(), attachment->contents.size());
    auto attributes = base != nullptr ? std::make_shared<TextAttributes>(*base)
                                      : std::make_shared<TextAttributes>();
    attributes->attachment = std::move(attachment);
    attributes->toolTip = String(value);
    return attributes;
}

AttributedString::Attributes withoutCell(const AttributedString::Attributes& attributes) {
    auto result = std::make_shared<TextAttributes>(*attributes);
    result->attachment.reset();
    result->toolTip.reset();
    if (*result == TextAttributes())
        return nullptr;
    return result;
}

// Tokens of known keywords, found from the end: a closing bracket belongs to the nearest opening
// one in front of it, and may stand in a body.
std::vector<Range> tokensFromTheEnd(StringView text) {
    std::vector<Range> tokens;
    std::size_t opening = StringView::npos;
    std::size_t position = text.size();
    while (position > 0) {
        position = text.find_last_of(TokenClosing, position - 1);
        if (position == StringView::npos || position == 0)
            break;
        if (opening >= position)
            opening = text.find_last_of(TokenOpening, position - 1);
        if (opening == StringView::npos)
            break;
        const StringView body = text.substr(opening + 1, position - opening - 1);
        if (!SnippetVariableUtils::beginsWithKeyword(body))
            continue;
        tokens.push_back({opening, position + 1 - opening});
        position = opening;
    }
    return tokens;
}

} // namespace

String SnippetVariableUtils::escapeParam(StringView text) {
    if (text.find_first_of(u"\": ") == StringView::npos)
        return String(text);
    String result = u"\"";
    for (const char16_t unit : text)
        result.append(unit == u'"' ? 2 : 1, unit);
    result.push_back(u'"');
    return result;
}

std::shared_ptr<SnippetVariable> SnippetVariableUtils::parseVariable(StringView body) {
    for (const VariableClass& variableClass : VariableClasses)
        if (body.starts_with(variableClass.prefix))
            return variableClass.maker(parseParams(body));
    return nullptr;
}

String SnippetVariableUtils::token(StringView body) {
    String text(1, TokenOpening);
    text.append(body);
    text.push_back(TokenClosing);
    return text;
}

bool SnippetVariableUtils::beginsWithKeyword(StringView body) {
    return std::any_of(Keywords.begin(), Keywords.end(),
                       [body](StringView keyword) { return body.starts_with(keyword); });
}

AttributedString SnippetVariableUtils::attributedStringFromVariable(StringView body) {
    return AttributedString(StringView(&AttachmentCharacter, 1),
                            cellAttributes(nullptr, VariableCellName, body));
}

AttributedString SnippetVariableUtils::attributedStringFromAlias(StringView alias) {
    return AttributedString(StringView(&AttachmentCharacter, 1),
                            cellAttributes(nullptr, AliasCellName, alias));
}

std::optional<ZPTextAttachmentCell>
SnippetVariableUtils::textAttachmentCell(const AttributedString::Attributes& attributes) {
    if (attributes == nullptr || attributes->attachment == nullptr)
        return std::nullopt;
    const TextAttachment& attachment = *attributes->attachment;
    ZPTextAttachmentCell cell;
    if (attachment.preferredFilename == AliasCellName)
        cell.look = ZPTextAttachmentCell::Look::Alias;
    else if (attachment.preferredFilename != VariableCellName)
        return std::nullopt;
    cell.stringValue.resize(attachment.contents.size() / sizeof(char16_t));
    std::memcpy(cell.stringValue.data(), attachment.contents.data(),
                cell.stringValue.size() * sizeof(char16_t));
    return cell;
}

AttributedString
SnippetVariableUtils::convertToSnippetEditContent(const AttributedString& content) {
    ContentRewriter rewriter(content);
    const std::vector<Range> tokens = tokensFromTheEnd(rewriter.text());
    for (auto token = tokens.rbegin(); token != tokens.rend(); ++token) {
        rewriter.copyTo(token->location);
        const StringView body = rewriter.text().substr(token->location + 1, token->length - 2);
        rewriter.insert(StringView(&AttachmentCharacter, 1),
                        cellAttributes(rewriter.attributes(), VariableCellName, body));
        rewriter.skipTo(token->end());
    }
    return rewriter.finishAttributed();
}

AttributedString
SnippetVariableUtils::convertFromSnippetEditContent(const AttributedString& content) {
    return attributedStringByRemovingTextAttachment(content, StringView(&TokenOpening, 1),
                                                    StringView(&TokenClosing, 1));
}

AttributedString SnippetVariableUtils::attributedStringByRemovingTextAttachment(
    const AttributedString& content, StringView prefix, StringView suffix) {
    ContentRewriter rewriter(content);
    for (const AttributedString::Run& run : content.runs()) {
        const std::uint64_t runEnd = rewriter.position() + run.length;
        const auto cell = textAttachmentCell(run.attributes);
        if (cell.has_value() && !cell->stringValue.empty()) {
            String text(prefix);
            text.append(cell->stringValue).append(suffix);
            const auto attributes = withoutCell(run.attributes);
            // Equal tokens side by side share one run.
            for (std::uint64_t i = 0; i < run.length; ++i)
                rewriter.insert(text, attributes);
            rewriter.skipTo(runEnd);
        }
        rewriter.copyTo(runEnd);
    }
    return rewriter.finishAttributed();
}

} // namespace dresk
