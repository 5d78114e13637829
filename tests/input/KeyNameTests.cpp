#include "input/ServiceFixture.h"

namespace dresk {
namespace {

using Names = SRKeyCodeTransformer;

TEST(KeyNames, ComeFromTheTableOrTheLayout) {
    struct Row {
        const char* layout;
        std::optional<std::int64_t> keyCode;
        std::optional<String> name;
    };
    const Row rows[] = {
        {"us", 122, u"F1"},      {"us", 80, u"F19"},       {"us", 49, u"Space"},
        {"us", 51, u"\u232B"},   {"us", 36, u"\u21A9"},    {"us", 114, u"?"},
        {"us", 0, u"A"},         {"us", 9, u"V"},          {"us", 27, u"-"},
        {"us", 65, u"Pad ."},    {"us", 92, u"Pad 9"},     {"us", 84, u"Pad 2"},
        {"us", 65535, {}},       {"us", -5, {}},           {"us", {}, {}},
        {"us", 57, {}},          {"us", 65536, u"A"},      {"de", 16, u"Z"},
        {"de", 27, u"SS"},       {"de", 24, u"\u00B4"},    {"de", 33, u"\u00DC"},
        {"us(dvorak)", 9, u"K"}, {"us(dvorak)", 47, u"V"},
    };
    VirtualTime time;
    ScriptedDesktop desktop(time);
    const Names names(desktop.keyboardLayouts());
    for (const Row& row : rows) {
        desktop.selectLayout(fromUTF8(row.layout));
        EXPECT_EQ(names.transformedValue(row.keyCode), row.name)
            << row.layout << " " << row.keyCode.value_or(-1);
    }
}

TEST(KeyNames, LeadBackToTheKey) {
    VirtualTime time;
    ScriptedDesktop desktop(time);
    Names names(desktop.keyboardLayouts());
    EXPECT_EQ(names.keyCodeForString(u"V"), 9);
    EXPECT_EQ(names.keyCodeForString(u"Pad 9"), 92);
    EXPECT_EQ(names.keyCodeForString(u"F1"), 122);
    EXPECT_EQ(names.keyCodeForString(u"v"), 65535);
    EXPECT_EQ(names.keyCodeForString(u""), 65535);
    EXPECT_EQ(names.reverseTransformedValue(u"\u00D6"), std::nullopt);

    desktop.selectLayout(u"us(dvorak)");
    EXPECT_EQ(names.keyCodeForString(u"V"), 9) << "as of the last mapping";
    names.regenerateStringToKeyCodeMapping();
    EXPECT_EQ(names.keyCodeForString(u"V"), 47);
}

TEST(KeyNames, ModifiersHaveGlyphsAndWordsInOrdersOfTheirOwn) {
    VirtualTime time;
    ScriptedDesktop desktop(time);
    KeyboardLayouts& layouts = desktop.keyboardLayouts();
    const Names names(layouts);
    const std::uint64_t all = EventFlag::Modifiers;
    EXPECT_EQ(SRCocoaToCarbonFlags(all | 0x800000 | 0x10000), 0x801B00U);
    EXPECT_EQ(SRCarbonToCocoaFlags(0x801B00 | 0x400), all | 0x800000);
    EXPECT_EQ(SRCarbonToCocoaFlags(CarbonFlag::Control), EventFlag::Control);

    EXPECT_EQ(SRStringForCocoaModifierFlags(0), u"");
    EXPECT_EQ(SRStringForCarbonModifierFlags(0x1B00), u"\u2303\u2325\u21E7\u2318");
    EXPECT_EQ(SRStringForCocoaModifierFlagsAndKeyCode(names, EventFlag::Command, 9), u"\u2318V");
    EXPECT_EQ(SRStringForCarbonModifierFlagsAndKeyCode(names, CarbonFlag::Shift, 57), u"\u21E7");
    EXPECT_EQ(SRReadableStringForCocoaModifierFlagsAndKeyCode(names, all, 9),
              u"Command + Option + Control + Shift + V");
    EXPECT_EQ(SRReadableStringForCarbonModifierFlagsAndKeyCode(names, CarbonFlag::Option, 122),
              u"Option + F1");

    EXPECT_EQ(SRCharacterForKeyCodeAndCocoaFlags(names, layouts, 18, EventFlag::Shift), u"!");
    EXPECT_EQ(SRCharacterForKeyCodeAndCocoaFlags(names, layouts, 0, EventFlag::Command), u"A");
    EXPECT_EQ(SRCharacterForKeyCodeAndCarbonFlags(names, layouts, 19, CarbonFlag::Option),
              u"\u2122");
    EXPECT_EQ(SRCharacterForKeyCodeAndCarbonFlags(names, layouts, 122, 0), u"F1");
}

/// A service in the layout that its test wants.
class PasteKey : public ServiceTest {
  protected:
    /// What a new service, made in that layout, posts to paste.
    std::string pasteOf(MacInputService& made) {
        made.enableEvents();
        time.runPending();
        desktop.performOnTapThread([&] { made.sendPasteCommand(); });
        std::string lines = posted();
        made.disableEvents();
        return lines;
    }
};

TEST_F(PasteKey, IsFoundOnceInTheLayoutOfTheStart) {
    desktop.selectLayout(u"us(dvorak)");
    MacInputService made(desktop, resolver, mainLoop);
    EXPECT_EQ(pasteOf(made), "0.00 (down Command-47), (up 47)");
    desktop.selectLayout(u"us");
    time.runPending();
    EXPECT_EQ(made.keyCodeTransformer().keyCodeForString(u"V"), 9) << "the names follow";
    EXPECT_EQ(pasteOf(made), "0.00 (down Command-47), (up 47)") << "the paste key does not";
}

} // namespace
} // namespace dresk
