#include <cstdlib>

#include "Foundation/AttributedStringConversion.h"
#include "Foundation/HTML.h"

/// What is read is written and read again with the same characters, and once more the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = dresk::attributedStringWithHTML({reinterpret_cast<const char*>(data), size});
    if (!text.has_value())
        return 0;
    const auto again = dresk::attributedStringWithHTML(dresk::htmlData(*text));
    if (!again.has_value())
        std::abort();
    const auto third = dresk::attributedStringWithHTML(dresk::htmlData(*again));
    if (!third.has_value() || third->string() != again->string())
        std::abort();
    return 0;
}
