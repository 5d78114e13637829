#pragma once

#include <string>
#include <vector>

#include "Foundation/Date.h"
#include "Foundation/String.h"

namespace dresk {

/// What the command line of dresk-play says.
struct PlayOptions {
    struct SnippetDefinition {
        String abbreviation;
        String content;
        /// A SnippetContentType.
        std::int64_t contentType;
        /// An ExpandTrigger.
        std::int32_t expandTrigger;
    };

    std::vector<SnippetDefinition> snippets;
    /// Path of an archive of snippets; null for none.
    std::optional<std::string> data;
    /// The text on the clipboard; null for none.
    std::optional<String> clipboard;
    /// When typing begins; null for the machine's present time.
    std::optional<Date> now;
    /// Empty for the machine's.
    String timeZone;
    /// Empty for the machine's.
    String locale;
    /// Name of a scripted layout.
    String layout = u"us";
    /// Key notation in UTF-8; null to read it from standard input.
    std::optional<std::string> typed;
    bool trace = false;
    bool help = false;
    bool version = false;

    /// `arguments` without the program's name. Null, and `error` says why, when they make no sense.
    static std::optional<PlayOptions> parse(const std::vector<std::string>& arguments,
                                            std::string& error);
};

} // namespace dresk
