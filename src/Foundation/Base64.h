#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace dresk {

/// Without line breaks, padded.
std::string base64FromBytes(std::string_view bytes);

/// White space and missing padding are taken; null for anything else that does not belong there.
std::optional<std::string> bytesFromBase64(std::string_view text);

} // namespace dresk
