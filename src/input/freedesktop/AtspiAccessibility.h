#pragma once

#include <memory>

#include "input/Accessibility.h"

namespace dresk {

/// The accessibility bus (AT-SPI) of this session, asked on a thread of its own. Where there is
/// none, everything is neutral; finding that out makes nobody wait. One at a time:
/// a second one is neutral. Any thread.
std::unique_ptr<Accessibility> makeAtspiAccessibility();

} // namespace dresk
