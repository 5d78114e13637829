#include <gtest/gtest.h>

#include "shell/CommandLine.h"

namespace dresk {
namespace {

TEST(CommandLine, KnowsTwoOptionsAndFiles) {
    using Action = CommandLine::Action;
    using Arguments = std::vector<std::string>;
    struct Row {
        Arguments arguments;
        Action action;
        Arguments files;
        const char* badOption;
    };
    const Row rows[] = {
        {{}, Action::Run, {}, ""},
        {{"a.dresk", "-"}, Action::Run, {"a.dresk", "-"}, ""},
        {{"--", "--help"}, Action::Run, {"--help"}, ""},
        {{"a.dresk", "--help"}, Action::Help, {}, ""},
        {{"--version"}, Action::Version, {}, ""},
        {{"-h"}, Action::Error, {}, "-h"},
        {{"a", "--helper", "--version"}, Action::Error, {}, "--helper"},
    };
    for (const Row& row : rows) {
        const CommandLine commandLine = CommandLine::parse(row.arguments);
        EXPECT_EQ(commandLine.action, row.action) << row.badOption;
        EXPECT_EQ(commandLine.files, row.files);
        EXPECT_EQ(commandLine.badOption, row.badOption);
    }
}

} // namespace
} // namespace dresk
