#pragma once

#include <mutex>
#include <shared_mutex>

#include "Foundation/CharacterSet.h"
#include "store/AbbreviationIndex.h"
#include "store/DRFunctionAvailability.h"
#include "store/Snippet.h"

namespace dresk {

namespace ExpandTrigger {
/// At once, on the key that completes the abbreviation.
inline constexpr std::int32_t Immediately = 0;
/// On a delimiter that stays in the text.
inline constexpr std::int32_t AtDelimiter = 1;
/// On a delimiter that is swallowed.
inline constexpr std::int32_t AtSwallowedDelimiter = 2;
/// On the expansion hot key only.
inline constexpr std::int32_t AtHotKey = 4;
} // namespace ExpandTrigger

namespace ExpandAfter {
inline constexpr std::int32_t Delimiter = 0;
inline constexpr std::int32_t WhitespaceOrNewline = 1;
inline constexpr std::int32_t Anything = 2;
/// A run of digits.
inline constexpr std::int32_t Digits = 3;
} // namespace ExpandAfter

/// The delimiters of a group that has no set of its own: 38 characters, in a fixed order.
inline constexpr StringView DefaultDelimiters = u" \t\r\u0003.!?,;:-\"'(){}[]/\\&+*=<>«»%^#_@$`|~";

/// A named, ordered list of snippets with the settings that say how and where they expand. Written
/// under the exclusive data lock and read under the shared one.
class SnippetGroup {
  public:
    using Items = std::vector<std::shared_ptr<Snippet>>;

    /// New random identity, created now, everything else as declared below.
    explicit SnippetGroup(const Clock& clock = systemClock());
    SnippetGroup(const SnippetGroup&) = delete;
    SnippetGroup& operator=(const SnippetGroup&) = delete;
    /// Snippets that outlive the group have no parent group from then on.
    ~SnippetGroup();
    /// Null if the text is no identity.
    static std::shared_ptr<SnippetGroup> initWithUUIDString(StringView text,
                                                            const Clock& clock = systemClock());

    /// Null only after reading an archive whose identity was malformed.
    const std::optional<XCDUUID>& uuid() const { return uuid_; }
    std::optional<String> UUIDString() const;
    Date dateCreated() const { return dateCreated_; }
    const std::optional<String>& name() const { return name_; }
    void setName(std::optional<String> name) { name_ = std::move(name); }
    /// The name, or the identity's text where there is none.
    String menuTitle() const;

    const Items& items() const { return items_; }
    /// Appends and becomes the parent group.
    void addItem(std::shared_ptr<Snippet> item);
    void addItems(const Items& items);
    /// Removes every occurrence of that object and leaves its parent group set.
    void removeItem(const Snippet& item);
    /// Replaces the list, the order included, and becomes the parent group of all.
    void setItems(Items items);
    /// First item with exactly that abbreviation, or null.
    std::shared_ptr<Snippet> findSnippetWithAbbreviation(StringView abbreviation) const;
    /// Index of the items' abbreviations and aliases. Built anew at the first use after a change of
    /// them; the shared data lock is enough, and the index holds until that lock is released.
    const AbbreviationIndex& abbreviationIndex() const;
    const std::shared_ptr<SnippetGroupLink>& link() const { return link_; }

    std::int32_t expandAfter() const { return expandAfter_; }
    void setExpandAfter(std::int32_t value) { expandAfter_ = value; }
    /// Null stands for the default delimiters.
    const std::optional<CharacterSet>& expandAfterDelimiters() const {
        return expandAfterDelimiters_;
    }
    void setExpandAfterDelimiters(std::optional<CharacterSet> set) {
        expandAfterDelimiters_ = std::move(set);
    }
    std::int32_t expandTrigger() const { return expandTrigger_; }
    void setExpandTrigger(std::int32_t value) { expandTrigger_ = value; }
    /// Null stands for the default delimiters.
    const std::optional<CharacterSet>& delimiters() const { return delimiters_; }
    void setDelimiters(std::optional<CharacterSet> set) { delimiters_ = std::move(set); }
    /// What a new snippet of the group starts with; matching does not read it.
    std::int64_t caseSensitivity() const { return caseSensitivity_; }
    void setCaseSensitivity(std::int64_t value) { caseSensitivity_ = value; }
    bool showInMenuBar() const { return showInMenuBar_; }
    void setShowInMenuBar(bool value) { showInMenuBar_ = value; }
    bool showInMenuBarAtFirstLevel() const { return showInMenuBarAtFirstLevel_; }
    void setShowInMenuBarAtFirstLevel(bool value) { showInMenuBarAtFirstLevel_ = value; }
    bool suggestAbbreviations() const { return suggestAbbreviations_; }
    void setSuggestAbbreviations(bool value) { suggestAbbreviations_ = value; }
    const std::optional<String>& abbreviationPrefix() const { return abbreviationPrefix_; }
    void setAbbreviationPrefix(std::optional<String> prefix) {
        abbreviationPrefix_ = std::move(prefix);
    }
    bool hasAbbreviationPrefix() const {
        return abbreviationPrefix_.has_value() && !abbreviationPrefix_->empty();
    }
    const DRFunctionAvailability& availability() const { return availability_; }
    DRFunctionAvailability& availability() { return availability_; }
    bool isDisabled() const { return availability_.availability() == 3; }
    bool resetFormatting() const { return resetFormatting_; }
    void setResetFormatting(bool value) { resetFormatting_ = value; }
    bool excludeItemsWhenEncoding() const { return excludeItemsWhenEncoding_; }
    void setExcludeItemsWhenEncoding(bool value) { excludeItemsWhenEncoding_ = value; }

    std::shared_ptr<SnippetGroup> copySnippetGroup(bool copyItems) const;
    /// Adds to the items that are there; identity and creation date stay.
    void copyFromSnippetGroup(const SnippetGroup& source, bool copyItems);
    /// Everything but identity, name, prefix and items.
    void copySettingsFromSnippetGroup(const SnippetGroup& source);

    static std::shared_ptr<SnippetGroup>
    findGroupWithUUIDString(StringView text,
                            const std::vector<std::shared_ptr<SnippetGroup>>& array);
    static std::shared_ptr<SnippetGroup>
    findGroupWithName(StringView name, const std::vector<std::shared_ptr<SnippetGroup>>& array);
    /// The engine sees Return as carriage return, so a stored line feed is read as one.
    static std::optional<CharacterSet>
    replaceNewlineCharacterByCarriageReturnCharacter(std::optional<CharacterSet> set);

  private:
    friend struct SnippetCoding;

    const Clock* clock_;
    std::optional<XCDUUID> uuid_;
    Date dateCreated_;
    std::optional<String> name_;
    Items items_;
    std::shared_ptr<SnippetGroupLink> link_ = std::make_shared<SnippetGroupLink>();
    mutable std::mutex abbreviationIndexMutex_;
    mutable AbbreviationIndex abbreviationIndex_;
    std::int32_t expandAfter_ = ExpandAfter::Delimiter;
    std::optional<CharacterSet> expandAfterDelimiters_;
    std::int32_t expandTrigger_ = ExpandTrigger::Immediately;
    std::optional<CharacterSet> delimiters_;
    std::int64_t caseSensitivity_ = 0;
    bool showInMenuBar_ = true;
    bool showInMenuBarAtFirstLevel_ = false;
    bool suggestAbbreviations_ = true;
    std::optional<String> abbreviationPrefix_;
    DRFunctionAvailability availability_;
    bool resetFormatting_ = false;
    bool excludeItemsWhenEncoding_ = false;
};

using SnippetGroupArray = std::vector<std::shared_ptr<SnippetGroup>>;

/// The one list of groups, shared by its owner, the engine and the sync providers, with the data
/// lock that guards it and every record in it. The tap thread holds the lock shared for the
/// microseconds of matching and parsing; edits hold it exclusively and briefly.
struct SnippetGroupList {
    SnippetGroupArray groups;
    mutable std::shared_mutex lock;
};

} // namespace dresk
