#pragma once

#include "Foundation/KeyedArchiver.h"
#include "Foundation/KeyedUnarchiver.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// The keyed-archive forms of the records, the earlier ones included. Encoding reads the records
/// under the shared data lock; decoding makes new ones that nobody else knows yet.
struct SnippetCoding {
    static KeyedArchiver::UID encodeSnippet(KeyedArchiver& archiver, const Snippet& snippet);
    /// Leaves the items out while `excludeItemsWhenEncoding` is set.
    static KeyedArchiver::UID encodeSnippetGroup(KeyedArchiver& archiver,
                                                 const SnippetGroup& group);

    /// Null if the object is no snippet. An object that the archive shares gives one snippet.
    static std::shared_ptr<Snippet> decodeSnippet(const ArchivedObject& object,
                                                  const Clock& clock = systemClock());
    static std::shared_ptr<SnippetGroup> decodeSnippetGroup(const ArchivedObject& object,
                                                            const Clock& clock = systemClock());

  private:
    static void readSnippet(Snippet& snippet, const ArchivedObject& object);
    static void readContent(Snippet& snippet, const ArchivedObject& content);
    static void readSnippetGroup(SnippetGroup& group, const ArchivedObject& object,
                                 const Clock& clock);
    static void readItems(SnippetGroup& group, const ArchivedObject& items, const Clock& clock);
};

} // namespace dresk
