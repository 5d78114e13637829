#pragma once

#include "Foundation/String.h"

namespace dresk {

/// `count` ordinary words of one language, separated by spaces, with capitals and punctuation, the
/// same each time.
String proseOf(StringView language, std::size_t count);

} // namespace dresk
