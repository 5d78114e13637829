#pragma once

#include "Foundation/String.h"

namespace dresk {

/// What the last expansion takes to be undone.
struct UndoInformation {
    /// 16-bit units to erase.
    std::uint64_t backspaceCount = 0;
    /// What to put back without the key that triggered the expansion; null for nothing.
    std::optional<String> text;
    /// What to put back with that key; null for nothing.
    std::optional<String> textWithTrigger;
};

} // namespace dresk
