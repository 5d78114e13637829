#include "shell/ShellRig.h"

namespace dresk {
namespace {

using Groups = SnippetGroupArray;

class StatusMenuTests : public ShellRig {
  protected:
    std::shared_ptr<SnippetGroup> group(StringView name, bool shown, bool atFirstLevel) {
        auto result = std::make_shared<SnippetGroup>(time);
        result->setName(String(name));
        result->setShowInMenuBar(shown);
        result->setShowInMenuBarAtFirstLevel(atFirstLevel);
        result->addItem(Snippet::initWithAbbreviation(String(name), u"first\nline", time));
        return result;
    }
    /// What stands behind the fixed part.
    Lines dynamicPart() const {
        const Lines all = ui.openMenu();
        const auto quit = std::find(all.begin(), all.end(), "Quit Dresk");
        return {quit + 2, all.end()};
    }
};

TEST_F(StatusMenuTests, OffersWhatTheInterfaceHasWindowsFor) {
    launch();
    Lines lines = ui.openMenu();
    lines.resize(20);
    EXPECT_EQ(lines, (Lines{"Enabled [x]",
                            "-",
                            "Search Snippets…",
                            "New Snippet",
                            "New Group",
                            "Last Used Snippet",
                            "Open Main Window",
                            "-",
                            "Open…",
                            "Save To…",
                            "Export All Groups to RTF…",
                            "-",
                            "Preferences…",
                            "Diagnostic",
                            "About Dresk",
                            "-",
                            "Restart Dresk",
                            "Quit Dresk",
                            "-",
                            "Texts >"}));
    ui.chosenPath = folder / "saved.dresk";
    for (const StringView title :
         {StringView(u"New Snippet"), StringView(u"New Group"), StringView(u"Save To…"),
          StringView(u"Export All Groups to RTF…"), StringView(u"About Dresk"),
          StringView(u"Restart Dresk"), StringView(u"Quit Dresk")})
        ui.choose(title);
    EXPECT_EQ(ui.takeLines(),
              (Lines{"showMacrosWindow", "add", "showMacrosWindow", "newGroup",
                     "savePanel Save data to file", "showMacrosWindow", "exportAllGroupsToRTF",
                     "showAboutWindow", "relaunch", "terminate"}));
    EXPECT_TRUE(std::filesystem::exists(folder / "saved.dresk"));

    app.reset();
    ui.missing = UserInterface::Window::Macros;
    launch();
    lines = ui.openMenu();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "New Snippet"), 0);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Open…"), 1);
}

TEST_F(StatusMenuTests, ShowsGroupsByTheirFlagsAsTheyAreWhenItOpens) {
    launch();
    const auto low = group(u"low", true, false);
    low->setAbbreviationPrefix(u"p.");
    const auto labelled = group(u"top", true, true);
    labelled->items()[0]->setLabel(u"Label");
    const auto nameless = group(u"", true, false);
    nameless->setName(std::nullopt);
    app->dataManager().restoreFromSnippetGroups(
        {low, group(u"none", false, true), labelled, group(u"top2", true, true), nameless});
    const Lines expected{"Label | top", "-",     "firstline | top2",
                         "-",           "low >", toUTF8(*nameless->UUIDString()) + " >"};
    EXPECT_EQ(dynamicPart(), expected);
    EXPECT_EQ(dynamicPart(), expected);

    Menu& submenu = *test::RecordingUserInterface::itemTitled(*ui.menu, u"low").submenu;
    EXPECT_TRUE(submenu.items.empty()); // until it opens
    EXPECT_EQ(test::RecordingUserInterface::linesOf(submenu), Lines{"firstline | p.low"});
    low->addItem(Snippet::initWithAbbreviation(u"new", u"new", time));
    EXPECT_EQ(test::RecordingUserInterface::linesOf(submenu), Lines{"firstline | p.low"});
}

TEST_F(StatusMenuTests, ChosenSnippetIsTypedOnceTheMenuHasClosed) {
    preferences.setInteger(4, PreferenceKey::FontSizeDelta);
    launch();
    dynamicPart();
    Menu& submenu = *test::RecordingUserInterface::itemTitled(*ui.menu, u"Texts").submenu;
    submenu.needsUpdate();
    EXPECT_EQ(submenu.items[0].row->size, (Size{350, 22}));
    desktop.typeText(u"Hi. ");
    submenu.items[0].action();
    EXPECT_EQ(desktop.text(), u"Hi. ");
    time.advance(0.5);
    EXPECT_EQ(desktop.text(), u"Hi. Kind regards");
}

TEST_F(StatusMenuTests, IconTellsStateAndSecureInput) {
    launch();
    EXPECT_TRUE(ui.menu->items[1].isHidden);
    desktop.eventTaps().setSecureEventInput(true);
    time.advance(5);
    EXPECT_EQ(ui.takeLines(), Lines{"icon AutoTextCaution template"});
    EXPECT_EQ(ui.openMenu().at(1), "Secure Input is enabled (by Text Editor)");
    ui.choose(u"Enabled");
    EXPECT_EQ(ui.takeLines(), (Lines{"icon AutoText-Disabled", "badge O F F "}));
    EXPECT_EQ(ui.openMenu().at(0), "Enabled [ ]");
    EXPECT_FALSE(preferences.boolForKey(PreferenceKey::IsEnabled));

    preferences.setBool(false, PreferenceKey::ShowStatusIcon);
    app->loadPreferences();
    EXPECT_EQ(ui.takeLines(), Lines{"removeStatusItem"});
    ui.choose(u"Enabled"); // a desktop may still hold the menu
    desktop.eventTaps().setSecureEventInput(false);
    time.advance(5);
    EXPECT_EQ(ui.takeLines(), Lines{"badge none"});
    EXPECT_TRUE(ui.menu->items[1].isHidden);
}

TEST_F(StatusMenuTests, SecureInputOfTheProgramItselfIsNotNamed) {
    launch();
    desktop.processes().setFrontProcess(desktop.processes().launch(std::nullopt, u"Dresk"));
    desktop.eventTaps().setSecureEventInput(true);
    time.advance(5);
    EXPECT_EQ(app->secureInputStatus(), u"Secure Input is enabled (by unknown application)");
}

} // namespace
} // namespace dresk
