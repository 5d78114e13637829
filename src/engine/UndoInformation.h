#pragma once

#include <memory>

#include "Foundation/String.h"

namespace dresk {

class DROutput;

/// What the last expansion takes to be undone.
struct UndoInformation {
    /// 16-bit units to erase.
    std::uint64_t backspaceCount = 0;
    /// What to put back without the key that triggered the expansion; null for nothing.
    std::optional<String> text;
    /// What to put back with that key; null for nothing.
    std::optional<String> textWithTrigger;
    /// The job to be undone. If the sender rejected it there is nothing to undo.
    std::shared_ptr<const DROutput> output;
};

} // namespace dresk
