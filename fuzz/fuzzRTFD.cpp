#include <cstdlib>

#include "Foundation/RTF.h"

/// What is read is written and read again with the same characters.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    (void)dresk::FileWrapper::fileWrapperWithSerializedRepresentation(bytes);
    const auto text = dresk::attributedStringWithRTFD(bytes);
    if (!text.has_value())
        return 0;
    const auto again = dresk::attributedStringWithRTFD(dresk::RTFDFromAttributedString(*text));
    if (!again.has_value() || again->string() != text->string())
        std::abort();
    return 0;
}
