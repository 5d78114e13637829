#include "input/SRKeyCodeTransformer.h"

#include <algorithm>
#include <iterator>

#include "Foundation/KeyCode.h"
#include "Foundation/Unicode.h"
#include "input/Desktop.h"
#include "seam/GeneralHotKey.h"

namespace dresk {

namespace {

struct KeyNameRow {
    std::uint16_t keyCode;
    StringView name;
};

constexpr KeyNameRow KeyNames[] = {
    {122, u"F1"},
    {120, u"F2"},
    {99, u"F3"},
    {118, u"F4"},
    {96, u"F5"},
    {97, u"F6"},
    {98, u"F7"},
    {100, u"F8"},
    {101, u"F9"},
    {109, u"F10"},
    {103, u"F11"},
    {111, u"F12"},
    {105, u"F13"},
    {107, u"F14"},
    {113, u"F15"},
    {106, u"F16"},
    {64, u"F17"},
    {79, u"F18"},
    {80, u"F19"},
    {KeyCode::Space, u"Space"},
    {KeyCode::Delete, u"\u232B"},
    {KeyCode::ForwardDelete, u"\u2326"},
    {71, u"\u2327"},
    {KeyCode::LeftArrow, u"\u2190"},
    {KeyCode::RightArrow, u"\u2192"},
    {KeyCode::UpArrow, u"\u2191"},
    {KeyCode::DownArrow, u"\u2193"},
    {KeyCode::End, u"\u2198"},
    {KeyCode::Home, u"\u2196"},
    {KeyCode::Escape, u"\u238B"},
    {KeyCode::PageDown, u"\u21DF"},
    {KeyCode::PageUp, u"\u21DE"},
    {KeyCode::Return, u"\u21A9"},
    {KeyCode::Enter, u"\u2305"},
    {KeyCode::Tab, u"\u21E5"},
    {KeyCode::Insert, u"?"},
};

constexpr std::uint16_t PadKeys[] = {65, 67, 69, 75, 78, 81, 82, 83,
                                     84, 85, 86, 87, 88, 89, 91, 92};
constexpr StringView PadPrefix = u"Pad ";

constexpr std::uint16_t MappedKeyCount = 128;

struct Modifier {
    std::uint64_t cocoa;
    std::uint64_t carbon;
    StringView glyph;
    StringView word;
};
constexpr Modifier Control{EventFlag::Control, CarbonFlag::Control, u"\u2303", u"Control + "};
constexpr Modifier Option{EventFlag::Option, CarbonFlag::Option, u"\u2325", u"Option + "};
constexpr Modifier Shift{EventFlag::Shift, CarbonFlag::Shift, u"\u21E7", u"Shift + "};
constexpr Modifier Command{EventFlag::Command, CarbonFlag::Command, u"\u2318", u"Command + "};
constexpr Modifier GlyphOrder[] = {Control, Option, Shift, Command};
constexpr Modifier WordOrder[] = {Command, Option, Control, Shift};

constexpr std::uint64_t FunctionKeyFlag = 0x800000;

} // namespace

SRKeyCodeTransformer::SRKeyCodeTransformer(KeyboardLayouts& layouts) : layouts_(layouts) {
    regenerateStringToKeyCodeMapping();
}

std::optional<String>
SRKeyCodeTransformer::transformedValue(std::optional<std::int64_t> keyCode) const {
    const auto code = static_cast<std::int16_t>(keyCode.value_or(-1));
    if (code < 0)
        return std::nullopt;
    const auto* const row = std::find_if(std::begin(KeyNames), std::end(KeyNames),
                                         [&](const auto& key) { return key.keyCode == code; });
    if (row != std::end(KeyNames))
        return String(row->name);
    const auto typed = layouts_.stringForKeyCode(code, 0);
    if (!typed.has_value())
        return std::nullopt;
    const String name = uppercaseString(typed->substr(0, 1));
    if (std::find(std::begin(PadKeys), std::end(PadKeys), code) != std::end(PadKeys))
        return String(PadPrefix).append(name);
    return name;
}

std::optional<std::uint16_t> SRKeyCodeTransformer::reverseTransformedValue(StringView name) const {
    const std::lock_guard lock(mutex_);
    const auto found = keyCodes_.find(String(name));
    return found != keyCodes_.end() ? std::optional(found->second) : std::nullopt;
}

std::uint16_t SRKeyCodeTransformer::keyCodeForString(StringView name) const {
    return reverseTransformedValue(name).value_or(NoKeyCode);
}

void SRKeyCodeTransformer::regenerateStringToKeyCodeMapping() {
    std::unordered_map<String, std::uint16_t> keyCodes;
    for (std::uint16_t code = 0; code < MappedKeyCount; ++code)
        if (auto name = transformedValue(code); name.has_value() && !name->empty())
            keyCodes.insert_or_assign(std::move(*name), code);
    const std::lock_guard lock(mutex_);
    keyCodes_ = std::move(keyCodes);
}

std::uint64_t SRCarbonToCocoaFlags(std::uint64_t flags) {
    std::uint64_t result = flags & FunctionKeyFlag;
    for (const Modifier& modifier : GlyphOrder)
        if ((flags & modifier.carbon) != 0)
            result |= modifier.cocoa;
    return result;
}

std::uint64_t SRCocoaToCarbonFlags(std::uint64_t flags) {
    std::uint64_t result = flags & FunctionKeyFlag;
    for (const Modifier& modifier : GlyphOrder)
        if ((flags & modifier.cocoa) != 0)
            result |= modifier.carbon;
    return result;
}

std::optional<String> SRStringForKeyCode(const SRKeyCodeTransformer& transformer,
                                         std::uint16_t keyCode) {
    return transformer.transformedValue(keyCode);
}

String SRStringForCocoaModifierFlags(std::uint64_t flags) {
    String result;
    for (const Modifier& modifier : GlyphOrder)
        if ((flags & modifier.cocoa) != 0)
            result.append(modifier.glyph);
    return result;
}

String SRStringForCarbonModifierFlags(std::uint64_t flags) {
    return SRStringForCocoaModifierFlags(SRCarbonToCocoaFlags(flags));
}

String SRStringForCocoaModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                               std::uint64_t flags, std::uint16_t keyCode) {
    return SRStringForCocoaModifierFlags(flags).append(
        SRStringForKeyCode(transformer, keyCode).value_or(String()));
}

String SRStringForCarbonModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                                std::uint64_t flags, std::uint16_t keyCode) {
    return SRStringForCocoaModifierFlagsAndKeyCode(transformer, SRCarbonToCocoaFlags(flags),
                                                   keyCode);
}

String SRReadableStringForCocoaModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                                       std::uint64_t flags, std::uint16_t keyCode) {
    String result;
    for (const Modifier& modifier : WordOrder)
        if ((flags & modifier.cocoa) != 0)
            result.append(modifier.word);
    return result.append(SRStringForKeyCode(transformer, keyCode).value_or(String()));
}

String SRReadableStringForCarbonModifierFlagsAndKeyCode(const SRKeyCodeTransformer& transformer,
                                                        std::uint64_t flags,
                                                        std::uint16_t keyCode) {
    return SRReadableStringForCocoaModifierFlagsAndKeyCode(transformer, SRCarbonToCocoaFlags(flags),
                                                           keyCode);
}

std::optional<String> SRCharacterForKeyCodeAndCocoaFlags(const SRKeyCodeTransformer& transformer,
                                                         KeyboardLayouts& layouts,
                                                         std::uint16_t keyCode,
                                                         std::uint64_t flags) {
    const auto typed =
        layouts.stringForKeyCode(keyCode, flags & (EventFlag::Shift | EventFlag::Option));
    if (!typed.has_value())
        return SRStringForKeyCode(transformer, keyCode);
    return uppercaseString(typed->substr(0, 1));
}

std::optional<String> SRCharacterForKeyCodeAndCarbonFlags(const SRKeyCodeTransformer& transformer,
                                                          KeyboardLayouts& layouts,
                                                          std::uint16_t keyCode,
                                                          std::uint64_t flags) {
    return SRCharacterForKeyCodeAndCocoaFlags(transformer, layouts, keyCode,
                                              SRCarbonToCocoaFlags(flags));
}

} // namespace dresk
