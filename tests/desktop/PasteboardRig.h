#pragma once

#include <map>
#include <memory>

#include <gtest/gtest.h>

#include "desktop/Deadline.h"
#include "input/x11/X11Pasteboard.h"

namespace dresk {

inline std::unique_ptr<X11Pasteboard> openPasteboard() {
    std::string error;
    auto pasteboard = X11Pasteboard::open(nullptr, error);
    EXPECT_NE(pasteboard, nullptr) << error;
    return pasteboard;
}

inline std::shared_ptr<const PasteboardContents> readAll(Pasteboard& pasteboard) {
    auto contents = pasteboard.contents();
    EXPECT_TRUE(await([&] { return contents->isComplete(); }, 30));
    return contents;
}

/// Bytes that look like no others.
inline std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 12345;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

} // namespace dresk
