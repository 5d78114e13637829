#include "Foundation/AttributedStringConversion.h"
#include "language/ContentRewriter.h"
#include "language/RegularExpression.h"
#include "language/SnippetExpansion.h"
#include "language/SnippetFieldVariable.h"
#include "language/StringSearch.h"

namespace dresk {

namespace {

using Content = SnippetExpandedContent::Content;

// Results that grow beyond this count as taking too long.
constexpr std::uint64_t LongestResult = std::uint64_t{64} * 1024 * 1024;
constexpr std::uint64_t MaximumClipboardUnits = std::uint64_t{64} * 1024 * 1024;

// Bytes of rich text on the clipboard that are read while the key waits: so many take far less than
// the time after which the desktop passes the key without an answer. HTML is the slowest to read.
constexpr std::size_t largestRichClipboard(StringView type) {
    constexpr std::size_t megabyte = std::size_t{1024} * 1024;
    return type == PasteboardType::HTML ? 2 * megabyte : 4 * megabyte;
}

String searchPattern(const SnippetClipboardVariable& variable) {
    const String& find = *variable.find();
    if (variable.regularExpressions())
        return find;
    String pattern = u"\\Q" + find + u"\\E";
    const bool atBeginning = variable.matchingOption() == SnippetClipboardVariable::BeginningOfWord;
    const bool atEnd = variable.matchingOption() == SnippetClipboardVariable::EndOfWord;
    if (!atEnd)
        pattern.insert(0, u"(?<=\\W|\\A)");
    if (!atBeginning)
        pattern.append(u"(?=\\W|\\z)");
    return pattern;
}

bool searchesByRegularExpression(const SnippetClipboardVariable& variable) {
    return variable.regularExpressions() ||
           variable.matchingOption() != SnippetClipboardVariable::Anywhere;
}

// Replaces every match in `rewriter`; `changedTo` receives the result's length behind the last one.
// False if the result is not to be used.
bool replaceMatches(const SnippetClipboardVariable& variable, bool isAttributed,
                    ContentRewriter& rewriter, std::uint64_t& changedTo) {
    const String replacement = variable.replacement().value_or(String());
    const auto replace = [&](const Range& match, StringView text) {
        rewriter.copyTo(match.location);
        rewriter.insert(text, rewriter.attributes());
        rewriter.skipTo(match.end());
        changedTo = rewriter.length();
        return changedTo <= LongestResult;
    };
    if (!searchesByRegularExpression(variable)) {
        StringSearch search(rewriter.text(), *variable.find(),
                            variable.matchCase() ? CompareOptions::Exact
                                                 : CompareOptions::CaseInsensitive);
        for (Range match = search.next(); match.location != NotFound; match = search.next())
            if (!replace(match, replacement))
                return false;
        return true;
    }
    const auto expression =
        RegularExpression::compile(searchPattern(variable), !variable.matchCase());
    if (!expression.has_value())
        return false;
    // In attributed text the references in the replacement are read from the replacement itself. In
    // plain text they are read from the clipboard. That is meant.
    const StringView source = isAttributed ? StringView(replacement) : rewriter.text();
    return expression->enumerateMatches(
        rewriter.text(), [&](const RegularExpression::Groups& groups) {
            return replace(groups.front(),
                           RegularExpression::replacementString(replacement, groups, source));
        });
}

} // namespace

Content SnippetParser::processClipboardVariable(const SnippetClipboardVariable& variable,
                                                Content clipboardContent) {
    if (!variable.find().has_value() || variable.find()->empty())
        return clipboardContent;
    const bool isAttributed = std::holds_alternative<AttributedString>(clipboardContent);
    ContentRewriter rewriter(clipboardContent);
    std::uint64_t changedTo = 0;
    if (!replaceMatches(variable, isAttributed, rewriter, changedTo))
        return clipboardContent;
    // Matches at the very start that leave nothing behind come back in attributed text. That is
    // meant; plain text loses them.
    if (isAttributed && changedTo == 0)
        return clipboardContent;
    return rewriter.finish();
}

void SnippetExpansion::expandClipboard(Scan& scan, const SnippetClipboardVariable& variable) {
    std::optional<AttributedString> rich;
    std::optional<String> plain;
    if (scan.isRichText)
        rich = richClipboard(variable);
    if (!rich.has_value())
        plain = plainClipboard(variable);
    if (variable.isOptional()) {
        auto field = std::make_shared<SnippetFieldVariable>();
        field->setLocation(variable.location());
        field->setIsOptional(true);
        field->setIsSelected(variable.isSelected());
        field->setIsReadonly(true);
        field->setValue(rich.has_value() ? rich->string() : std::move(plain));
        field->setRichTextValue(std::move(rich));
        scan.variables.push_back(std::move(field));
        scan.text.deleteToken();
    } else if (rich.has_value()) {
        scan.text.replaceToken(*rich);
    } else {
        scan.text.replaceToken(plain.value_or(String()));
    }
}

std::optional<AttributedString>
SnippetExpansion::richClipboard(const SnippetClipboardVariable& variable) {
    if (!pasteboardRichText_.has_value())
        pasteboardRichText_ = readRichPasteboard();
    const std::optional<AttributedString>& text = *pasteboardRichText_;
    if (!text.has_value() || text->length() > MaximumClipboardUnits - clipboardUnits_)
        return std::nullopt;
    clipboardUnits_ += text->length();
    auto processed =
        std::get<AttributedString>(SnippetParser::processClipboardVariable(variable, *text));
    if (variable.matchSnippetStyle())
        return attributedStringByClearAttributesExceptTextAttachment(processed,
                                                                     variable.attributes());
    return processed;
}

std::optional<AttributedString> SnippetExpansion::readRichPasteboard() const {
    if (environment_.pasteboard == nullptr || !environment_.richTextReader)
        return std::nullopt;
    for (const StringView type :
         {PasteboardType::RTFD, PasteboardType::RTF, PasteboardType::HTML}) {
        if (!environment_.pasteboard->offersType(type))
            continue;
        const auto data = environment_.pasteboard->dataForType(type);
        if (!data.has_value() || data->size() > largestRichClipboard(type))
            return std::nullopt;
        return environment_.richTextReader(type, *data);
    }
    return std::nullopt;
}

std::optional<String> SnippetExpansion::plainClipboard(const SnippetClipboardVariable& variable) {
    if (!pasteboardString_.has_value())
        pasteboardString_ =
            environment_.pasteboard != nullptr ? environment_.pasteboard->string() : std::nullopt;
    const std::optional<String>& text = *pasteboardString_;
    if (!text.has_value() || text->size() > MaximumClipboardUnits - clipboardUnits_)
        return std::nullopt;
    clipboardUnits_ += text->size();
    return std::get<String>(SnippetParser::processClipboardVariable(variable, *text));
}

} // namespace dresk
