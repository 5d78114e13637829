#include "store/SnippetArchive.h"

#include "store/SnippetCoding.h"

namespace dresk {

namespace {

using UID = KeyedArchiver::UID;
using Entries = std::vector<std::pair<UID, UID>>;

SnippetGroupArray readGroups(const ArchivedObject& groups, const Clock& clock) {
    SnippetGroupArray result;
    for (const ArchivedObject& element : groups.array().value_or(std::vector<ArchivedObject>())) {
        if (auto group = SnippetCoding::decodeSnippetGroup(element, clock))
            result.push_back(std::move(group));
        else
            groups.unarchiver().noteLoss();
    }
    return result;
}

UID encodeGroups(KeyedArchiver& archiver, const SnippetGroupArray& groups) {
    std::vector<UID> elements;
    for (const auto& group : groups)
        elements.push_back(SnippetCoding::encodeSnippetGroup(archiver, *group));
    return archiver.addArray(elements, KeyedArchiver::Mutability::Mutable);
}

/// Adds entries up to the first null value, as the platform builds such a dictionary.
class RootEntries {
  public:
    explicit RootEntries(KeyedArchiver& archiver) : archiver_(archiver) {}

    void add(StringView key, UID value) {
        isEnded_ = isEnded_ || value.value == 0;
        if (!isEnded_)
            entries_.emplace_back(archiver_.addString(key), value);
    }
    const Entries& entries() const { return entries_; }

  private:
    KeyedArchiver& archiver_;
    Entries entries_;
    bool isEnded_ = false;
};

} // namespace

std::optional<SnippetArchive> SnippetArchive::unarchive(std::string_view bytes,
                                                        const Clock& clock) {
    const auto unarchiver = KeyedUnarchiver::initForReadingWithData(bytes);
    if (unarchiver == nullptr)
        return std::nullopt;
    const ArchivedObject root = unarchiver->root();
    if (!root.dictionary().has_value())
        return std::nullopt;
    SnippetArchive archive;
    archive.version = root.valueForKey(u"Version").string();
    const ArchivedObject groups = root.valueForKey(u"Snippets");
    if (groups.array().has_value())
        archive.groups = readGroups(groups, clock);
    else if (!groups.isNull())
        unarchiver->noteLoss();
    archive.dateInstalled = root.valueForKey(u"DateInstalled").date();
    archive.uuidString = root.valueForKey(u"UUID").string();
    archive.versionUUIDString = root.valueForKey(u"VersionUUID").string();
    archive.dateCreated = root.valueForKey(u"DateCreated").date();
    archive.isLossless = unarchiver->isLossless();
    return archive;
}

std::optional<SnippetGroupArray> SnippetArchive::importData(std::string_view bytes,
                                                            const Clock& clock) {
    if (auto archive = unarchive(bytes, clock))
        return std::move(archive->groups);
    const auto unarchiver = KeyedUnarchiver::initForReadingWithData(bytes);
    if (unarchiver == nullptr)
        return std::nullopt;
    auto snippet = SnippetCoding::decodeSnippet(unarchiver->root(), clock);
    if (snippet == nullptr)
        return std::nullopt;
    auto group = std::make_shared<SnippetGroup>(clock);
    group->addItem(std::move(snippet));
    return SnippetGroupArray{std::move(group)};
}

PropertyList SnippetArchive::archiveAllData() const {
    KeyedArchiver archiver;
    RootEntries root(archiver);
    root.add(u"Version", archiver.addString(version));
    root.add(u"Snippets", groups.has_value() ? encodeGroups(archiver, *groups) : UID{});
    root.add(u"DateInstalled", archiver.addDate(dateInstalled));
    root.add(u"UUID", archiver.addString(uuidString));
    root.add(u"VersionUUID", archiver.addString(versionUUIDString));
    root.add(u"DateCreated", archiver.addDate(dateCreated));
    return archiver.finishEncoding(
        archiver.addDictionary(root.entries(), KeyedArchiver::Mutability::Mutable));
}

PropertyList SnippetArchive::archiveOneGroup() const {
    KeyedArchiver archiver;
    RootEntries root(archiver);
    root.add(u"Version", archiver.addString(version));
    root.add(u"Snippets", groups.has_value() ? encodeGroups(archiver, *groups) : UID{});
    root.add(u"DateInstalled", archiver.addDate(dateInstalled));
    return archiver.finishEncoding(
        archiver.addDictionary(root.entries(), KeyedArchiver::Mutability::Immutable));
}

} // namespace dresk
