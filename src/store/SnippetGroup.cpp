#include "store/SnippetGroup.h"

#include <algorithm>

namespace dresk {

SnippetGroup::SnippetGroup(const Clock& clock)
    : clock_(&clock), uuid_(XCDUUID()), dateCreated_(clock.now()) {
    link_->group = this;
}

SnippetGroup::~SnippetGroup() {
    link_->group = nullptr;
}

std::shared_ptr<SnippetGroup> SnippetGroup::initWithUUIDString(StringView text,
                                                               const Clock& clock) {
    const auto uuid = XCDUUID::initWithUUIDString(text);
    if (!uuid.has_value())
        return nullptr;
    auto group = std::make_shared<SnippetGroup>(clock);
    group->uuid_ = uuid;
    return group;
}

std::optional<String> SnippetGroup::UUIDString() const {
    if (!uuid_.has_value())
        return std::nullopt;
    return uuid_->UUIDString();
}

String SnippetGroup::menuTitle() const {
    return name_.has_value() ? *name_ : UUIDString().value_or(String());
}

void SnippetGroup::addItem(std::shared_ptr<Snippet> item) {
    item->setParentGroup(this);
    items_.push_back(std::move(item));
    link_->abbreviationsChanged = true;
}

void SnippetGroup::addItems(const Items& items) {
    for (const auto& item : items)
        addItem(item);
}

void SnippetGroup::removeItem(const Snippet& item) {
    std::erase_if(items_, [&](const auto& other) { return other.get() == &item; });
    link_->abbreviationsChanged = true;
}

void SnippetGroup::setItems(Items items) {
    items_ = std::move(items);
    for (const auto& item : items_)
        item->setParentGroup(this);
    link_->abbreviationsChanged = true;
}

const AbbreviationIndex& SnippetGroup::abbreviationIndex() const {
    if (link_->abbreviationsChanged) {
        const std::lock_guard lock(abbreviationIndexMutex_);
        if (link_->abbreviationsChanged) {
            abbreviationIndex_.build(items_);
            link_->abbreviationsChanged = false;
        }
    }
    return abbreviationIndex_;
}

std::shared_ptr<Snippet> SnippetGroup::findSnippetWithAbbreviation(StringView abbreviation) const {
    for (const auto& item : items_)
        if (item->abbreviation().has_value() && *item->abbreviation() == abbreviation)
            return item;
    return nullptr;
}

std::shared_ptr<SnippetGroup> SnippetGroup::copySnippetGroup(bool copyItems) const {
    auto copy = std::make_shared<SnippetGroup>(*clock_);
    copy->copyFromSnippetGroup(*this, copyItems);
    return copy;
}

void SnippetGroup::copyFromSnippetGroup(const SnippetGroup& source, bool copyItems) {
    setName(source.name_);
    setAbbreviationPrefix(source.abbreviationPrefix_);
    copySettingsFromSnippetGroup(source);
    if (copyItems)
        for (const auto& item : Items(source.items_))
            addItem(item->copySnippet());
}

void SnippetGroup::copySettingsFromSnippetGroup(const SnippetGroup& source) {
    setExpandAfter(source.expandAfter_);
    setExpandAfterDelimiters(source.expandAfterDelimiters_);
    setExpandTrigger(source.expandTrigger_);
    setDelimiters(source.delimiters_);
    setCaseSensitivity(source.caseSensitivity_);
    setResetFormatting(source.resetFormatting_);
    setShowInMenuBar(source.showInMenuBar_);
    setShowInMenuBarAtFirstLevel(source.showInMenuBarAtFirstLevel_);
    setSuggestAbbreviations(source.suggestAbbreviations_);
    availability_ = source.availability_;
}

std::shared_ptr<SnippetGroup>
SnippetGroup::findGroupWithUUIDString(StringView text,
                                      const std::vector<std::shared_ptr<SnippetGroup>>& array) {
    const auto uuid = XCDUUID::initWithUUIDString(text);
    if (!uuid.has_value())
        return nullptr;
    for (const auto& group : array)
        if (group->uuid_ == uuid)
            return group;
    return nullptr;
}

std::shared_ptr<SnippetGroup>
SnippetGroup::findGroupWithName(StringView name,
                                const std::vector<std::shared_ptr<SnippetGroup>>& array) {
    for (const auto& group : array)
        if (group->name_.has_value() && *group->name_ == name)
            return group;
    return nullptr;
}

std::optional<CharacterSet>
SnippetGroup::replaceNewlineCharacterByCarriageReturnCharacter(std::optional<CharacterSet> set) {
    if (set.has_value() && set->contains(u'\n')) {
        set->remove(u'\n');
        set->add(u'\r');
    }
    return set;
}

} // namespace dresk
