#pragma once

#include <filesystem>
#include <vector>

#include "ui/FormWindow.h"

namespace dresk {

/// Loads the module with the form's window when it is first asked for, so that a program that shows
/// no form does not carry a browser. Main thread.
class FormWindowModule {
  public:
    /// The first of the files that exists is the module.
    explicit FormWindowModule(std::vector<std::filesystem::path> candidates)
        : candidates_(std::move(candidates)) {}

    /// Where the module lies for a program in that folder: beside it as built, or as installed.
    static std::vector<std::filesystem::path>
    candidatesFor(const std::filesystem::path& programFolder);

    /// Null, with a line in the log, when it cannot be had; it is tried again at the next call.
    /// What was loaded stays.
    FormWindowFactory* factory();

  private:
    FormWindowFactory* load(std::string& error) const;

    std::vector<std::filesystem::path> candidates_;
    FormWindowFactory* factory_ = nullptr;
};

} // namespace dresk
