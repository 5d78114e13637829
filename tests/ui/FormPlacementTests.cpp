#include <gtest/gtest.h>

#include "ui/FormPlacement.h"

namespace dresk {
namespace {

const std::vector<Screen> TwoScreens = {{{0, 0, 1000, 800}, {0, 30, 1000, 770}},
                                        {{1000, 100, 600, 500}, {1000, 100, 600, 500}}};

TEST(FormPlacement, CentredWindowIgnoresWhereTheVisiblePartBegins) {
    // 770 high from below: 285 stay free there.
    EXPECT_EQ(centredOrigin({400, 200}, TwoScreens), (Point{300, 315}));
    EXPECT_EQ(centredOrigin({4000, 2000}, TwoScreens), (Point{0, 0}));
    EXPECT_EQ(centredOrigin({400, 200}, {}), (Point{}));
}

TEST(FormPlacement, PopoverStandsAtTheTextAndOnItsScreen) {
    struct Case {
        const char* name;
        Rect text;
        Point origin;
    };
    // Text places count from below: 800 - y is the upper edge.
    const Case cases[] = {
        {"below", {500, 600, 10, 20}, {405, 226}},
        {"aboveWhereThereIsNoRoomBelow", {500, 100, 10, 20}, {405, 494}},
        {"pushedInAtTheLeft", {5, 600, 1, 20}, {0, 226}},
        {"pushedInAtTheRight", {990, 600, 1, 20}, {800, 226}},
        {"onTheOtherScreen", {1590, 600, 1, 20}, {1400, 226}},
        {"onNoScreen", {5000, 600, 10, 20}, {800, 226}},
    };
    for (const Case& test : cases)
        EXPECT_EQ(popoverOrigin(test.text, {200, 200}, TwoScreens), test.origin) << test.name;
    // Neither above nor below: all that fits.
    EXPECT_EQ(popoverOrigin({500, 400, 10, 20}, {200, 700}, TwoScreens), (Point{405, 100}));
}

TEST(FormPlacement, SizesReadBack) {
    EXPECT_EQ(stringFromSize({400, 300.5}), u"{400, 300.5}");
    EXPECT_EQ(sizeFromString(u"{400, 300.5}"), (Size{400, 300.5}));
    EXPECT_EQ(sizeFromString(u"{ 400 ,300}"), (Size{400, 300}));
    for (const StringView bad : {u"", u"400", u"{", u"{,}", u"{a, b}", u"{1e999, 1e999}"})
        EXPECT_EQ(sizeFromString(bad), Size{}) << toUTF8(bad);
}

} // namespace
} // namespace dresk
