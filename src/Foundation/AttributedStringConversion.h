#pragma once

#include "Foundation/TextAttributes.h"

namespace dresk {

/// The other forms of attributed text. All functions run on any thread and fail on no text.

/// RTF. PNG and JPEG pictures are embedded; of other attachments only their place stays.
std::string rtfData(const AttributedString& text);

/// Flat RTFD, all attachments included.
std::string rtfdData(const AttributedString& text);

/// "doctype", "html", "head", "body", "xml": what a fragment does without.
std::vector<String> defaultExcludedTags();

/// HTML in UTF-8, with inline styles in points and every attachment embedded as "data:image/png",
/// whatever it is. Elements named in `excludedTags` are left out, what they hold stays: without "p"
/// lines end with <br>, with an empty list the result is a whole document that names its encoding.
/// Blanks that HTML would drop become no-break spaces in spans of class "Apple-converted-space".
std::string htmlData(const AttributedString& text, const std::vector<String>& excludedTags);
/// The same without the default tags.
std::string htmlData(const AttributedString& text);
String htmlString(const AttributedString& text, const std::vector<String>& excludedTags);
String htmlString(const AttributedString& text);

/// The text as a link to the absolute address `url`, blue and underlined.
AttributedString hyperlinkFromString(StringView string, StringView url);

/// The characters, each U+FFFC replaced by `attachmentString` (null: "(Attachment)"), then each
/// line feed by one blank.
String plainTextWithAttachmentString(const AttributedString& text,
                                     const std::optional<String>& attachmentString = std::nullopt);

/// In the order of the text, one for each run that has one.
std::vector<std::shared_ptr<const TextAttachment>> allAttachments(const AttributedString& text);

/// Upper-cased characters with the attributes at their old ranges, also where upper-casing changes
/// the length; characters behind the last range have no attributes.
AttributedString upperCaseAttributedString(const AttributedString& text);

/// Each run takes `attributes`, which may be null; one with an attachment keeps that as well.
AttributedString
attributedStringByClearAttributesExceptTextAttachment(const AttributedString& text,
                                                      AttributedString::Attributes attributes);

} // namespace dresk
