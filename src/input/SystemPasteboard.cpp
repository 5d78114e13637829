#include "input/SystemPasteboard.h"

#include <algorithm>

namespace dresk {

namespace {

/// A type and the media type that stands for it.
constexpr std::pair<StringView, StringView> MediaTypes[] = {
    {PasteboardType::RTF, u"text/rtf"},    {PasteboardType::RTF, u"application/rtf"},
    {PasteboardType::HTML, u"text/html"},  {PasteboardType::PNG, u"image/png"},
    {PasteboardType::TIFF, u"image/tiff"}, {PasteboardType::PDF, u"application/pdf"},
};

} // namespace

bool SystemPasteboard::offersType(StringView type) {
    const std::vector<String> offered = pasteboard_.types();
    const auto isOffered = [&](StringView name) {
        return std::find(offered.begin(), offered.end(), name) != offered.end();
    };
    return isOffered(type) ||
           std::any_of(std::begin(MediaTypes), std::end(MediaTypes), [&](const auto& media) {
               return media.first == type && isOffered(media.second);
           });
}

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
