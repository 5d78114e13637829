#include <cstdlib>

#include "Foundation/RTF.h"

/// What is read is written and read again with the same characters.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = dresk::attributedStringWithRTF({reinterpret_cast<const char*>(data), size});
    if (!text.has_value())
        return 0;
    const auto again = dresk::attributedStringWithRTF(dresk::RTFFromAttributedString(*text));
    if (!again.has_value() || again->string() != text->string())
        std::abort();
    return 0;
}
