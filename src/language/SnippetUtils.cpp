#include "language/SnippetUtils.h"

#include <algorithm>

#include "Foundation/Unicode.h"
#include "language/ContentRewriter.h"

namespace dresk {

namespace {

using Content = SnippetExpandedContent::Content;

bool isLetter(char16_t unit) {
    return CharacterSet::letterCharacterSet().contains(unit);
}

bool isLowercaseLetter(char16_t unit) {
    return CharacterSet::lowercaseLetterCharacterSet().contains(unit);
}

void replaceByUppercase(ContentRewriter& rewriter, std::size_t index) {
    rewriter.copyTo(index);
    rewriter.insert(uppercaseString(rewriter.text().substr(index, 1)), rewriter.attributes());
    rewriter.skipTo(index + 1);
}

Content capitalized(const Content& content) {
    ContentRewriter rewriter(content);
    const StringView text = rewriter.text();
    const auto letter = std::find_if(text.begin(), text.end(), isLetter);
    if (!text.empty())
        replaceByUppercase(
            rewriter, letter != text.end() ? static_cast<std::size_t>(letter - text.begin()) : 0);
    return rewriter.finish();
}

Content capitalizedWords(const Content& content) {
    ContentRewriter rewriter(content);
    bool wordMayStart = true;
    for (std::size_t i = 0; i < rewriter.text().size(); ++i) {
        const char16_t unit = rewriter.text()[i];
        if (wordMayStart && isLowercaseLetter(unit))
            replaceByUppercase(rewriter, i);
        wordMayStart = !isLetter(unit);
    }
    return rewriter.finish();
}

// The runs keep their ranges, also where the text grows in front of them.
AttributedString upperCaseAttributedString(const AttributedString& content) {
    String text = uppercaseString(content.string());
    std::vector<AttributedString::Run> runs;
    std::uint64_t left = text.size();
    for (const AttributedString::Run& run : content.runs()) {
        const std::uint64_t length = std::min(run.length, left);
        if (length > 0)
            runs.push_back({length, run.attributes});
        left -= length;
    }
    if (left > 0)
        runs.push_back({left, nullptr});
    return {std::move(text), std::move(runs)};
}

Content uppercase(const Content& content) {
    if (const auto* attributed = std::get_if<AttributedString>(&content))
        return upperCaseAttributedString(*attributed);
    return uppercaseString(std::get<String>(content));
}

template <class Test>
std::shared_ptr<Snippet> findSnippet(const SnippetGroupArray& groups,
                                     std::shared_ptr<SnippetGroup>* parentGroup, Test test) {
    for (const auto& group : groups) {
        for (const auto& snippet : group->items()) {
            if (!test(*group, *snippet))
                continue;
            if (parentGroup != nullptr)
                *parentGroup = group;
            return snippet;
        }
    }
    return nullptr;
}

} // namespace

std::int32_t SnippetUtils::caseOf(StringView text, std::uint64_t flags) {
    std::size_t letters = 0;
    std::size_t lowercaseLetters = 0;
    bool isFirstUppercase = false;
    bool isLastUppercase = false;
    for (const char16_t unit : text) {
        if (!isLetter(unit))
            continue;
        isLastUppercase = !isLowercaseLetter(unit);
        if (letters == 0)
            isFirstUppercase = isLastUppercase;
        ++letters;
        lowercaseLetters += isLastUppercase ? 0 : 1;
    }
    const std::size_t uppercaseLetters = letters - lowercaseLetters;
    if (letters == 0)
        return TextCase::Mixed;
    if (uppercaseLetters == 0)
        return TextCase::Lowercase;
    if (isFirstUppercase)
        return uppercaseLetters == 1 ? TextCase::Capitalized : TextCase::Uppercase;
    return (flags & 1) != 0 || isLastUppercase ? TextCase::CapitalizedWords : TextCase::Mixed;
}

void SnippetUtils::correctSnippetContentCase(SnippetExpandedContent& content,
                                             StringView abbreviation, std::uint64_t flags) {
    switch (caseOf(abbreviation, flags)) {
    case TextCase::Capitalized:
        content.setContent(capitalized(content.content()));
        break;
    case TextCase::Uppercase:
        content.setContent(uppercase(content.content()));
        break;
    case TextCase::CapitalizedWords:
        content.setContent(capitalizedWords(content.content()));
        break;
    default:
        break;
    }
}

std::shared_ptr<Snippet>
SnippetUtils::findSnippetByAbbreviation(StringView abbreviation, const SnippetGroupArray& groups,
                                        bool checkPrefix,
                                        std::shared_ptr<SnippetGroup>* parentGroup) {
    return findSnippet(groups, parentGroup, [&](const SnippetGroup& group, const Snippet& snippet) {
        if (!snippet.abbreviation().has_value())
            return false;
        StringView rest = abbreviation;
        if (checkPrefix && group.hasAbbreviationPrefix()) {
            if (!rest.starts_with(*group.abbreviationPrefix()))
                return false;
            rest.remove_prefix(group.abbreviationPrefix()->size());
        }
        return rest == *snippet.abbreviation();
    });
}

std::shared_ptr<Snippet>
SnippetUtils::findSnippetByUUID(StringView uuid, const SnippetGroupArray& groups,
                                std::shared_ptr<SnippetGroup>* parentGroup) {
    const auto identity = XCDUUID::initWithUUIDString(uuid);
    if (!identity.has_value())
        return nullptr;
    return findSnippet(groups, parentGroup, [&](const SnippetGroup&, const Snippet& snippet) {
        return snippet.uuid() == identity;
    });
}

bool checkExpandAfterMode(std::uint64_t mode, char16_t character) {
    switch (mode) {
    case ExpandAfter::Delimiter:
        return !CharacterSet::alphanumericCharacterSet().contains(character);
    case ExpandAfter::WhitespaceOrNewline:
        return CharacterSet::whitespaceAndNewlineCharacterSet().contains(character);
    case ExpandAfter::Anything:
        return true;
    case ExpandAfter::Digits:
        return CharacterSet::decimalDigitCharacterSet().contains(character);
    default:
        return false;
    }
}

} // namespace dresk
