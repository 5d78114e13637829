#include <fstream>

#include "Foundation/FilePreferenceStore.h"
#include "shell/ShellRig.h"
#include "store/BackupNames.h"

namespace dresk {
namespace {

constexpr const char* OpenAlert =
    "alert Restore / Import data from %.dresk | Restoring will replace all current snippets with "
    "snippets from the selected file.\r\n\r\nImporting will add file's snippets to current "
    "snippets. [Import] [Restore] [Cancel]";

std::string openAlert(const std::string& name) {
    std::string text = OpenAlert;
    return text.replace(text.find('%'), 1, name);
}

class LaunchTests : public ShellRig {
  protected:
    std::size_t snippetCount() {
        std::size_t count = 0;
        for (const auto& group : app->dataManager().snippetGroups().groups)
            count += group->items().size();
        return count;
    }
};

TEST_F(LaunchTests, SeesNoKeyBeforeEverythingIsReady) {
    preferences.setBool(true, PreferenceKey::ShowStatusIcon);
    make();
    EXPECT_TRUE(std::filesystem::is_directory(folder / "Backups"));
    app->applicationDidFinishLaunching();
    EXPECT_EQ(typed(u"sig "), u"sig "); // half of the second
    EXPECT_EQ(app->autoText(), nullptr);
    EXPECT_EQ(ui.takeLines(), Lines());
    time.advance(0.5);
    EXPECT_EQ(ui.takeLines(), (Lines{"icon AutoText template", "badge none"}));
    EXPECT_TRUE(app->UILoaded());
    EXPECT_EQ(typed(u"sig "), u"Kind regards ");

    app->applicationWillTerminate();
    VirtualRunLoop loop(time);
    DataManager stored(preferences, loop, {});
    stored.loadData();
    EXPECT_TRUE(stored.snippetGroups().groups.at(0)->items().at(0)->lastTimeUsed().has_value());
}

TEST_F(LaunchTests, FirstStartShowsTheMainWindowWithTheSamples) {
    preferences.removeObject(PreferenceKey::Data);
    make().applicationDidFinishLaunching();
    time.advance(1);
    EXPECT_EQ(ui.takeLines(),
              (Lines{"icon AutoText template", "showMacrosWindow, all expanded", "badge none"}));
    EXPECT_GT(snippetCount(), 5U);
}

TEST_F(LaunchTests, MissingAccessIsAskedForUntilItIsThereOrTheUserGivesUp) {
    const std::uint32_t keys = eventMask(EventType::KeyDown);
    desktop.eventTaps().refuseTaps(keys);
    make().applicationDidFinishLaunching();
    time.advance(10);
    EXPECT_EQ(ui.takeLines(), Lines{"showAccessPrompt"});
    EXPECT_EQ(app->autoText(), nullptr);
    ui.prompt->tryAgain();
    time.advance(0.1);
    EXPECT_EQ(ui.takeLines(), Lines{"refuseAccessPrompt"});
    ui.prompt->ignore();
    ui.answerAlert(1);
    EXPECT_EQ(ui.takeLines(), Lines{"alert Dresk will not operate. | Are you sure you want to "
                                    "continue ? [Continue] [Cancel]"});
    EXPECT_EQ(app->autoText(), nullptr);

    desktop.eventTaps().refuseTaps(0);
    ui.prompt->tryAgain();
    time.advance(0.1);
    EXPECT_EQ(ui.takeLines(), (Lines{"closeAccessPrompt", "icon AutoText template", "badge none"}));
    EXPECT_EQ(typed(u"sig "), u"Kind regards ");
}

TEST_F(LaunchTests, IgnoredMissingAccessLeavesAProgramThatSeesNoKeys) {
    const test::LogLines log;
    desktop.eventTaps().refuseTaps(eventMask(EventType::KeyDown));
    make().applicationDidFinishLaunching();
    time.advance(0);
    ui.prompt->tryAgain(); // still being answered when the prompt closes
    ui.prompt->ignore();
    ui.answerAlert(0);
    time.advance(1);
    EXPECT_TRUE(app->UILoaded());
    EXPECT_EQ(typed(u"sig "), u"sig ");
    EXPECT_EQ(log.count(), 1U);
    app->diagnostic();
    EXPECT_NE(ui.lines.back().find("Dresk can not create event tap."), std::string::npos);
    ui.lines.clear();
    app->restart();
    EXPECT_EQ(ui.takeLines(), Lines{"relaunch"});
}

TEST_F(LaunchTests, FilesFromOutsideWaitForTheLaunchAndAreAskedAboutOneByOne) {
    launch().dataManager().saveDataToFile(folder / "mine.dresk");
    std::ofstream(folder / "bad.dresk") << "no archive";
    app = nullptr;
    make().applicationOpenFile(folder / "mine.dresk");
    app->applicationOpenFile(folder / "bad.dresk");
    app->applicationDidFinishLaunching();
    time.advance(1);
    EXPECT_EQ(ui.takeLines(), (Lines{"icon AutoText template", "badge none", openAlert("mine")}));
    ui.answerAlert(0); // import into itself: all of it is a conflict
    EXPECT_EQ(ui.takeLines(), (Lines{"showMacrosWindow", openAlert("bad")}));
    EXPECT_EQ(snippetCount(), 2U);
    ui.answerAlert(1);
    EXPECT_EQ(ui.takeLines(), (Lines{"alert Dresk cannot read bad.dresk. | The file is missing, "
                                     "damaged, or of another kind. Nothing was changed. [OK]",
                                     "showMacrosWindow"}));
    EXPECT_EQ(snippetCount(), 2U);
    ui.answerAlert(0);

    ui.chosenPath = folder / "mine.dresk";
    app->openDocument();
    EXPECT_EQ(ui.takeLines(),
              (Lines{"openPanel dresk textexpbackup textexpander typeit4me autotyper csv",
                     openAlert("mine")}));
    ui.answerAlert(1);
    EXPECT_EQ(ui.takeLines(), Lines{"showMacrosWindow"});
    EXPECT_EQ(snippetCount(), 1U);
    app->openDocument();
    ui.answerAlert(2);
    EXPECT_EQ(ui.takeLines().size(), 2U); // the panel and the question
}

TEST_F(LaunchTests, SleepTakesTheKeysAwayAndKeepsWhatWasTyped) {
    make().workspaceWillSleep(); // before there is anything to stop
    app->workspaceDidWake();
    launch();
    desktop.typeText(u"\nsi");
    app->workspaceWillSleep();
    desktop.typeText(u"xx");
    app->workspaceDidWake();
    time.advance(0);
    EXPECT_EQ(app->autoText()->letters().substr(app->autoText()->letters().size() - 2), u"si");
    desktop.typeText(u"g ");
    time.advance(0.5);
    EXPECT_EQ(desktop.text(), u"\nsiKind regards "); // three units were erased
}

TEST_F(LaunchTests, DamagedPreferencesGiveDefaultsAndAreTold) {
    std::ofstream(folder / "preferences.plist") << "bplist00 and then nothing of use";
    FilePreferenceStore stored(folder / "preferences.plist", &mainLoop, time);
    AppDelegate::Environment environment;
    environment.places.defaultData = DRESK_DEFAULT_DATA;
    environment.backupDirectory = folder / "Backups";
    environment.clock = &time;
    AppDelegate other(desktop, stored, mainLoop, ui, environment);
    other.applicationDidFinishLaunching();
    time.advance(1);
    const Lines lines = ui.takeLines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_TRUE(lines[3].starts_with("alert Some of the stored data could not be read. | It is "
                                     "kept as "))
        << lines[3];
    EXPECT_TRUE(other.autoText()->enabled());
    EXPECT_EQ(typed(u"tyvm "), u"Thank you very much! ");
}

TEST_F(LaunchTests, BackupsComeWithTheirIntervalAndOnlyTheNewestStay) {
    preferences.setInteger(1, PreferenceKey::AutoBackupInterval);
    preferences.setInteger(2, PreferenceKey::BackupQuantity);
    launch();
    const auto count = [this] { return backupsNewestFirst(folder / "Backups").size(); };
    time.advance(61);
    EXPECT_TRUE(preferences.dateForKey(PreferenceKey::LastBackupTime).has_value());
    EXPECT_EQ(count(), 0U); // the first interval begins
    time.advance(3600);
    EXPECT_EQ(count(), 1U);
    app->backups().backup(false);
    time.advance(4 * 3660);
    EXPECT_EQ(count(), 3U); // two timed ones and the user's own
    for (const std::int64_t never : {0, 5}) {
        preferences.setInteger(never, PreferenceKey::AutoBackupInterval);
        const auto last = preferences.dateForKey(PreferenceKey::LastBackupTime);
        time.advance(3 * 3600);
        EXPECT_EQ(preferences.dateForKey(PreferenceKey::LastBackupTime), last);
    }
    preferences.setInteger(1, PreferenceKey::AutoBackupInterval);
    preferences.setInteger(0, PreferenceKey::BackupQuantity);
    time.advance(3700);
    EXPECT_EQ(count(), 5U); // one was due
}

} // namespace
} // namespace dresk
