#pragma once

#include <string>
#include <vector>

namespace dresk {

/// What the program was asked for. Texts are UTF-8.
struct CommandLine {
    enum class Action { Run, Help, Version, Error };

    Action action = Action::Run;
    /// Files to open, as given.
    std::vector<std::string> files;
    /// The option that is not known, for Error.
    std::string badOption;

    /// `arguments` stand without the program's name. `--` ends the options; `-` alone is a file.
    static CommandLine parse(const std::vector<std::string>& arguments);
};

/// What --help prints.
extern const char* const HelpText;

} // namespace dresk
