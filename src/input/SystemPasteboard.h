#pragma once

#include "input/Pasteboard.h"
#include "language/SnippetEnvironment.h"

namespace dresk {

/// The desktop's pasteboard as expansions read it: text in UTF-8 becomes text. Any thread.
class SystemPasteboard final : public GeneralPasteboard {
  public:
    /// `pasteboard` outlives it.
    explicit SystemPasteboard(Pasteboard& pasteboard) : pasteboard_(pasteboard) {}

    bool offersType(StringView type) override { return pasteboard_.offersType(type); }
    /// Waits for the owner for about 0.1 seconds at most.
    std::optional<std::string> dataForType(StringView type) override;
    std::optional<String> string() override;

  private:
    Pasteboard& pasteboard_;
};

/// What snippets see on a desktop: its clipboard, as plain and as rich text. `pasteboard` outlives
/// every expansion.
SnippetEnvironment snippetEnvironmentWithPasteboard(Pasteboard& pasteboard);

} // namespace dresk
