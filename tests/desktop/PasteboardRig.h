#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "input/x11/X11Pasteboard.h"

namespace dresk {

inline std::unique_ptr<X11Pasteboard> openPasteboard() {
    std::string error;
    auto pasteboard = X11Pasteboard::open(nullptr, error);
    EXPECT_NE(pasteboard, nullptr) << error;
    return pasteboard;
}

/// Whether it comes true within some seconds.
inline bool awaitThat(const std::function<bool()>& condition, double seconds = 20) {
    const double end = steadySeconds() + seconds;
    while (!condition()) {
        if (steadySeconds() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline std::shared_ptr<const PasteboardContents> readAll(Pasteboard& pasteboard) {
    auto contents = pasteboard.contents();
    EXPECT_TRUE(awaitThat([&] { return contents->isComplete(); }, 30));
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
