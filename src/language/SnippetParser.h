#pragma once

#include "language/SnippetExpandedContent.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// Turns the stored content of a snippet into an expanded content. Keeps no state between calls;
/// one thread at a time, under the shared data lock.
class SnippetParser {
  public:
    /// Null when the snippet has no content.
    std::shared_ptr<SnippetExpandedContent> parseSnippet(const Snippet& snippet,
                                                         const SnippetGroupArray& groups) const;
};

} // namespace dresk
