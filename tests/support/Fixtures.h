#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace dresk::test {

/// Bytes of a sample file of the platform; empty if the samples are not on this machine.
inline std::string fixture(const std::string& path) {
    std::ifstream file(std::filesystem::path(DRESK_FIXTURES) / path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline bool haveFixtures() {
    return std::filesystem::exists(DRESK_FIXTURES);
}

} // namespace dresk::test

#define DRESK_SKIP_WITHOUT_FIXTURES()                                                              \
    if (!dresk::test::haveFixtures())                                                              \
    GTEST_SKIP() << "sample files are not on this machine"
