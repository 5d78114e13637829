#include <thread>

#include <gtest/gtest.h>

#include "Foundation/KeyCode.h"
#include "ui/PanelRig.h"
#include "ui/QuickSearchPanelController.h"

namespace dresk {
namespace {

struct SearchState : ScriptedPanelView<QuickSearchPanelView>::State {
    bool tableHidden = false;
    String filter;
    std::uint64_t searchBy = 0;
    bool isWildcard = false;
    int focused = 0;
};

class ScriptedSearchView final : public ScriptedPanelView<QuickSearchPanelView> {
  public:
    explicit ScriptedSearchView(SearchState& state) : ScriptedPanelView(state, 1), state_(state) {}
    void setTableViewParentHidden(bool hidden) override { state_.tableHidden = hidden; }
    void setFilter(const String& filter) override { state_.filter = filter; }
    void setSearchMenu(std::uint64_t searchBy, bool isWildcard) override {
        state_.searchBy = searchBy;
        state_.isWildcard = isWildcard;
    }
    void focusTextField() override { ++state_.focused; }

  private:
    SearchState& state_;
};

constexpr std::uint64_t TheWindow = 77;

struct SearchRig : PanelRig {
    SearchRig()
        : controller(desktop, mainLoop, preferences,
                     [this](const ListPanelRows& shownRows, QuickSearchPanelEvents& viewEvents) {
                         listRows = &shownRows;
                         events = &viewEvents;
                         return std::make_unique<ScriptedSearchView>(view);
                     }) {
        controller.setSnippetGroups(groups, [this] {
            chosen.push_back(controller.selectedSnippet());
            keyboardWhenChosen = desktop.keyboardFocus().focusedWindow();
        });
        addSnippet(u"sig", u"Kind regards");
        addSnippet(u"addr", u"12 Regent Street");
        addSnippet(u"tel", u"555 1234")->setLabel(u"Phone of the registry");
    }

    /// Shows the panel; the window has come up when this returns.
    void show() {
        mainLoop.perform([&] {
            controller.showWindowAtCaret();
            events->windowDidAppear(TheWindow);
        });
    }
    void type(StringView filter) {
        mainLoop.perform([&] { events->setFilter(String(filter)); });
    }
    void key(std::uint16_t code) {
        mainLoop.perform([&] { events->keyUp(code); });
    }
    /// The abbreviations of the rows.
    std::vector<String> found() const {
        std::vector<String> result;
        for (std::size_t row = 0; row < listRows->rowCount(); ++row)
            result.push_back(listRows->rowContent(row).abbreviation);
        return result;
    }

    SearchState view;
    const ListPanelRows* listRows = nullptr;
    QuickSearchPanelEvents* events = nullptr;
    std::vector<std::shared_ptr<Snippet>> chosen;
    std::uint64_t keyboardWhenChosen = TheWindow;
    QuickSearchPanelController controller;
};

using Found = std::vector<String>;

TEST(QuickSearchPanel, GrowsWithTheRowsAndHidesTheTableWithoutAny) {
    SearchRig rig;
    rig.setCaret({100, 200, 1, 16});
    rig.show();
    EXPECT_TRUE(rig.view.tableHidden);
    EXPECT_EQ(rig.view.frame, (Rect{100, 230, 400, 24}));
    rig.type(u"reg");
    EXPECT_EQ(rig.found(), (Found{u"sig", u"addr", u"tel"}));
    EXPECT_FALSE(rig.view.tableHidden);
    EXPECT_EQ(rig.view.frame, (Rect{100, 230, 400, 84}));
    EXPECT_EQ(rig.view.selectedRow, 0U);
    EXPECT_EQ(rig.listRows->rowNumber(2), u"3");
    // The hit is marked, in the content even where there is a label.
    EXPECT_EQ(rig.listRows->rowContent(0).titleMatch, (Range{5, 3}));
    rig.type(u"nothing like it");
    EXPECT_TRUE(rig.found().empty());
    EXPECT_EQ(rig.view.frame, (Rect{100, 230, 400, 24}));
}

TEST(QuickSearchPanel, StandsInTheTopRightCornerOfWhatPanelsLeave) {
    SearchRig rig;
    rig.setCaret({100, 200, 1, 16});
    rig.mainLoop.perform([&] { rig.controller.showWindowAtTopRightCorner(); });
    EXPECT_EQ(rig.view.frame, (Rect{1520, 30, 400, 24}));
    EXPECT_EQ(rig.view.focused, 1);
    rig.type(u"reg");
    EXPECT_EQ(rig.view.frame, (Rect{1520, 30, 400, 84}));
}

TEST(QuickSearchPanel, SearchesOnlyWhenTheFilterHasChanged) {
    SearchRig rig;
    rig.show();
    EXPECT_EQ(rig.view.searchBy, static_cast<std::uint64_t>(INT64_MAX));
    rig.type(u"phone");
    EXPECT_EQ(rig.found(), (Found{u"tel"}));
    // Another scope alone leaves the rows as they are.
    rig.mainLoop.perform([&] { rig.events->onSearchByChanged(2); });
    EXPECT_EQ(rig.preferences.integerForKey(PreferenceKey::SnippetQuickSearchSearchBy),
              INT64_MAX - 4);
    EXPECT_EQ(rig.view.searchBy & 7, 3U);
    EXPECT_EQ(rig.found(), (Found{u"tel"}));
    rig.type(u"phon");
    EXPECT_TRUE(rig.found().empty());
    rig.mainLoop.perform([&] { rig.events->onSearchByChanged(2); });
    rig.type(u"phone");
    EXPECT_EQ(rig.found(), (Found{u"tel"}));
}

TEST(QuickSearchPanel, TheWildcardOptionSearchesAgain) {
    SearchRig rig;
    rig.show();
    rig.type(u"s?g");
    EXPECT_TRUE(rig.found().empty());
    const auto flip = [&] {
        rig.mainLoop.perform([&] { rig.events->flipWildcardSearchOption(); });
        return rig.preferences.integerForKey(PreferenceKey::SnippetQuickSearchWildcardSearch);
    };
    EXPECT_EQ(flip(), 1);
    EXPECT_TRUE(rig.view.isWildcard);
    EXPECT_EQ(rig.found(), (Found{u"sig"}));
    EXPECT_EQ(flip(), 0);
    EXPECT_FALSE(rig.view.isWildcard);
    EXPECT_TRUE(rig.found().empty());
    // Whatever is not 1 is off.
    rig.preferences.setInteger(5, PreferenceKey::SnippetQuickSearchWildcardSearch);
    EXPECT_EQ(flip(), 1);
}

TEST(QuickSearchPanel, LeavesGroupsOutThatSuggestNothing) {
    SearchRig rig;
    rig.group->setSuggestAbbreviations(false);
    rig.show();
    rig.type(u"reg");
    EXPECT_TRUE(rig.found().empty());
}

TEST(QuickSearchPanel, ReopensWithTheLastFilterAndPresentSnippets) {
    SearchRig rig;
    rig.show();
    rig.type(u"reg");
    rig.mainLoop.perform([&] { rig.controller.close(); });
    rig.group->removeItem(*rig.group->items().front());
    rig.show();
    EXPECT_EQ(rig.view.filter, u"reg");
    EXPECT_EQ(rig.found(), (Found{u"addr", u"tel"}));
    rig.mainLoop.perform([&] { rig.controller.clearFilter(); });
    EXPECT_EQ(rig.view.filter, u"");
    EXPECT_EQ(rig.controller.filter(), std::nullopt);
    EXPECT_TRUE(rig.found().empty());
}

TEST(QuickSearchPanel, KeysSteerAndChoose) {
    SearchRig rig;
    rig.show();
    // Nothing selected: the panel stays.
    rig.key(KeyCode::Return);
    EXPECT_TRUE(rig.controller.isVisible());
    rig.type(u"reg");
    rig.key(KeyCode::DownArrow);
    rig.key(KeyCode::DownArrow);
    rig.key(KeyCode::DownArrow);
    EXPECT_EQ(rig.view.selectedRow, 2U);
    rig.key(KeyCode::UpArrow);
    EXPECT_EQ(rig.desktop.keyboardFocus().focusedWindow(), TheWindow);
    rig.key(KeyCode::Return);
    ASSERT_EQ(rig.chosen.size(), 1U);
    EXPECT_EQ(rig.chosen[0]->abbreviation(), u"addr");
    // By then the panel has closed and the application has the keyboard.
    EXPECT_EQ(rig.keyboardWhenChosen, 0U);
    EXPECT_FALSE(rig.view.isVisible);

    rig.show();
    rig.key(KeyCode::Escape);
    EXPECT_FALSE(rig.view.isVisible);
    EXPECT_EQ(rig.desktop.keyboardFocus().focusedWindow(), 0U);
    rig.key(KeyCode::Return);
    EXPECT_EQ(rig.chosen.size(), 1U);
}

TEST(QuickSearchPanel, AClickChooses) {
    SearchRig rig;
    rig.show();
    rig.type(u"reg");
    rig.view.rowUnderPointer = 2;
    EXPECT_EQ(rig.controller.snippetAtMouseLocation()->abbreviation(), u"tel");
    rig.mainLoop.perform([&] {
        rig.events->pointerMovedOverRow(2);
        rig.events->tableViewRowClickedAction();
    });
    ASSERT_EQ(rig.chosen.size(), 1U);
    EXPECT_EQ(rig.chosen[0]->abbreviation(), u"tel");
}

TEST(QuickSearchPanel, TheTapThreadClosesItAndTheKeyboardIsBackAtOnce) {
    SearchRig rig;
    rig.show();
    rig.type(u"reg");
    std::thread([&] {
        EXPECT_TRUE(rig.controller.isVisible());
        EXPECT_EQ(rig.controller.snippetAtIndex(1)->abbreviation(), u"addr");
        EXPECT_EQ(rig.controller.snippetAtIndex(3), nullptr);
        rig.controller.close();
        EXPECT_EQ(rig.desktop.keyboardFocus().focusedWindow(), 0U);
    }).join();
    rig.time.runPending();
    EXPECT_FALSE(rig.view.isVisible);
    // A window that comes up only now must not take the keyboard.
    rig.mainLoop.perform([&] { rig.events->windowDidAppear(TheWindow); });
    EXPECT_EQ(rig.desktop.keyboardFocus().focusedWindow(), 0U);
}

TEST(QuickSearchPanel, LosingTheFocusClosesItAndLeavesTheFocusThere) {
    SearchRig rig;
    rig.show();
    rig.desktop.keyboardFocus().setFocusedWindow(5);
    rig.mainLoop.perform([&] { rig.events->windowDidResignKey(); });
    EXPECT_FALSE(rig.view.isVisible);
    EXPECT_EQ(rig.desktop.keyboardFocus().focusedWindow(), 5U);
}

} // namespace
} // namespace dresk
