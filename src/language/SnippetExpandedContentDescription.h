#pragma once

#include "language/SnippetExpandedContent.h"

namespace dresk {

/// One line that says all about an expanded content: the text, then the variables with their
/// locations, then scripts and suffix. Attributed text shows a letter for each distinct set of
/// attributes behind each run, "-" for none. For traces and tests.
///
///     "Dear ,\n" field@5{field:name type:1 value:Sir} caret@7 key@7{key:↩ code:36}
///     rich "bold"A" plain"- script@0+5{snippet:s} scripts[@0 "echo" [@2 "date"]] suffix" "
String describeSnippetExpandedContent(const SnippetExpandedContent& content);

} // namespace dresk
