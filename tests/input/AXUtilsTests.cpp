#include "Foundation/RTF.h"
#include "input/AXUtils.h"
#include "input/ServiceFixture.h"
#include "input/scripted/ScriptedElement.h"

namespace dresk {
namespace {

class AccessibilityLookup : public testing::Test {
  protected:
    AccessibilityLookup() { desktop.processes().setFocusedElement(desktop.editor(), element); }

    VirtualTime time;
    ScriptedDesktop desktop{time};
    AXUtils utils{desktop};
    std::shared_ptr<ScriptedElement> element = std::make_shared<ScriptedElement>();
    const AXTextMarkerRange marker{std::make_shared<int>(1)};
};

TEST_F(AccessibilityLookup, EverythingIsNeutralWhenNothingIsTold) {
    const auto expectNeutral = [&] {
        EXPECT_EQ(utils.getFocusedTopLevelUIElement(), nullptr);
        EXPECT_EQ(utils.getSelectedTextLength(), 0U);
        EXPECT_EQ(utils.getSelectedTextRange(), (Range{NotFound, 0}));
        EXPECT_TRUE(utils.getSelectedTextBound().isZero());
        EXPECT_TRUE(utils.getFocusedUIElementBound().isZero());
        EXPECT_EQ(utils.getTextBeforeCaretWithMaxLength(3), std::nullopt);
        EXPECT_EQ(utils.getValue(), std::nullopt);
        EXPECT_FALSE(utils.copySelectedAttributedString().has_value());
        EXPECT_EQ(utils.getHelpSearchFieldUIElement(), nullptr);
    };
    expectNeutral(); // an element without attributes
    desktop.processes().terminate(desktop.editor());
    EXPECT_EQ(utils.getFocusedUIElement(), nullptr);
    expectNeutral();
}

TEST_F(AccessibilityLookup, SelectionLengthFallsBackToTheMarkerRange) {
    element->set(AXAttribute::SelectedTextMarkerRange, marker);
    EXPECT_EQ(utils.getSelectedTextLength(), 0U);
    element->set(AXAttribute::StringForTextMarkerRange, String(u"four"));
    EXPECT_EQ(utils.getSelectedTextLength(), 4U);
    EXPECT_EQ(utils.getSelectedTextRange(), (Range{NotFound, 0})) << "knows no markers";

    element->set(AXAttribute::SelectedTextRange, Range{5, 2});
    EXPECT_EQ(utils.getSelectedTextLength(), 2U);
    EXPECT_EQ(utils.getSelectedTextRange(), (Range{5, 2}));
    for (const std::uint64_t location : {std::uint64_t{0} - 1, NotFound + 1}) {
        element->set(AXAttribute::SelectedTextRange, Range{location, 2});
        EXPECT_EQ(utils.getSelectedTextLength(), 0U) << "a negative location";
        EXPECT_EQ(utils.getSelectedTextRange(), (Range{NotFound, 0}));
    }
}

TEST_F(AccessibilityLookup, TextBeforeTheCaretIsAtMostWhatIsThere) {
    struct Row {
        Range selection;
        std::int64_t length;
        std::optional<String> expected;
    };
    const Row rows[] = {
        {{5, 0}, 3, u"cde"}, {{5, 2}, 3, u"cde"}, {{2, 0}, 3, u"ab"}, {{0, 0}, 3, u""},
        {{5, 0}, -1, u""},   {{5, 0}, 0, u""},    {{9, 0}, 3, {}},    {{NotFound, 0}, 3, {}},
    };
    element->set(AXAttribute::Value, String(u"abcdef"));
    for (const Row& row : rows) {
        element->set(AXAttribute::SelectedTextRange, row.selection);
        EXPECT_EQ(utils.getTextBeforeCaretWithMaxLength(row.length), row.expected)
            << row.selection.location << " " << row.length;
    }
}

// The first screen is 1080 high.
TEST_F(AccessibilityLookup, BoundsAreMeasuredFromBelow) {
    const auto askedRange = [&] {
        return std::get<Range>(element->asked(AXAttribute::BoundsForRange).back());
    };
    element->set(AXAttribute::SelectedTextRange, Range{0, 0});
    EXPECT_TRUE(utils.getSelectedTextBound().isZero());
    EXPECT_EQ(askedRange(), (Range{0, 1})) << "the character behind a caret at the start";

    element->set(AXAttribute::Position, Point{100, 200});
    EXPECT_EQ(utils.getSelectedTextBound(), (Rect{100, 880, 1, 1})) << "of the field, no bounds";
    EXPECT_TRUE(utils.getFocusedUIElementBound().isZero()) << "no size";
    element->set(AXAttribute::Size, Size{300, 40});
    EXPECT_EQ(utils.getFocusedUIElementBound(), (Rect{100, 880, 300, 40}));

    element->set(AXAttribute::BoundsForRange, Rect{110, 210, 8, 16});
    element->set(AXAttribute::SelectedTextRange, Range{7, 0});
    EXPECT_EQ(utils.getSelectedTextBound(), (Rect{110, 870, 8, 16}));
    EXPECT_EQ(askedRange(), (Range{6, 1}));
    element->set(AXAttribute::SelectedTextRange, Range{7, 3});
    utils.getSelectedTextBound();
    EXPECT_EQ(askedRange(), (Range{7, 3}));

    element->set(AXAttribute::SelectedTextRange, {});
    EXPECT_TRUE(utils.getSelectedTextBound().isZero());
    element->set(AXAttribute::SelectedTextMarkerRange, marker);
    element->set(AXAttribute::BoundsForTextMarkerRange, Rect{1, 2, 3, 4});
    EXPECT_EQ(utils.getSelectedTextBound(), (Rect{1, 1078, 3, 4}));
}

TEST_F(AccessibilityLookup, PlacesConvertPerScreenOnTheWayBack) {
    ScriptedScreens& screens = desktop.screens();
    EXPECT_EQ(ConvertToNSPointFromCGPoint(screens, {3, 1200}), (Point{3, -120}));
    EXPECT_EQ(NSPointFromCFTypeRef(screens, Size{3, 4}), std::nullopt);
    EXPECT_EQ(NSRectFromCFTypeRef(screens, Point{3, 4}), std::nullopt);

    // A second screen to the right, its top 100 below that of the first.
    screens.setScreens({{{0, 0, 1920, 1080}, {}}, {{1920, 100, 800, 600}, {}}});
    struct Row {
        Point place;
        Point expected;
    };
    const Row rows[] = {
        {{10, 1000}, {10, 80}},  {{10, 0}, {10, 1080}}, {{2000, 400}, {2000, 580}},
        {{2000, 980}, {0, 0}},   {{-1, 5}, {0, 0}},     {{10, 1080}, {0, 0}},
        {{2000, 379.5}, {0, 0}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(MacInputService::carbonScreenPointFromCocoaScreenPoint(screens, row.place),
                  row.expected)
            << row.place.x << " " << row.place.y;

    screens.setScreens({});
    EXPECT_EQ(ConvertToNSPointFromCGPoint(screens, {3, 5}), (Point{3, -5}));
    EXPECT_EQ(MacInputService::carbonScreenPointFromCocoaScreenPoint(screens, {10, 10}), Point());
}

TEST_F(AccessibilityLookup, RichSelectionPrefersTheDocumentFormat) {
    const auto selected = [&] {
        const auto text = utils.copySelectedAttributedString();
        return text.has_value() ? String(text->string()) : String(u"none");
    };
    element->set(AXAttribute::AttributedStringForRange, AttributedString(u"attributed"));
    element->set(AXAttribute::SelectedTextRange, Range{2, 0});
    EXPECT_EQ(selected(), u"none");
    element->set(AXAttribute::SelectedTextRange, Range{2, 10});
    EXPECT_EQ(selected(), u"attributed");
    element->set(AXAttribute::RTFForRange, std::string("no such format"));
    EXPECT_EQ(selected(), u"attributed");
    element->set(AXAttribute::RTFForRange, RTFFromAttributedString(AttributedString(u"rich")));
    EXPECT_EQ(selected(), u"rich");
}

TEST_F(AccessibilityLookup, TheWindowIsThatOfTheFocusedElement) {
    const auto window = std::make_shared<ScriptedElement>();
    element->set(AXAttribute::TopLevelUIElement, AXElement(window));
    element->set(AXAttribute::Value, Range{});
    EXPECT_EQ(utils.getFocusedTopLevelUIElement(), window);
    EXPECT_EQ(utils.getValue(), std::nullopt) << "a value that is no text";
    element->set(AXAttribute::Value, String(u"text"));
    EXPECT_EQ(utils.getValue(), u"text");
}

} // namespace
} // namespace dresk
