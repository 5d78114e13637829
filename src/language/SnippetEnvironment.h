#pragma once

#include "language/DateTimeFormats.h"
#include "language/GeneralPasteboard.h"

namespace dresk {

/// What an expansion reads of the world around it. What is null or left out is the machine's, save
/// the pasteboard: without one there is no clipboard text.
struct SnippetEnvironment {
    /// Outlives every use.
    const Clock* clock = &systemClock();
    std::shared_ptr<const DateTimeFormats> formats = std::make_shared<DateTimeFormats>();
    /// May be shared with others; null for none.
    std::shared_ptr<GeneralPasteboard> pasteboard;
    /// Empty where no rich text is to be read.
    RichTextReader richTextReader;
};

} // namespace dresk
