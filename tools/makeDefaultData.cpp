#include <cstdio>

#include "DefaultDataSource.h"
#include "Foundation/FileStorage.h"

namespace {

/// All dates of the default data, so that every build gives the same file.
class FixedClock final : public dresk::Clock {
  public:
    dresk::Date now() const override { return {757382400.0}; }
};

} // namespace

/// Turns the readable default data into the archive that the first start imports.
int main(int argc, char** argv) {
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: %s SOURCE ARCHIVE\n", argv[0]);
        return 2;
    }
    const FixedClock clock;
    std::error_code unreadable;
    const auto source = dresk::readFile(argv[1], unreadable);
    std::string error = "no such file";
    const auto groups =
        source.has_value() ? dresk::readDefaultDataSource(*source, clock, error) : std::nullopt;
    if (!groups.has_value()) {
        (void)std::fprintf(stderr, "%s: %s\n", argv[1], error.c_str());
        return 1;
    }
    if (const auto failure = dresk::writeFile(argv[2], dresk::defaultDataArchive(*groups, clock))) {
        (void)std::fprintf(stderr, "%s: %s\n", argv[2], failure.message().c_str());
        return 1;
    }
    return 0;
}
