#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "Foundation/RunLoop.h"
#include "input/freedesktop/AtspiAccessibility.h"
#include "input/freedesktop/CanberraSounds.h"
#include "input/freedesktop/TextOffsets.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

TEST(TextOffsets, LeadBothWaysThroughAKnownStretch) {
    // Code points 10 to 13: a letter, two beyond the first plane, a letter.
    const TextOffsets offsets(10, u"a\U0001F600\U0001F601b");
    const std::uint64_t units[] = {9, 10, 11, 13, 15, 16, 17, 116};
    const std::uint64_t points[] = {9, 10, 11, 12, 13, 14, 15, 114};
    for (std::size_t i = 0; i < std::size(units); ++i) {
        EXPECT_EQ(offsets.unitOfCodePoint(points[i]), units[i]) << points[i];
        EXPECT_EQ(offsets.codePointOfUnit(units[i]), points[i]) << units[i];
    }
    EXPECT_EQ(offsets.codePointOfUnit(12), 11U) << "inside a pair";

    EXPECT_EQ(offsets.codePointsOfUnits({12, 2}), (Range{11, 2})) << "two halves";
    EXPECT_EQ(offsets.codePointsOfUnits({11, 2}), (Range{11, 1}));
    EXPECT_EQ(offsets.codePointsOfUnits({15, 0}), (Range{13, 0}));
    EXPECT_EQ(TextOffsets().codePointsOfUnits({3, 4}), (Range{3, 4}));
}

TEST(AtspiAccessibility, IsNeutralAtOnceWithoutASession) {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("XDG_RUNTIME_DIR");
    const double begin = steadySeconds();
    for (int round = 0; round < 2; ++round) {
        const auto accessibility = makeAtspiAccessibility();
        EXPECT_EQ(accessibility->applicationElement({0, 0}), nullptr);
        const AXElement application = accessibility->applicationElement({0, 1});
        ASSERT_NE(application, nullptr);
        EXPECT_TRUE(std::holds_alternative<std::monostate>(
            application->attributeValue(AXAttribute::FocusedUIElement)));
    }
    EXPECT_LT(steadySeconds() - begin, 1.0);
}

TEST(CanberraSounds, AreFoundByNameAndByFile) {
    const auto sounds = makeCanberraSounds();
    for (const StringView name : {u"Click", u"Pop", u"Tink"})
        EXPECT_NE(sounds->soundNamed(name), nullptr);
    for (const StringView name : {u"", u"click", u"No such sound"})
        EXPECT_EQ(sounds->soundNamed(name), nullptr);

    const test::TemporaryFolder folder;
    const auto sound = [&](const std::string& name, const std::string& bytes) {
        const std::string path = (folder / name).string();
        std::ofstream(path, std::ios::binary) << bytes;
        return sounds->soundWithContentsOfFile(fromUTF8(path));
    };
    EXPECT_NE(sound("a.wav", std::string("RIFF\x24\0\0\0WAVEfmt ", 16)), nullptr);
    EXPECT_NE(sound("b.ogg", "OggS and more"), nullptr);
    EXPECT_EQ(sound("c.wav", "RIFF and no more"), nullptr);
    EXPECT_EQ(sound("d.wav", ""), nullptr);
    EXPECT_EQ(sounds->soundWithContentsOfFile(fromUTF8(folder.path().string())), nullptr);
    EXPECT_EQ(sounds->soundWithContentsOfFile(u"/no/such/file.wav"), nullptr);
}

TEST(CanberraSounds, KeepNobodyWaiting) {
    std::shared_ptr<FeedbackSound> survivor;
    const double begin = steadySeconds();
    {
        const auto sounds = makeCanberraSounds();
        survivor = sounds->soundNamed(u"Pop");
        for (int i = 0; i < 100; ++i) {
            survivor->play();
            sounds->beep();
        }
    }
    survivor->play(); // nobody hears it any more
    EXPECT_LT(steadySeconds() - begin, 0.5);
}

} // namespace
} // namespace dresk
