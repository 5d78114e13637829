#pragma once

#include <gtest/gtest.h>

#include "Foundation/PreferenceKeys.h"
#include "input/scripted/ScriptedDesktop.h"
#include "shell/AppDelegate.h"
#include "support/LogLines.h"
#include "support/RecordingUserInterface.h"
#include "support/TemporaryFolder.h"

namespace dresk {

using Lines = std::vector<std::string>;

/// The application on the desktop in memory, in virtual time, with windows that are only noted.
class ShellRig : public testing::Test {
  protected:
    /// Data of the user's own, so that the launch is no first one.
    ShellRig() {
        auto group = std::make_shared<SnippetGroup>(time);
        group->setName(u"Texts");
        group->setExpandTrigger(ExpandTrigger::AtDelimiter);
        group->addItem(Snippet::initWithAbbreviation(u"sig", u"Kind regards", time));
        VirtualRunLoop loop(time);
        DataManager data(preferences, loop, {});
        data.loadData();
        data.restoreFromSnippetGroups({group});
        data.saveData();
    }
    ~ShellRig() override {
        app.reset();
        time.runPending();
    }

    AppDelegate& make() {
        AppDelegate::Environment environment;
        environment.version = u"1.0";
        environment.systemVersion = u"Test System 12";
        environment.places.defaultData = DRESK_DEFAULT_DATA;
        environment.backupDirectory = folder / "Backups";
        environment.terminate = [this] { ui.note("terminate"); };
        environment.relaunch = [this] { ui.note("relaunch"); };
        environment.clock = &time;
        app = std::make_unique<AppDelegate>(desktop, preferences, mainLoop, ui, environment);
        return *app;
    }
    /// To the end of the launch, with nothing noted.
    AppDelegate& launch() {
        make().applicationDidFinishLaunching();
        time.advance(AppDelegate::LaunchDelay);
        EXPECT_TRUE(app->UILoaded());
        ui.lines.clear();
        return *app;
    }
    void setHotKey(HotKey which, std::int32_t modifiers, std::int32_t keyCode) {
        preferences.setInteger(GeneralHotKey(modifiers, keyCode).getValue(),
                               AppDelegate::hotKeyName(which));
    }
    /// Types the text behind an empty line; what the editor then holds.
    String typed(StringView text) {
        desktop.typeText(u"\n");
        desktop.typeText(text);
        time.advance(0.5);
        const String all = desktop.text();
        return all.substr(all.find_last_of(u'\n') + 1);
    }

    test::TemporaryFolder folder{test::memoryFolder()};
    VirtualTime time{{700'000'000}};
    VirtualRunLoop mainLoop{time};
    ScriptedDesktop desktop{time};
    PreferenceStore preferences;
    test::RecordingUserInterface ui;
    std::unique_ptr<AppDelegate> app;
};

} // namespace dresk
