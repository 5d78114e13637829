#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace dresk {

/// What a test's user copies: the same number gives the same bytes, and no two numbers share any.
struct UserCopy {
    /// Target and bytes, in the order of the clipboard.
    std::vector<std::pair<std::string, std::string>> items;

    static UserCopy make(unsigned number, std::size_t pictureSize) {
        const std::string name = std::to_string(number);
        std::string picture(pictureSize, '\0');
        std::uint32_t state = number * 2654435761U + 12345;
        for (char& byte : picture) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<char>(state >> 24);
        }
        return {{{"text/html", "<p>the user's <b>copy</b> " + name + "</p>"},
                 {"image/png", std::move(picture)},
                 {"application/x-copied-from", "cell " + name},
                 {"UTF8_STRING", "the user's copy " + name + " \xE2\x82\xAC"}}};
    }
};

} // namespace dresk
