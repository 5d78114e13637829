#pragma once

#include "Foundation/AttributedString.h"
#include "Foundation/FileWrapper.h"

namespace dresk {

/// Reads RTF. Null if the bytes do not begin as RTF does; what is damaged behind that is read as
/// far as it goes. `files` holds the attachments by name, null where there are none.
std::optional<AttributedString> attributedStringWithRTF(std::string_view bytes,
                                                        const FileWrapper* files = nullptr);

/// Reads flat RTFD, and RTF alone. Null for anything else.
std::optional<AttributedString> attributedStringWithRTFD(std::string_view bytes);

/// Writes RTF, with `title` as the document's. Fonts, colours, styles, alignment, indents, links
/// and tables survive, and pictures in PNG and JPEG; other attachments leave their place only.
std::string RTFFromAttributedString(const AttributedString& text,
                                    const std::optional<String>& title = std::nullopt);

/// Writes flat RTFD, attachments included.
std::string RTFDFromAttributedString(const AttributedString& text);

} // namespace dresk
