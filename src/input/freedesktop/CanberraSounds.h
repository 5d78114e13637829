#pragma once

#include "seam/FeedbackSound.h"

namespace dresk {

/// Sounds of the desktop's sound theme, and sound files. The sound system is first spoken to when
/// something is played, on a thread of its own; without one nothing is heard.
std::unique_ptr<Sounds> makeCanberraSounds();

} // namespace dresk
