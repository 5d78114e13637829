#pragma once

#include "Foundation/AttributedString.h"

namespace dresk {

/// Reads an HTML document or fragment: fonts, colours, styles, links, alignment, indents, lists
/// with their markers, cells of tables behind tabs, and pictures that the text itself holds. Loads
/// nothing from elsewhere. Of a fragment marked as on a clipboard only what is marked is read.
///
/// The encoding is that of a byte-order mark, else that which the text names, else UTF-8 or Western
/// European. Malformed text is read as far as it goes; null for more than 16 MB and for elements
/// with thousands of attributes. Any thread.
std::optional<AttributedString> attributedStringWithHTML(std::string_view bytes);

} // namespace dresk
