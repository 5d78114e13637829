#pragma once

#include "Foundation/PreferenceStore.h"
#include "shell/TappingProcess.h"

namespace dresk {

/// What is known when the user asks why Dresk does not work.
struct DiagnosticFacts {
    String version;
    /// Null when unknown, as the name of the program in front.
    std::optional<String> systemVersion;
    std::optional<String> foregroundProgram;
    bool enabled = false;
    bool eventTapCreated = false;
    bool secureInput = false;
    String secureInputStatus;
    std::optional<std::vector<TappingProcess>> tappingProcesses;
};

/// The report, as lines for a person to read or to send.
String diagnosticText(const DiagnosticFacts& facts, const PreferenceStore& preferences);

} // namespace dresk
