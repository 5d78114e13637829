#include "input/SystemPasteboard.h"

namespace dresk {

std::optional<std::string> SystemPasteboard::dataForType(StringView type) {
    return pasteboard_.dataForType(type);
}

std::optional<String> SystemPasteboard::string() {
    const auto data = pasteboard_.dataForType(PasteboardType::String);
    return data.has_value() ? std::optional(fromUTF8(*data)) : std::nullopt;
}

SnippetEnvironment snippetEnvironmentWithPasteboard(Pasteboard& pasteboard) {
    SnippetEnvironment environment;
    environment.pasteboard = std::make_shared<SystemPasteboard>(pasteboard);
    environment.richTextReader = pasteboardRichTextReader();
    return environment;
}

} // namespace dresk
