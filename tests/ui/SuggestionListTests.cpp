#include <thread>

#include <gtest/gtest.h>

#include "ui/PanelRig.h"
#include "ui/SuggestionListController.h"

namespace dresk {
namespace {

struct ListRig : PanelRig {
    using View = ScriptedPanelView<ListPanelView>;

    explicit ListRig(double unitsPerPoint = 1)
        : controller(
              desktop, mainLoop, preferences, groups,
              [this, unitsPerPoint](const ListPanelRows& shownRows, ListPanelEvents& viewEvents) {
                  listRows = &shownRows;
                  events = &viewEvents;
                  return std::make_unique<View>(view, unitsPerPoint);
              }) {
        controller.setSuggestions(rows, [this] {
            wasVisibleWhenChosen = view.isVisible;
            chosen.push_back(controller.selectedSuggestionIndex());
        });
    }

    void fill(std::size_t count) {
        SnippetMatches matches;
        for (std::size_t i = 0; i < count; ++i)
            matches.push_back({addSnippet(u"abc", u"content"), u"ab"});
        rows.assign(std::move(matches), false);
    }
    /// As the engine calls it: on the main thread.
    template <class Call>
    void onMain(Call call) {
        mainLoop.perform(call);
    }
    void show(std::size_t count) {
        fill(count);
        onMain([&] { controller.showWindowAtCaret(); });
    }
    void refill(std::size_t count) {
        fill(count);
        onMain([&] {
            controller.reloadData();
            controller.refreshHeight();
        });
    }

    SuggestionRows rows;
    View::State view;
    const ListPanelRows* listRows = nullptr;
    ListPanelEvents* events = nullptr;
    std::vector<std::size_t> chosen;
    bool wasVisibleWhenChosen = false;
    SuggestionListController controller;
};

struct PlaceCase {
    const char* name;
    /// Zero for none.
    Rect caret;
    Rect element;
    std::size_t rows;
    Rect expected;
};

// The screen ends at 1080, its free part begins at 30.
const PlaceCase PlaceCases[] = {
    {"below the caret", {100, 200, 1, 16}, {}, 3, {100, 230, 400, 60}},
    {"at most ten rows", {100, 200, 1, 16}, {}, 25, {100, 230, 400, 200}},
    {"to the very bottom", {100, 850, 1, 16}, {}, 10, {100, 880, 400, 200}},
    // Above: the lower edge lies the caret's height and 10 above the caret.
    {"above the caret", {100, 851, 1, 16}, {}, 10, {100, 625, 400, 200}},
    {"moved left", {1800, 200, 1, 16}, {}, 1, {1520, 230, 400, 20}},
    {"moved right", {-50, 200, 1, 16}, {}, 1, {0, 230, 400, 20}},
    {"a caret without size", {100, 200, 0, 0}, {}, 1, {100, 230, 400, 20}},
    {"in the element", {}, {100, 200, 600, 300}, 5, {200, 300, 400, 100}},
    {"in what is seen of the element", {}, {1820, 980, 600, 300}, 5, {1520, 980, 400, 100}},
    {"element off the screen", {}, {3000, 200, 600, 300}, 5, {760, 505, 400, 100}},
    {"nothing known", {}, {}, 5, {760, 505, 400, 100}},
};

TEST(SuggestionListPlace, FollowsCaretElementAndScreen) {
    for (const PlaceCase& row : PlaceCases) {
        SCOPED_TRACE(row.name);
        ListRig rig;
        if (!row.caret.isZero())
            rig.setCaret(row.caret);
        if (!row.element.isZero()) {
            rig.field->set(AXAttribute::Position, Point{row.element.x, row.element.y});
            rig.field->set(AXAttribute::Size, Size{row.element.width, row.element.height});
        }
        rig.show(row.rows);
        EXPECT_TRUE(rig.view.isVisible);
        EXPECT_EQ(rig.view.frame, row.expected);
        EXPECT_EQ(rig.controller.windowFrame(), row.expected);
        EXPECT_EQ(rig.view.selectedRow, 0U);
    }
}

TEST(SuggestionListPlace, IsOnTheScreenOfTheCaret) {
    ListRig rig;
    rig.desktop.screens().setScreens(
        {{{0, 0, 1920, 1080}, {0, 30, 1920, 1050}}, {{1920, 0, 1280, 1024}, {1920, 0, 1280, 984}}});
    rig.setCaret({3100, 100, 1, 16});
    rig.show(2);
    EXPECT_EQ(rig.view.frame, (Rect{2800, 130, 400, 40}));
}

TEST(SuggestionListPlace, CountsPointsOnADenseScreen) {
    ListRig rig(2);
    rig.setCaret({100, 200, 2, 32});
    rig.show(3);
    EXPECT_EQ(rig.view.frame, (Rect{100, 260, 800, 120}));
}

TEST(SuggestionListHeight, KeepsTheUpperEdgeUntilTheScreenEnds) {
    ListRig rig;
    rig.setCaret({100, 900, 1, 16});
    rig.show(5);
    EXPECT_EQ(rig.view.frame, (Rect{100, 930, 400, 100}));
    rig.refill(2);
    EXPECT_EQ(rig.view.frame, (Rect{100, 930, 400, 40}));
    // Too tall below: moves above the caret, where that is now.
    rig.setCaret({100, 905, 1, 16});
    rig.refill(9);
    EXPECT_EQ(rig.view.frame, (Rect{100, 699, 400, 180}));
    rig.refill(1);
    EXPECT_EQ(rig.view.frame, (Rect{100, 699, 400, 20}));
}

TEST(SuggestionListHeight, IsClampedToTheScreenInOtherModes) {
    ListRig rig;
    rig.field->set(AXAttribute::Position, Point{100, 1040});
    rig.field->set(AXAttribute::Size, Size{400, 40});
    rig.show(2);
    EXPECT_EQ(rig.view.frame, (Rect{100, 1040, 400, 40}));
    rig.refill(4);
    EXPECT_EQ(rig.view.frame, (Rect{100, 1000, 400, 80}));
}

TEST(SuggestionListRows, ShowNumbersBehindTheSelectorsSign) {
    ListRig rig;
    rig.show(12);
    EXPECT_EQ(rig.view.orderColumnWidth, 15);
    EXPECT_EQ(rig.listRows->rowNumber(0), u"1");
    EXPECT_EQ(rig.listRows->rowNumber(9), u"0");
    EXPECT_EQ(rig.listRows->rowNumber(10), u"");
    const StringView numbers[] = {u"1", u"⇧ 1", u"⌃ 1", u"⌥ 1", u"⌘ 1", u"1"};
    for (std::uint64_t modifier = 0; modifier < std::size(numbers); ++modifier) {
        rig.controller.setSnippetSelectorKeyModifier(modifier);
        EXPECT_EQ(rig.listRows->rowNumber(0), numbers[modifier]);
        EXPECT_EQ(rig.view.orderColumnWidth, modifier % 5 == 0 ? 15 : 30);
    }
}

TEST(SuggestionListRows, SelectionStopsAtTheEnds) {
    ListRig rig;
    rig.show(3);
    const auto selected = [&] { return rig.controller.selectedSuggestionIndex(); };
    rig.onMain([&] {
        rig.controller.previousSuggestion();
        EXPECT_EQ(selected(), 0U);
        for (int i = 0; i < 5; ++i)
            rig.controller.nextSuggestion();
        EXPECT_EQ(selected(), 2U);
        EXPECT_EQ(rig.view.selectedRow, 2U);
        rig.controller.previousSuggestion();
        EXPECT_EQ(selected(), 1U);
        rig.controller.reloadData();
        EXPECT_EQ(selected(), 0U);
    });
    rig.refill(0);
    EXPECT_EQ(selected(), NotFound);
    rig.onMain([&] { rig.controller.nextSuggestion(); });
    EXPECT_EQ(selected(), NotFound);
}

TEST(SuggestionListRows, TheEngineMayEmptyThemWhileTheyShow) {
    ListRig rig;
    rig.show(3);
    rig.rows.clear();
    EXPECT_EQ(rig.listRows->rowContent(2).abbreviation, u"abc");
    EXPECT_EQ(rig.listRows->rowContent(2).abbreviationMatch, (Range{0, 2}));
    EXPECT_EQ(rig.listRows->rowContent(3).title, u"");
}

TEST(SuggestionListPointer, SelectsByMovingAndChoosesByReleasing) {
    ListRig rig;
    rig.show(3);
    rig.view.rowUnderPointer = 2;
    EXPECT_EQ(rig.controller.indexAtMouseLocation(), 2U);
    rig.onMain([&] {
        rig.events->pointerMovedOverRow(2);
        EXPECT_EQ(rig.view.selectedRow, 2U);
        rig.events->tableViewRowClickedAction();
        // A second release finds the list closed.
        rig.events->tableViewRowClickedAction();
    });
    EXPECT_EQ(rig.chosen, (std::vector<std::size_t>{2}));
    EXPECT_FALSE(rig.wasVisibleWhenChosen);
    EXPECT_EQ(rig.controller.indexAtMouseLocation(), std::nullopt);
}

TEST(SuggestionListClosing, CountsAtOnceAndTheWindowFollows) {
    ListRig rig;
    rig.show(3);
    std::thread([&] { rig.controller.close(); }).join();
    EXPECT_FALSE(rig.controller.isVisible());
    EXPECT_TRUE(rig.view.isVisible);
    rig.time.runPending();
    EXPECT_FALSE(rig.view.isVisible);

    // Shown again before the window had closed, it stays.
    rig.show(3);
    std::thread([&] { rig.controller.close(); }).join();
    rig.show(3);
    rig.time.runPending();
    EXPECT_TRUE(rig.view.isVisible);
    EXPECT_TRUE(rig.controller.isVisible());
}

TEST(SuggestionListClosing, NothingIsShownWithoutRows) {
    ListRig rig;
    rig.show(0);
    EXPECT_FALSE(rig.controller.isVisible());
    EXPECT_FALSE(rig.view.isVisible);
}

/// An element in which the user types on while it is asked for the caret.
class TypingElement final : public AXUIElement {
  public:
    explicit TypingElement(std::function<void()> typing) : typing_(std::move(typing)) {}
    AXValue attributeValue(StringView /*name*/) override {
        typing_();
        return {};
    }
    AXValue parameterizedAttributeValue(StringView /*name*/,
                                        const AXValue& /*parameter*/) override {
        return {};
    }

  private:
    std::function<void()> typing_;
};

TEST(SuggestionListClosing, HoldsWhenTheRowsGoWhileTheListIsBeingPlaced) {
    ListRig rig;
    rig.desktop.processes().setFocusedElement(rig.desktop.editor(),
                                              std::make_shared<TypingElement>([&] {
                                                  rig.controller.close();
                                                  rig.rows.clear();
                                              }));
    rig.show(3);
    EXPECT_FALSE(rig.controller.isVisible());
    EXPECT_FALSE(rig.view.isVisible);
}

TEST(SuggestionListClosing, GivesTheFocusBackFromThisProgramOnly) {
    ListRig rig;
    ScriptedApplications& processes = rig.desktop.processes();
    const ProcessSerialNumber other = processes.launch(u"org.other", u"other");
    rig.show(1);
    processes.setFrontProcess(processes.currentProcess());
    rig.onMain([&] { rig.controller.close(); });
    EXPECT_EQ(processes.frontProcess(), rig.desktop.editor());

    rig.show(1);
    processes.setFrontProcess(other);
    rig.onMain([&] { rig.controller.close(); });
    EXPECT_EQ(processes.frontProcess(), other);
}

TEST(SuggestionListFont, FollowsThePreference) {
    ListRig rig;
    rig.preferences.setInteger(4, PreferenceKey::FontSizeDelta);
    rig.setCaret({100, 200, 1, 16});
    rig.show(2);
    EXPECT_EQ(rig.view.cellFontSize, 16);
    EXPECT_EQ(rig.view.rowHeight, 24);
    EXPECT_EQ(rig.view.frame.height, 48);
    const auto change = [&](std::int64_t delta) {
        rig.preferences.setInteger(delta, PreferenceKey::FontSizeDelta);
        rig.onMain([&] { rig.controller.notifyFontSizeDeltaChanged(); });
    };
    change(0);
    EXPECT_EQ(rig.view.cellFontSize, 12);
    EXPECT_EQ(rig.view.rowHeight, 20);
    EXPECT_EQ(rig.view.frame.height, 40);
    // A value that leaves nothing to see is held at one that does.
    change(INT64_MIN);
    EXPECT_EQ(rig.view.cellFontSize, 6);
    EXPECT_EQ(rig.view.rowHeight, 14);
}

} // namespace
} // namespace dresk
