#pragma once

#include <string>
#include <vector>

#include "Foundation/String.h"

namespace dresk {

/// A row of the table that test_expander reads.
struct Abbreviation {
    enum class Mode { Immediate, Delimiter, Swallow };

    String letters;
    Mode mode = Mode::Immediate;
    String expansion;
    /// The expansion is the HTML of a rich text.
    bool isHTML = false;
};

/// The table as a file's content.
std::string tableOf(const std::vector<Abbreviation>& abbreviations);

/// Keys to type and the text that they should leave behind, built side by side.
struct ExpansionScript {
    String keys;
    String expected;

    void type(StringView text) {
        keys += text;
        expected += text;
    }
    /// `delimiter` ends the abbreviation; with Immediate it is ordinary text behind it.
    void abbreviate(const Abbreviation& abbreviation, StringView delimiter = u" ");
};

/// Unique abbreviations in turn of all modes, with texts of many lengths, scripts and sizes of
/// character, line ends included. Each begins with a letter that no word of `ordinaryWord` begins
/// with, and none ends another.
std::vector<Abbreviation> sampleAbbreviations(std::size_t count);

/// A word of ordinary English text, lower case, that completes no abbreviation.
StringView ordinaryWord(std::size_t index);

} // namespace dresk
