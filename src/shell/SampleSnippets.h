#pragma once

#include "store/SnippetGroup.h"

namespace dresk {

/// The groups that a user without data starts with.
SnippetGroupArray sampleSnippets(const Clock& clock = systemClock());

} // namespace dresk
