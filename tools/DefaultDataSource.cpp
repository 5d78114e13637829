#include "DefaultDataSource.h"

#include <algorithm>
#include <charconv>

#include "store/SnippetArchive.h"

namespace dresk {

namespace {

constexpr std::string_view Indent = "    ";
constexpr std::string_view SnippetMark = ":: ";

std::string_view trimmed(std::string_view text) {
    while (text.starts_with(' '))
        text.remove_prefix(1);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

class SourceReader {
  public:
    SourceReader(std::string_view source, const Clock& clock) : rest_(source), clock_(clock) {}

    std::optional<SnippetGroupArray> read(std::string& error) {
        while (!rest_.empty() && error_.empty()) {
            const std::size_t end = std::min(rest_.find('\n'), rest_.size());
            readLine(rest_.substr(0, end));
            rest_.remove_prefix(std::min(end + 1, rest_.size()));
            ++number_;
        }
        endSnippet();
        error = error_;
        return error_.empty() ? std::optional(std::move(groups_)) : std::nullopt;
    }

  private:
    void fail(const std::string& what) {
        if (error_.empty())
            error_ = "line " + std::to_string(number_) + ": " + what;
    }

    void readLine(std::string_view line) {
        if (line.starts_with(Indent) && snippet_ != nullptr) {
            content_ += emptyLines_ + std::string(line.substr(Indent.size())) + '\n';
            emptyLines_.clear();
            return;
        }
        if (line.empty()) {
            if (snippet_ != nullptr)
                emptyLines_ += '\n'; // belongs to the content if more of it follows
            return;
        }
        if (line.starts_with('#'))
            return;
        endSnippet();
        if (line.starts_with('[') && line.ends_with(']'))
            beginGroup(line.substr(1, line.size() - 2));
        else if (line.starts_with(SnippetMark) && group_ != nullptr)
            beginSnippet(line.substr(SnippetMark.size()));
        else
            readSetting(line);
    }

    void beginGroup(std::string_view name) {
        name_ = fromUTF8(name);
        group_ = std::make_shared<SnippetGroup>(clock_);
        group_->setName(name_);
        groups_.push_back(group_);
    }

    void beginSnippet(std::string_view head) {
        const std::size_t bar = head.find('|');
        if (bar == std::string_view::npos)
            return fail("a snippet needs an abbreviation, a bar and a label");
        snippet_ = std::make_shared<Snippet>(clock_);
        snippet_->setAbbreviation(fromUTF8(trimmed(head.substr(0, bar))));
        snippet_->setLabel(fromUTF8(trimmed(head.substr(bar + 1))));
        const String& abbreviation = *snippet_->abbreviation();
        for (const auto& item : group_->items())
            if (item->abbreviation()->starts_with(abbreviation) ||
                abbreviation.starts_with(*item->abbreviation()))
                fail("one of two abbreviations begins like the other");
        content_.clear();
        emptyLines_.clear();
    }

    void endSnippet() {
        if (snippet_ == nullptr)
            return;
        if (content_.empty())
            fail("the snippet before has no content");
        else
            content_.pop_back();
        snippet_->setPlainTextContent(fromUTF8(content_));
        group_->addItem(std::move(snippet_));
        snippet_ = nullptr;
    }

    void readSetting(std::string_view line) {
        const std::size_t equals = line.find('=');
        if (group_ == nullptr || equals == std::string_view::npos)
            return fail("neither group, setting, snippet nor content");
        const std::string_view key = trimmed(line.substr(0, equals));
        const std::string_view value = trimmed(line.substr(equals + 1));
        if (key == "uuid")
            return setIdentity(value);
        int number = 0;
        if (std::from_chars(value.data(), value.data() + value.size(), number).ec != std::errc())
            return fail("a number is wanted");
        if (key == "expandTrigger")
            group_->setExpandTrigger(number);
        else if (key == "expandAfter")
            group_->setExpandAfter(number);
        else if (key == "showInMenuBarAtFirstLevel")
            group_->setShowInMenuBarAtFirstLevel(number != 0);
        else
            fail("unknown setting");
    }

    void setIdentity(std::string_view text) {
        auto group = SnippetGroup::initWithUUIDString(fromUTF8(text), clock_);
        if (group == nullptr || !group_->items().empty())
            return fail("a group's identity stands before its snippets");
        group->setName(name_);
        group_ = groups_.back() = std::move(group);
    }

    std::string_view rest_;
    const Clock& clock_;
    int number_ = 1;
    std::string error_;
    SnippetGroupArray groups_;
    String name_;
    std::shared_ptr<SnippetGroup> group_;
    std::shared_ptr<Snippet> snippet_;
    std::string content_;
    std::string emptyLines_;
};

/// Replaces the text of the random identities that the snippets were made with.
PropertyList withFixedIdentities(const PropertyList& value,
                                 const std::map<String, String>& identities) {
    if (const String* text = value.string()) {
        const auto fixed = identities.find(*text);
        return fixed != identities.end() ? PropertyList(fixed->second) : value;
    }
    if (const auto* elements = value.array()) {
        PropertyList::Array copy;
        for (const PropertyList& element : *elements)
            copy.push_back(withFixedIdentities(element, identities));
        return PropertyList(std::move(copy));
    }
    if (const auto* members = value.dictionary()) {
        PropertyList::Dictionary copy;
        for (const PropertyList::Entry& member : *members)
            copy.emplace_back(member.key, withFixedIdentities(member.value, identities));
        return PropertyList(std::move(copy));
    }
    return value;
}

} // namespace

std::optional<SnippetGroupArray> readDefaultDataSource(std::string_view source, const Clock& clock,
                                                       std::string& error) {
    return SourceReader(source, clock).read(error);
}

std::string defaultDataArchive(const SnippetGroupArray& groups, const Clock& clock) {
    std::map<String, String> identities;
    for (const auto& group : groups) {
        XCDUUID::Bytes bytes = group->uuid()->bytes();
        for (const auto& item : group->items()) {
            if (++bytes[1] == 0)
                ++bytes[0];
            identities.emplace(*item->UUIDString(), XCDUUID(bytes).UUIDString());
        }
    }
    SnippetArchive archive;
    archive.version = u"1";
    archive.groups = groups;
    archive.dateInstalled = clock.now();
    return withFixedIdentities(archive.archiveOneGroup(), identities).binaryData();
}

} // namespace dresk
