#pragma once

#include "Foundation/KeyedUnarchiver.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// What the whole-data archive holds, and what the one-group archive holds of it.
struct SnippetArchive {
    std::optional<String> version;
    std::optional<SnippetGroupArray> groups;
    std::optional<Date> dateInstalled;
    std::optional<String> uuidString;
    std::optional<String> versionUUIDString;
    /// The time of the latest change.
    std::optional<Date> dateCreated;
    /// False if the bytes held something that could not be read; whoever is about to overwrite
    /// them keeps a copy.
    bool isLossless = true;

    /// Null for damaged bytes, or for another root than a dictionary.
    static std::optional<SnippetArchive> unarchive(std::string_view bytes,
                                                   const Clock& clock = systemClock());
    /// The groups of a whole-data or one-group archive, or a new group around the snippet of an
    /// archive that holds nothing else. Null for any other bytes.
    static std::optional<SnippetGroupArray> importData(std::string_view bytes,
                                                       const Clock& clock = systemClock());

    /// The archive as a tree that shares nothing with the records; call it under the shared data
    /// lock and make bytes of the result outside. The root stops at the first absent value.
    PropertyList archiveAllData() const;
    /// The same of one group: version, the group and the date of installation.
    PropertyList archiveOneGroup() const;
};

} // namespace dresk
