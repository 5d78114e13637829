#include "language/GeneralPasteboard.h"

#include "Foundation/HTML.h"
#include "Foundation/RTF.h"

namespace dresk {

std::optional<std::string> InMemoryPasteboard::dataForType(StringView type) {
    const auto found = data_.find(type);
    if (found == data_.end())
        return std::nullopt;
    return found->second;
}

void InMemoryPasteboard::clear() {
    data_.clear();
    string_.reset();
}

void InMemoryPasteboard::setData(StringView type, std::string data) {
    data_.insert_or_assign(String(type), std::move(data));
}

RichTextReader pasteboardRichTextReader() {
    return [](StringView type, const std::string& data) -> std::optional<AttributedString> {
        if (type == PasteboardType::RTFD)
            return attributedStringWithRTFD(data);
        if (type == PasteboardType::RTF)
            return attributedStringWithRTF(data);
        if (type == PasteboardType::HTML)
            return attributedStringWithHTML(data);
        return std::nullopt;
    };
}

} // namespace dresk
