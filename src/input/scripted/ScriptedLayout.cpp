#include "input/scripted/ScriptedLayout.h"

#include <unicode/unorm2.h>

#include "input/Desktop.h"

namespace dresk {

namespace {

constexpr std::size_t ShiftLevel = 1;
constexpr std::size_t OptionLevel = 2;

struct DeadGlyph {
    char16_t glyph;
    char16_t combiningMark;
};
constexpr DeadGlyph DeadGlyphs[] = {
    {u'´', 0x0301}, {u'`', 0x0300}, {u'^', 0x0302}, {u'ˆ', 0x0302},
    {u'¨', 0x0308}, {u'˜', 0x0303}, {u'~', 0x0303},
};

const UNormalizer2* normalizer() {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* result = unorm2_getNFCInstance(&status);
    return U_SUCCESS(status) ? result : nullptr;
}

} // namespace

const ScriptedLayout* ScriptedLayout::named(StringView identifier) {
    static const ScriptedLayout us = makeUS();
    static const ScriptedLayout german = makeGerman();
    static const ScriptedLayout dvorak = makeDvorak();
    for (const ScriptedLayout* layout : {&us, &german, &dvorak})
        if (layout->identifier_ == identifier)
            return layout;
    return nullptr;
}

ScriptedLayout::ScriptedLayout(StringView identifier, const std::vector<Row>& rows)
    : identifier_(identifier) {
    // Keys that are the same everywhere; keypad codes follow.
    const std::vector<Row> common = {
        {36, u"\r\r\r\r"},
        {48, u"\t\t\t\t"},
        {49, u"    "},
        {51, u"\b\b\b\b"},
        {53, u"\x1B\x1B\x1B\x1B"},
        {76, u"\x03\x03\x03\x03"},
        {65, u".."},
        {67, u"**"},
        {69, u"++"},
        {75, u"//"},
        {78, u"--"},
        {81, u"=="},
        {82, u"00"},
        {83, u"11"},
        {84, u"22"},
        {85, u"33"},
        {86, u"44"},
        {87, u"55"},
        {88, u"66"},
        {89, u"77"},
        {91, u"88"},
        {92, u"99"},
    };
    for (const auto* list : {&common, &rows})
        for (const Row& row : *list) {
            Key& key = keys_[row.keyCode];
            key.levels = {};
            for (std::size_t level = 0; level < row.levels.size(); ++level)
                key.levels[level] = row.levels[level];
            key.deadLevels = row.deadLevels;
        }
}

std::uint64_t ScriptedLayout::flagsOfLevel(std::size_t level) {
    return ((level & ShiftLevel) != 0 ? EventFlag::Shift : 0) |
           ((level & OptionLevel) != 0 ? EventFlag::Option : 0);
}

std::optional<ScriptedLayout::Character> ScriptedLayout::character(std::int64_t keyCode,
                                                                   std::uint64_t flags) const {
    if (keyCode < 0 || keyCode >= static_cast<std::int64_t>(KeyCount))
        return std::nullopt;
    const Key& key = keys_[static_cast<std::size_t>(keyCode)];
    const std::size_t level = ((flags & EventFlag::Shift) != 0 ? ShiftLevel : 0) |
                              ((flags & EventFlag::Option) != 0 ? OptionLevel : 0);
    if (key.levels[level] == 0)
        return std::nullopt;
    return Character{key.levels[level], (key.deadLevels >> level & 1) != 0};
}

std::optional<KeyPress> ScriptedLayout::find(char32_t unit, bool dead) const {
    for (std::size_t level = 0; level < LevelCount; ++level)
        for (std::size_t code = 0; code < KeyCount; ++code)
            if (keys_[code].levels[level] != 0 && keys_[code].levels[level] == unit &&
                (keys_[code].deadLevels >> level & 1) == (dead ? 1U : 0U))
                return KeyPress{static_cast<std::uint16_t>(code), flagsOfLevel(level)};
    return std::nullopt;
}

std::vector<KeyPress> ScriptedLayout::pressesFor(char32_t codePoint) const {
    if (codePoint == U'\n')
        codePoint = U'\r';
    if (const auto press = find(codePoint, false))
        return {*press};
    const auto space = find(U' ', false);
    if (const auto press = find(codePoint, true); press.has_value() && space.has_value())
        return {*press, *space};
    UErrorCode status = U_ZERO_ERROR;
    char16_t parts[8];
    const std::int32_t length = unorm2_getRawDecomposition(
        normalizer(), static_cast<UChar32>(codePoint), parts, 8, &status);
    if (U_FAILURE(status) || length != 2)
        return {};
    const auto base = find(parts[0], false);
    for (const DeadGlyph& dead : DeadGlyphs)
        if (dead.combiningMark == parts[1])
            if (const auto press = find(dead.glyph, true); press.has_value() && base.has_value())
                return {*press, *base};
    return {};
}

String ScriptedLayout::compose(char16_t deadGlyph, StringView text) {
    if (text == u" ")
        return String(1, deadGlyph);
    for (const DeadGlyph& dead : DeadGlyphs) {
        if (dead.glyph != deadGlyph || text.size() != 1)
            continue;
        const UChar32 composed = unorm2_composePair(normalizer(), text[0], dead.combiningMark);
        if (composed > 0) {
            String result;
            appendCodePoint(result, static_cast<char32_t>(composed));
            return result;
        }
    }
    return String(1, deadGlyph).append(text);
}

namespace {

// Levels of each row: plain, Shift, Option, Option with Shift.
constexpr unsigned OnPlain = 1;
constexpr unsigned OnShift = 2;
constexpr unsigned OnOption = 4;

} // namespace

ScriptedLayout ScriptedLayout::makeUS() {
    return {u"us",
            {
                {0, u"aA"},
                {11, u"bB"},
                {8, u"cC"},
                {2, u"dD"},
                {14, u"eE´", OnOption},
                {3, u"fF"},
                {5, u"gG©"},
                {4, u"hH"},
                {34, u"iIˆ", OnOption},
                {38, u"jJ"},
                {40, u"kK"},
                {37, u"lL"},
                {46, u"mM"},
                {45, u"nN˜", OnOption},
                {31, u"oO"},
                {35, u"pP"},
                {12, u"qQ"},
                {15, u"rR®"},
                {1, u"sSß"},
                {17, u"tT"},
                {32, u"uU¨", OnOption},
                {9, u"vV"},
                {13, u"wW"},
                {7, u"xX"},
                {16, u"yY"},
                {6, u"zZ"},
                {18, u"1!"},
                {19, u"2@™€"},
                {20, u"3#£"},
                {21, u"4$"},
                {23, u"5%"},
                {22, u"6^"},
                {26, u"7&"},
                {28, u"8*•°"},
                {25, u"9("},
                {29, u"0)"},
                {27, u"-_–—"},
                {24, u"=+"},
                {33, u"[{“”"},
                {30, u"]}‘’"},
                {42, u"\\|«»"},
                {41, u";:…"},
                {39, u"'\""},
                {43, u",<"},
                {47, u".>"},
                {44, u"/?"},
                {50, u"`~`", OnOption},
                {10, u"§±"},
            }};
}

ScriptedLayout ScriptedLayout::makeGerman() {
    return {u"de",
            {
                {0, u"aA"},
                {11, u"bB"},
                {8, u"cC"},
                {2, u"dD"},
                {14, u"eE€"},
                {3, u"fF"},
                {5, u"gG©"},
                {4, u"hH"},
                {34, u"iI"},
                {38, u"jJ"},
                {40, u"kK"},
                {37, u"lL@"},
                {46, u"mM"},
                {45, u"nN~", OnOption},
                {31, u"oO"},
                {35, u"pP"},
                {12, u"qQ«»"},
                {15, u"rR®"},
                {1, u"sS"},
                {17, u"tT"},
                {32, u"uU"},
                {9, u"vV"},
                {13, u"wW"},
                {7, u"xX"},
                {6, u"yY"},
                {16, u"zZ"},
                {10, u"^°", OnPlain},
                {18, u"1!"},
                {19, u"2\"“”"},
                {20, u"3§"},
                {21, u"4$"},
                {23, u"5%["},
                {22, u"6&]"},
                {26, u"7/|\\"},
                {28, u"8({"},
                {25, u"9)}"},
                {29, u"0="},
                {27, u"ß?"},
                {24, u"´`", OnPlain | OnShift},
                {33, u"üÜ•"},
                {30, u"+*"},
                {41, u"öÖ"},
                {39, u"äÄ"},
                {42, u"#'"},
                {50, u"<>"},
                {43, u",;"},
                {47, u".:…"},
                {44, u"-_–—"},
            }};
}

ScriptedLayout ScriptedLayout::makeDvorak() {
    return {u"us(dvorak)",
            {
                {50, u"`~"}, {18, u"1!"},  {19, u"2@"}, {20, u"3#"}, {21, u"4$"}, {23, u"5%"},
                {22, u"6^"}, {26, u"7&"},  {28, u"8*"}, {25, u"9("}, {29, u"0)"}, {27, u"[{"},
                {24, u"]}"}, {12, u"'\""}, {13, u",<"}, {14, u".>"}, {15, u"pP"}, {17, u"yY"},
                {16, u"fF"}, {32, u"gG"},  {34, u"cC"}, {31, u"rR"}, {35, u"lL"}, {33, u"/?"},
                {30, u"=+"}, {42, u"\\|"}, {0, u"aA"},  {1, u"oO"},  {2, u"eE"},  {3, u"uU"},
                {5, u"iI"},  {4, u"dD"},   {38, u"hH"}, {40, u"tT"}, {37, u"nN"}, {41, u"sS"},
                {39, u"-_"}, {6, u";:"},   {7, u"qQ"},  {8, u"jJ"},  {9, u"kK"},  {11, u"xX"},
                {45, u"bB"}, {46, u"mM"},  {43, u"wW"}, {47, u"vV"}, {44, u"zZ"},
            }};
}

} // namespace dresk
