#include "Foundation/Unarchiver.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto archive = dresk::Unarchiver::unarchiverForReadingWithData(
        {reinterpret_cast<const char*>(data), size});
    if (archive.has_value())
        (void)archive->attributedString();
    return 0;
}
