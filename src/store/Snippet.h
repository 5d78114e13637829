#pragma once

#include <atomic>
#include <vector>

#include "Foundation/AttributedString.h"
#include "Foundation/Date.h"
#include "Foundation/XCDUUID.h"

namespace dresk {

class SnippetGroup;

namespace SnippetContentType {
inline constexpr std::int64_t PlainText = 0;
inline constexpr std::int64_t RichText = 1;
inline constexpr std::int64_t AppleScript = 2;
inline constexpr std::int64_t ShellScript = 3;
} // namespace SnippetContentType

namespace SnippetCaseSensitivity {
inline constexpr std::int64_t Exact = 0;
inline constexpr std::int64_t Ignore = 1;
/// Ignore case and adapt the content to the case typed.
inline constexpr std::int64_t IgnoreAndAdapt = 2;
} // namespace SnippetCaseSensitivity

/// What the snippets of a group know of it. It outlives the group, so that a snippet kept for an
/// expansion never points at a group that has gone.
struct SnippetGroupLink {
    /// Null once the group has gone.
    std::atomic<SnippetGroup*> group{nullptr};
    /// The group's index of abbreviations is out of date.
    std::atomic<bool> abbreviationsChanged{true};
};

/// One abbreviation with its content. Shared, not duplicated, by generic copying; `copySnippet`
/// duplicates. Written under the exclusive data lock and read under the shared one, save
/// `lastTimeUsed`, which any thread may touch.
class Snippet {
  public:
    /// New random identity, all dates now. `clock` outlives the snippet.
    explicit Snippet(const Clock& clock = systemClock());
    Snippet(const Snippet&) = delete;
    Snippet& operator=(const Snippet&) = delete;

    static std::shared_ptr<Snippet>
    initWithAbbreviation(std::optional<String> abbreviation,
                         const std::optional<String>& plainTextContent,
                         const Clock& clock = systemClock());

    /// Null only after reading an archive whose identity was malformed.
    const std::optional<XCDUUID>& uuid() const { return uuid_; }
    std::optional<String> UUIDString() const;

    /// What the user types, without the group's prefix; may be null.
    const std::optional<String>& abbreviation() const { return abbreviation_; }
    void setAbbreviation(std::optional<String> abbreviation);
    /// Hash of the lower-cased abbreviation, 0 for null.
    std::uint64_t abbreviationHash() const { return abbreviationHash_; }
    std::optional<String> abbreviationWithPrefix() const;

    /// Further abbreviations of the same content; null, never empty. `aliasHashes` is parallel.
    const std::optional<std::vector<String>>& aliases() const { return aliases_; }
    const std::optional<std::vector<std::uint64_t>>& aliasHashes() const { return aliasHashes_; }
    /// Leaves `dateModified` alone.
    void setAliases(std::optional<std::vector<String>> aliases);
    /// The aliases joined by line feeds, or null.
    std::optional<String> aliasesString() const;
    void setAliasesString(const std::optional<String>& text);

    /// Largest length among the abbreviation and the aliases, 0 if there are none.
    std::uint64_t maxAbbreviationLength() const;
    /// `hashes` holds at index n the hash of the last n+1 typed letters and reaches to
    /// `maxAbbreviationLength`. The abbreviation or the first alias whose hash fits, or null.
    std::optional<String> matchAbbreviationHash(const std::vector<std::uint64_t>& hashes) const;

    std::int64_t caseSensitivity() const { return caseSensitivity_; }
    /// Leaves `dateModified` alone.
    void setCaseSensitivity(std::int64_t caseSensitivity) { caseSensitivity_ = caseSensitivity; }
    std::int64_t contentType() const { return contentType_; }
    /// A change to plain text drops all attributes for good.
    void setContentType(std::int64_t contentType);

    /// The content for every content type; null where there is none.
    const std::optional<AttributedString>& richTextContent() const { return richTextContent_; }
    void setRichTextContent(std::optional<AttributedString> content);
    std::optional<String> plainTextContent() const;
    void setPlainTextContent(const std::optional<String>& content);
    std::uint64_t contentLength() const;
    bool hasContent() const { return richTextContent_.has_value(); }
    /// The content as flat RTFD; null where there is none.
    std::optional<std::string> contentData() const;
    /// Whether no variable can stand in the content; false without content.
    bool isSimpleSnippet() const;
    bool isScript() const;
    bool isContentEqualTo(const Snippet& other) const;

    const std::optional<String>& label() const { return label_; }
    void setLabel(std::optional<String> label);
    /// The label if there is one, else the plain content.
    std::optional<String> sortingContent() const;
    const std::optional<String>& note() const { return note_; }
    /// Leaves `dateModified` alone.
    void setNote(std::optional<String> note) { note_ = std::move(note); }

    std::optional<Date> dateCreated() const { return dateCreated_; }
    std::optional<Date> dateModified() const { return dateModified_; }
    std::optional<Date> lastTimeUsed() const;
    void updateDateModified();
    /// Any thread; raises nothing, so the new time reaches the store with the next save.
    void updateLastTimeUsed();

    /// The group that holds the snippet; null while it is in none and when that has gone. A snippet
    /// stands in the items of no other group.
    SnippetGroup* parentGroup() const {
        return parentGroup_ != nullptr ? parentGroup_->group.load() : nullptr;
    }
    void setParentGroup(SnippetGroup* parentGroup);

    /// A new snippet with the same content and parent group, in no group's items.
    std::shared_ptr<Snippet> copySnippet() const;
    /// Takes over all but identity, dates and parent group.
    void copyFromSnippet(const Snippet& source);

    /// Null for malformed or unknown text.
    static std::shared_ptr<Snippet>
    findSnippetWithUUIDString(StringView text, const std::vector<std::shared_ptr<Snippet>>& array);

  private:
    void noteAbbreviationsChanged();
    friend struct SnippetCoding;

    const Clock* clock_;
    std::optional<XCDUUID> uuid_;
    bool initialized_ = false;
    std::optional<String> abbreviation_;
    std::uint64_t abbreviationHash_ = 0;
    std::int64_t caseSensitivity_ = 0;
    std::optional<std::vector<String>> aliases_;
    std::optional<std::vector<std::uint64_t>> aliasHashes_;
    std::int64_t contentType_ = 0;
    std::optional<AttributedString> richTextContent_;
    std::optional<String> label_;
    std::optional<Date> dateCreated_;
    std::optional<Date> dateModified_;
    std::atomic<double> lastTimeUsed_;
    std::optional<String> note_;
    std::shared_ptr<SnippetGroupLink> parentGroup_;
};

} // namespace dresk
