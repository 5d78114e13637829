#include "Foundation/AttributedStringConversion.h"

#include "Foundation/RTF.h"
#include "Foundation/Unicode.h"

namespace dresk {

std::string rtfData(const AttributedString& text) {
    return RTFFromAttributedString(text);
}

std::string rtfdData(const AttributedString& text) {
    return RTFDFromAttributedString(text);
}

AttributedString hyperlinkFromString(StringView string, StringView url) {
    auto attributes = std::make_shared<TextAttributes>();
    attributes->link = String(url);
    attributes->foregroundColor = TextColor{0, 0, 1};
    attributes->underlineStyle = 1;
    return AttributedString(string, std::move(attributes));
}

String plainTextWithAttachmentString(const AttributedString& text,
                                     const std::optional<String>& attachmentString) {
    String result;
    for (const char16_t c : text.string()) {
        if (c == AttachmentCharacter)
            result.append(attachmentString.value_or(u"(Attachment)"));
        else
            result.push_back(c);
    }
    for (char16_t& c : result)
        c = c == u'\n' ? u' ' : c;
    return result;
}

std::vector<std::shared_ptr<const TextAttachment>> allAttachments(const AttributedString& text) {
    std::vector<std::shared_ptr<const TextAttachment>> result;
    for (const AttributedString::Run& run : text.runs())
        if (run.attributes != nullptr && run.attributes->attachment != nullptr)
            result.push_back(run.attributes->attachment);
    return result;
}

AttributedString upperCaseAttributedString(const AttributedString& text) {
    return {uppercaseString(text.string()), text.runs()};
}

AttributedString
attributedStringByClearAttributesExceptTextAttachment(const AttributedString& text,
                                                      AttributedString::Attributes attributes) {
    std::vector<AttributedString::Run> runs = text.runs();
    for (AttributedString::Run& run : runs) {
        if (run.attributes == nullptr || run.attributes->attachment == nullptr) {
            run.attributes = attributes;
            continue;
        }
        auto kept = attributes != nullptr ? std::make_shared<TextAttributes>(*attributes)
                                          : std::make_shared<TextAttributes>();
        kept->attachment = run.attributes->attachment;
        run.attributes = std::move(kept);
    }
    return {text.string(), std::move(runs)};
}

} // namespace dresk
