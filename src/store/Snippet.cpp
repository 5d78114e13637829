#include "store/Snippet.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Foundation/RTF.h"
#include "Foundation/Unicode.h"
#include "store/SnippetGroup.h"

namespace dresk {

namespace {

constexpr char16_t VariableOpening = u'\u3010';

} // namespace

Snippet::Snippet(const Clock& clock)
    : clock_(&clock), uuid_(XCDUUID()), dateCreated_(clock.now()), dateModified_(dateCreated_),
      lastTimeUsed_(dateCreated_->seconds) {
    initialized_ = true;
}

std::shared_ptr<Snippet>
Snippet::initWithAbbreviation(std::optional<String> abbreviation,
                              const std::optional<String>& plainTextContent, const Clock& clock) {
    auto snippet = std::make_shared<Snippet>(clock);
    snippet->setAbbreviation(std::move(abbreviation));
    snippet->setPlainTextContent(plainTextContent);
    return snippet;
}

std::optional<String> Snippet::UUIDString() const {
    if (!uuid_.has_value())
        return std::nullopt;
    return uuid_->UUIDString();
}

void Snippet::setAbbreviation(std::optional<String> abbreviation) {
    abbreviation_ = std::move(abbreviation);
    abbreviationHash_ = abbreviation_.has_value() ? hashOfLowercaseString(*abbreviation_) : 0;
    noteAbbreviationsChanged();
    updateDateModified();
}

void Snippet::setParentGroup(SnippetGroup* parentGroup) {
    parentGroup_ = parentGroup != nullptr ? parentGroup->link() : nullptr;
}

void Snippet::noteAbbreviationsChanged() {
    if (parentGroup_ != nullptr)
        parentGroup_->abbreviationsChanged = true;
}

std::optional<String> Snippet::abbreviationWithPrefix() const {
    const SnippetGroup* group = parentGroup();
    if (group == nullptr || !abbreviation_.has_value() || abbreviation_->empty() ||
        !group->hasAbbreviationPrefix())
        return abbreviation_;
    return *group->abbreviationPrefix() + *abbreviation_;
}

void Snippet::setAliases(std::optional<std::vector<String>> aliases) {
    aliases_.reset();
    aliasHashes_.reset();
    noteAbbreviationsChanged();
    if (!aliases.has_value() || aliases->empty())
        return;
    std::vector<std::uint64_t> hashes;
    for (const String& alias : *aliases)
        hashes.push_back(hashOfLowercaseString(alias));
    aliases_ = std::move(aliases);
    aliasHashes_ = std::move(hashes);
}

std::optional<String> Snippet::aliasesString() const {
    if (!aliases_.has_value())
        return std::nullopt;
    String text;
    for (const String& alias : *aliases_) {
        if (&alias != &aliases_->front())
            text.push_back(u'\n');
        text.append(alias);
    }
    return text;
}

void Snippet::setAliasesString(const std::optional<String>& text) {
    std::vector<String> aliases;
    StringView rest = text.has_value() ? StringView(*text) : StringView();
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(u'\n'), rest.size());
        if (end > 0)
            aliases.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    setAliases(std::move(aliases));
}

std::uint64_t Snippet::maxAbbreviationLength() const {
    std::uint64_t length = abbreviation_.has_value() ? abbreviation_->size() : 0;
    if (aliases_.has_value())
        for (const String& alias : *aliases_)
            length = std::max<std::uint64_t>(length, alias.size());
    return length;
}

std::optional<String>
Snippet::matchAbbreviationHash(const std::vector<std::uint64_t>& hashes) const {
    const auto fits = [&](const String& text, std::uint64_t hash) {
        return !text.empty() && text.size() <= hashes.size() && hashes[text.size() - 1] == hash;
    };
    if (abbreviation_.has_value() && fits(*abbreviation_, abbreviationHash_))
        return abbreviation_;
    if (aliases_.has_value())
        for (std::size_t i = 0; i < aliases_->size(); ++i)
            if (fits((*aliases_)[i], (*aliasHashes_)[i]))
                return (*aliases_)[i];
    return std::nullopt;
}

void Snippet::setContentType(std::int64_t contentType) {
    if (contentType == contentType_)
        return;
    contentType_ = contentType;
    if (contentType_ == SnippetContentType::PlainText && richTextContent_.has_value())
        richTextContent_ = AttributedString(richTextContent_->string());
    updateDateModified();
}

void Snippet::setRichTextContent(std::optional<AttributedString> content) {
    richTextContent_ = std::move(content);
    updateDateModified();
}

std::optional<String> Snippet::plainTextContent() const {
    if (!richTextContent_.has_value())
        return std::nullopt;
    return richTextContent_->string();
}

void Snippet::setPlainTextContent(const std::optional<String>& content) {
    richTextContent_.reset();
    if (content.has_value())
        richTextContent_ = AttributedString(*content);
    updateDateModified();
}

std::uint64_t Snippet::contentLength() const {
    return richTextContent_.has_value() ? richTextContent_->length() : 0;
}

std::optional<std::string> Snippet::contentData() const {
    if (!richTextContent_.has_value())
        return std::nullopt;
    return RTFDFromAttributedString(*richTextContent_);
}

bool Snippet::isSimpleSnippet() const {
    return richTextContent_.has_value() &&
           richTextContent_->string().find(VariableOpening) == String::npos;
}

bool Snippet::isScript() const {
    return contentType_ == SnippetContentType::AppleScript ||
           contentType_ == SnippetContentType::ShellScript;
}

bool Snippet::isContentEqualTo(const Snippet& other) const {
    if (caseSensitivity_ != other.caseSensitivity_ || contentType_ != other.contentType_)
        return false;
    if (!hasContent() || !other.hasContent())
        return hasContent() == other.hasContent();
    if (contentType_ == SnippetContentType::RichText)
        return *richTextContent_ == *other.richTextContent_;
    return richTextContent_->string() == other.richTextContent_->string();
}

void Snippet::setLabel(std::optional<String> label) {
    label_ = std::move(label);
    updateDateModified();
}

std::optional<String> Snippet::sortingContent() const {
    return label_.has_value() && !label_->empty() ? label_ : plainTextContent();
}

std::optional<Date> Snippet::lastTimeUsed() const {
    const double seconds = lastTimeUsed_;
    if (std::isnan(seconds))
        return std::nullopt;
    return Date{seconds};
}

void Snippet::updateDateModified() {
    if (initialized_)
        dateModified_ = clock_->now();
}

void Snippet::updateLastTimeUsed() {
    lastTimeUsed_ = clock_->now().seconds;
}

std::shared_ptr<Snippet> Snippet::copySnippet() const {
    auto copy = std::make_shared<Snippet>(*clock_);
    copy->copyFromSnippet(*this);
    copy->parentGroup_ = parentGroup_;
    return copy;
}

void Snippet::copyFromSnippet(const Snippet& source) {
    setAbbreviation(source.abbreviation_);
    setAliases(source.aliases_);
    setLabel(source.label_);
    setContentType(source.contentType_);
    setRichTextContent(source.richTextContent_);
    setCaseSensitivity(source.caseSensitivity_);
    setNote(source.note_);
}

std::shared_ptr<Snippet>
Snippet::findSnippetWithUUIDString(StringView text,
                                   const std::vector<std::shared_ptr<Snippet>>& array) {
    const auto uuid = XCDUUID::initWithUUIDString(text);
    if (!uuid.has_value())
        return nullptr;
    for (const auto& snippet : array)
        if (snippet->uuid_ == uuid)
            return snippet;
    return nullptr;
}

} // namespace dresk
