#pragma once

#include "Foundation/String.h"

namespace dresk {

/// The text of an HTML document in UTF-8, without NUL, from whatever encoding it is in.
std::string decodeHTMLBytes(std::string_view bytes);

/// Whether an element has so many attributes that comparing all with all would take long.
bool hasExcessiveAttributes(std::string_view html);

/// The bytes behind a "data:" address; null for any other address and for damaged ones.
std::optional<std::string> bytesOfDataURL(std::string_view url);

} // namespace dresk
