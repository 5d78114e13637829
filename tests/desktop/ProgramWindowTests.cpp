// The program with its windows: icon, menu, lists, search, form and messages, in front of real
// applications.

#include <array>

#include "desktop/KeyboardGrab.h"
#include "desktop/ProgramTest.h"
#include "desktop/Screenshot.h"

namespace dresk {
namespace {

class ProgramWindows : public ProgramTest {
  protected:
    void SetUp() override {
        ProgramTest::SetUp();
        SnippetGroup& texts = addGroup(u"Texts");
        texts.setShowInMenuBarAtFirstLevel(true);
        addSnippet(texts, u"sig", u"Kind regards,");
        addSnippet(texts, u"addr", u"12 Regent Street");
        SnippetGroup& phrases = addGroup(u"Phrases");
        addSnippet(phrases, u"thx", u"Thank you very much!");
        addSnippet(phrases, u"thanks", u"Thanks a lot.");
        addSnippet(phrases, u"tha", u"That is all.");
        setHotKey(PreferenceKey::switchHotKey, S);
        setHotKey(PreferenceKey::suggestAbbreviationsHotKey, A);
        setHotKey(PreferenceKey::quickSearchHotKey, Q);
    }

    using Looks = std::vector<std::uint32_t>;
    static Looks looksOf(const DesktopWindow& window) {
        return pixelsAt(window.x, window.y, window.width, window.height);
    }
    /// Waits until the window looks otherwise; how it looks then.
    static Looks nextLooks(const DesktopWindow& window, const Looks& before) {
        Looks looks;
        EXPECT_TRUE(awaitSight(10, [&] { return (looks = looksOf(window)) != before; }));
        return looks;
    }
    static bool awaitLooks(const DesktopWindow& window, const Looks& wanted) {
        return awaitSight(10, [&] { return looksOf(window) == wanted; });
    }

    /// A window that takes the keyboard.
    DesktopWindow typingWindowBy(const std::function<void()>& action) {
        const DesktopWindow window = windowBy(action);
        EXPECT_TRUE(awaitKeyboardAt(worker()));
        return window;
    }
    /// The window has gone, and the application has the keyboard again.
    bool givesKeyboardBack(const DesktopWindow& window) {
        return awaitWindowGone(window) && awaitKeyboardAt(target_->process().pid());
    }

    // Menus, in pixels of the test's font.
    static constexpr int MenuRow = 22;
    DesktopWindow openMenu(const DesktopWindow& icon) {
        return windowBy([&] { clickAt(icon.x + icon.width / 2, icon.y + icon.height / 2); });
    }
    void clickRow(const DesktopWindow& menu, int row) {
        clickAt(menu.x + 60, menu.y + MenuRow / 2 + row * MenuRow);
    }
    void clickRowFromBottom(const DesktopWindow& menu, int row) {
        clickAt(menu.x + 60, menu.y + menu.height - MenuRow / 2 - row * MenuRow);
    }
};

TEST_F(ProgramWindows, TheMenuOfTheIconTypesAndSwitches) {
    startPanel();
    ASSERT_NO_FATAL_FAILURE(launch());
    type(u"so: ");
    const DesktopWindow icon = window("Dresk");
    const Looks enabled = looksOf(icon);

    // A group has its menu, filled when it opens.
    DesktopWindow menu = openMenu(icon);
    picture("tray-menu");
    const DesktopWindow submenu = windowBy([&] { clickRowFromBottom(menu, 0); });
    picture("tray-submenu");
    clickRow(submenu, 1);
    EXPECT_TRUE(holds(*target_, u"so: Thanks a lot."));
    EXPECT_TRUE(awaitWindowGone(menu));

    // The switch.
    menu = openMenu(icon);
    clickRow(menu, 0);
    EXPECT_TRUE(awaitWindowGone(menu));
    const Looks disabled = nextLooks(icon, enabled);
    picture("tray-disabled");
    EXPECT_FALSE(expandsWithin(0));
    EXPECT_TRUE(awaitSight(5, [&] { return !storedBool(PreferenceKey::IsEnabled); }));
    menu = openMenu(icon);
    picture("tray-menu-disabled");
    clickRow(menu, 0);
    EXPECT_TRUE(awaitLooks(icon, enabled));
    EXPECT_TRUE(expandsWithin());
}

TEST_F(ProgramWindows, TheIconTellsOfTheSwitchHotKeyAndOfSecureInput) {
    startPanel();
    ASSERT_NO_FATAL_FAILURE(launch());
    const DesktopWindow icon = window("Dresk");
    const Looks enabled = looksOf(icon);
    const DesktopWindow notice = windowBy([&] { chord(S); });
    const Looks disabled = nextLooks(icon, enabled);
    picture("tray-notice");
    EXPECT_TRUE(awaitWindowGone(notice));
    chord(S);
    EXPECT_TRUE(awaitLooks(icon, enabled));
    EXPECT_TRUE(expandsWithin());
    EXPECT_TRUE(holds(*target_, u""));

    {
        const KeyboardGrab password;
        ASSERT_TRUE(password.isHeld());
        EXPECT_TRUE(awaitSight(10, [&] {
            type(u"secret ");
            return looksOf(icon) != enabled;
        }));
        EXPECT_TRUE(looksOf(icon) != disabled);
        picture("tray-caution");
    }
    EXPECT_TRUE(expandsWithin());
    EXPECT_TRUE(awaitLooks(icon, enabled));
}

class ProgramLists : public ProgramWindows, public testing::WithParamInterface<TextTarget::Kind> {};

TEST_P(ProgramLists, SuggestionsFollowTheTypingAndSend) {
    ASSERT_NO_FATAL_FAILURE(launch(GetParam()));
    type(u"th");
    DesktopWindow list;
    // At the caret, below the first line, unless the application takes long to tell where that is.
    EXPECT_TRUE(awaitSight(20, [&] {
        if (list.id != 0) {
            keys().tap(KeyInjector::Escape);
            EXPECT_TRUE(awaitWindowGone(list));
            type(u" th");
        }
        list = windowBy([&] { chord(A); });
        return list.y < 300;
    }));
    EXPECT_EQ(list.title, "Suggestions");
    const int height = list.height;
    picture("suggestions-" + nameOf(GetParam()));
    target_->clear();
    type(u"an");
    EXPECT_TRUE(awaitSight(5, [&] {
        const auto now = awaitWindow(worker(), "Suggestions", 0);
        return now.has_value() && now->height < height;
    }));
    keys().tap(KeyInjector::Return);
    EXPECT_TRUE(holds(*target_, u"Thanks a lot."));
    EXPECT_TRUE(awaitWindowGone(list));

    type(u"\nth");
    list = windowBy([&] { chord(A); });
    type(u"2");
    EXPECT_TRUE(awaitWindowGone(list));
    type(u"!");
    EXPECT_TRUE(holds(*target_, u"Thanks a lot.\nThanks a lot.!"));

    type(u"\nth");
    list = windowBy([&] { chord(A); });
    keys().tap(KeyInjector::Escape);
    EXPECT_TRUE(awaitWindowGone(list));
    type(u"e end");
    EXPECT_TRUE(holds(*target_, u"Thanks a lot.\nThanks a lot.!\nthe end"));
}

TEST_P(ProgramLists, QuickSearchFindsAndInserts) {
    ASSERT_NO_FATAL_FAILURE(launch(GetParam()));
    type(u"a ");
    DesktopWindow search = typingWindowBy([&] { chord(Q); });
    type(u"regent");
    picture("search-" + nameOf(GetParam()) + "-program");
    keys().tap(KeyInjector::Return);
    EXPECT_TRUE(holds(*target_, u"a 12 Regent Street"));
    EXPECT_TRUE(awaitWindowGone(search));

    search = typingWindowBy([&] { chord(Q); });
    type(u"tha");
    EXPECT_TRUE(awaitSight(5, [&] {
        const auto now = awaitWindow(worker(), search.title, 0);
        return now.has_value() && now->height > 60;
    }));
    type(u"2");
    EXPECT_TRUE(holds(*target_, u"a 12 Regent StreetThanks a lot."));

    search = typingWindowBy([&] { chord(Q); });
    type(u"sig");
    EXPECT_TRUE(awaitSight(5, [&] {
        const auto now = awaitWindow(worker(), search.title, 0);
        return now.has_value() && now->height < search.height;
    }));
    clickAt(search.x + 60, search.y + 34);
    EXPECT_TRUE(holds(*target_, u"a 12 Regent StreetThanks a lot.Kind regards,"));

    search = typingWindowBy([&] { chord(Q); });
    keys().tap(KeyInjector::Escape);
    EXPECT_TRUE(givesKeyboardBack(search));
    type(u"b");
    EXPECT_TRUE(holds(*target_, u"a 12 Regent StreetThanks a lot.Kind regards,b"));
}

INSTANTIATE_TEST_SUITE_P(, ProgramLists,
                         testing::Values(TextTarget::Kind::Gtk, TextTarget::Kind::Qt),
                         [](const auto& info) { return nameOf(info.param); });

TEST_F(ProgramWindows, AnAmbiguousAbbreviationOpensTheList) {
    SnippetGroup& more = addGroup(u"More");
    addSnippet(more, u"sig", u"Yours sincerely,");
    ASSERT_NO_FATAL_FAILURE(launch());
    const DesktopWindow list = windowBy([&] { type(u"sig "); });
    EXPECT_EQ(list.title, "Suggestions");
    keys().tap(KeyInjector::Down);
    picture("ambiguous");
    keys().tap(KeyInjector::Return);
    EXPECT_TRUE(holds(*target_, u"Yours sincerely,"));
}

TEST_F(ProgramWindows, AFormIsFilledInAndArrives) {
    SnippetGroup& forms = addGroup(u"Forms");
    addSnippet(forms, u"order",
               u"Dear 【field:name】, 【field:kind type:2 value:\"red\ngreen\"】 "
               u"【field:price type:3 value:10】 x 【field:qty type:3 value:2】 = "
               u"【field:total type:3 value:\"price*qty\"】【field:more optional:yes】.");
    ASSERT_NO_FATAL_FAILURE(launch());
    DesktopWindow form = typingWindowBy([&] { type(u"order "); });
    // Typed before the page is up, it waits for that; the program's own windows expand nothing.
    type(u"sig Ann");
    keys().tap(KeyInjector::Tab);
    type(u"g");
    keys().tap(KeyInjector::Tab);
    keys().tap(KeyInjector::Tab);
    type(u"3");
    picture("form-filled");
    keys().tap(KeyInjector::Return);
    EXPECT_TRUE(awaitWindowGone(form));
    EXPECT_TRUE(holds(*target_, u"Dear sig Ann, green 10 x 3 = 30. "));

    target_->clear();
    form = typingWindowBy([&] { type(u"order "); });
    keys().tap(KeyInjector::Escape);
    EXPECT_TRUE(givesKeyboardBack(form));
    type(u"still here");
    EXPECT_TRUE(holds(*target_, u"still here"));
}

} // namespace
} // namespace dresk
