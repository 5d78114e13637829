#include <cstdlib>

#include "Foundation/PropertyList.h"

/// What is read is written and read again unchanged. Numbers that equal nothing are left out.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using dresk::PropertyList;
    const auto value =
        PropertyList::propertyListWithData({reinterpret_cast<const char*>(data), size});
    if (!value.has_value())
        return 0;
    const auto again = PropertyList::propertyListWithData(value->binaryData());
    if (!again.has_value() || (*value == *value && !(*again == *value)))
        std::abort();
    return 0;
}
