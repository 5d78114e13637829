#pragma once

#include "Foundation/String.h"

namespace dresk {

/// The identifier as ICU takes it. Empty gives the current locale; what can be no identifier gives
/// the root locale.
std::string localeIdentifier(StringView locale);

} // namespace dresk
