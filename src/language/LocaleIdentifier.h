#pragma once

#include "Foundation/String.h"

namespace dresk {

/// The identifier as ICU takes it. What is empty or can be no identifier gives the current locale.
std::string localeIdentifier(StringView locale);

} // namespace dresk
