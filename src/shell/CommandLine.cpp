#include "shell/CommandLine.h"

namespace dresk {

const char* const HelpText = "Usage: dresk [FILE...]\n"
                             "Replaces abbreviations by snippets as you type, in every "
                             "application.\n"
                             "\n"
                             "  FILE       a data or import file to open\n"
                             "  --help     print this help and exit\n"
                             "  --version  print the version and exit\n";

CommandLine CommandLine::parse(const std::vector<std::string>& arguments) {
    CommandLine result;
    bool onlyFiles = false;
    for (const std::string& argument : arguments) {
        if (onlyFiles || argument.size() < 2 || argument.front() != '-') {
            result.files.push_back(argument);
            continue;
        }
        if (argument == "--") {
            onlyFiles = true;
            continue;
        }
        result.files.clear();
        if (argument == "--help")
            result.action = Action::Help;
        else if (argument == "--version")
            result.action = Action::Version;
        else {
            result.action = Action::Error;
            result.badOption = argument;
        }
        return result;
    }
    return result;
}

} // namespace dresk
