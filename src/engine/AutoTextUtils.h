#pragma once

#include "Foundation/CharacterSet.h"

namespace dresk {

/// What auto-correction knows of sentences. Any thread.
class AutoTextUtils {
  public:
    AutoTextUtils() = delete;

    /// White space and line ends without the space, and what the keypad's Enter types.
    static const CharacterSet& newSentenceCharacterSet();
    /// The same with ".", "?" and "!".
    static const CharacterSet& endSentenceCharacterSet();
    /// Whether the unit before the last one begins a sentence, going by what stands in front of it.
    static bool shouldCapitalize(StringView text);
};

} // namespace dresk
