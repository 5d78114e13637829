#include "Foundation/TextAttributes.h"
#include "input/SendingFixture.h"
#include "input/scripted/ScriptedElement.h"

namespace dresk {
namespace {

const String Plain(PasteboardType::String);

/// A service, an application to paste into, and a user with something on the clipboard.
class Pasting : public Sending {
  protected:
    Pasting() { copy("mine"); }

    void copy(const std::string& text) {
        desktop.pasteboard().copy({{Plain, text}, {u"image/x-own", std::string("\0\1", 2)}});
    }
    /// What an application would paste as plain text now.
    std::string clipboard() { return desktop.pasteboard().dataForType(Plain).value_or("-"); }
    /// Puts an application with that identifier and an empty field in front.
    void front(StringView identifier) {
        application = desktop.processes().launch(String(identifier), u"Application");
        desktop.processes().setFrontProcess(application);
    }
    void sendDirect(Job job) {
        job.trigger = SnippetTrigger::Direct;
        sendNow(make(job));
    }
    static Job rich(StringView text) { return {.text = String(text), .rich = true}; }

    ProcessSerialNumber application = desktop.editor();
};

// Which jobs are pasted, by what the user prefers and what the application needs.
TEST_F(Pasting, ChoosesHowToDeliver) {
    const std::vector<String> listed = {u"listed"};
    struct Row {
        const char* name;
        StringView identifier;
        String text;
        bool pasted;
        bool useClipboard = false;
        std::int64_t useClipboardIn = 0;
        std::int64_t longTextLength = 100;
        bool forLongText = true;
    };
    const String hundred(100, u'x');
    const Row rows[] = {
        {"short", u"listed", u"a", false},
        {"preferred everywhere", u"other", u"a", true, true, 0},
        {"preferred elsewhere", u"other", u"a", true, true, 1},
        {"not in the listed", u"listed", u"a", false, true, 1},
        {"preferred in the listed", u"listed", u"a", true, true, 2},
        {"in no other", u"other", u"a", false, true, 2},
        {"100 units", u"other", hundred, false},
        {"101 units", u"other", hundred + u"x", true},
        {"101 units, not asked for", u"other", hundred + u"x", false, false, 0, 100, false},
        {"101 units, needed", u"com.apple.Safari", hundred + u"x", true, false, 0, 100, false},
        {"101 units of 200, which is negative", u"other", hundred + u"x", false, false, 0, 200},
        {"3 units of 258, which is 2", u"other", u"abc", true, false, 0, 258},
        {"lines", u"other", u"a\nb", false},
        {"lines that an application cannot take typed", u"com.barebones.bbedit", u"a\nb", true},
        {"always", u"org.lyx.lyx", u"a", true},
    };
    service.setUseClipboardApplications(listed);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        service.setUseClipboard(row.useClipboard);
        service.setUseClipboardIn(row.useClipboardIn);
        service.setLongTextLength(row.longTextLength);
        service.setUseClipboardForLongText(row.forLongText);
        front(row.identifier);
        sendDirect({row.text});
        time.advance(1);
        EXPECT_EQ(posted().find("down ") != std::string::npos, row.pasted);
        EXPECT_EQ(desktop.text(), row.text);
        EXPECT_EQ(clipboard(), "mine");
    }
}

TEST_F(Pasting, AHeldKeyMakesLongerTextPasted) {
    constexpr std::uint16_t keyA = 0;
    desktop.pressKey(keyA);
    posted();
    sendDirect({String(20, u'x')});
    EXPECT_EQ(posted().find("down "), std::string::npos);
    sendDirect({String(21, u'x')});
    EXPECT_NE(posted().find("down Command-9"), std::string::npos);
}

TEST_F(Pasting, WhatCannotBeTypedIsPasted) {
    desktop.eventTaps().setUntypableCharacters(u"漢");
    fill(u"abc");
    const auto output = sendAtNextKey({u"漢字", 3});
    desktop.typeText(u" ");
    time.advance(1);
    EXPECT_EQ(toUTF8(desktop.text()), "漢字 ");
    EXPECT_FALSE(output->rejected);
    EXPECT_EQ(clipboard(), "mine");
    // The record of the application is not touched by it.
    EXPECT_FALSE(service.contextInputSetting()->useClipboard);
}

TEST_F(Pasting, EveryRecordHasItsKeysAndItsTimes) {
    struct Row {
        StringView identifier;
        bool rich;
        const char* posted;
    };
    const Row rows[] = {
        {u"editor", true, "0.00 down Command-9, up 9"},
        {u"com.google.Chrome", true, "0.00 down Command-9, up 9"},
        {u"com.apple.iBooksAuthor", true, "0.005 down Command-9, up 9"},
        {u"wine", false, "0.00 down Control-9, up 9"},
        {u"com.teamviewer.TeamViewer", true, "0.005 down 59, Control-9, up 59"},
        {u"com.teamviewer.TeamViewer", false, "0.00 \"text\""},
        {u"org.virtualbox.app.VirtualBoxVM", false, "0.20 down 59, Control-9, up 59"},
        {u"org.gnome.Terminal", true, "0.00 down Shift-Control-9, up 9"},
        {u"debian-xterm", true, "0.00 down Shift-Insert, up Insert"},
        {u"de.ragtime.ragtime", false, "0.00 \"text\""},
        {u"libreoffice-writer", false, "0.00 down Command-9, up 9"},
    };
    for (const Row& row : rows) {
        const double start = time.elapsed();
        front(row.identifier);
        sendDirect({.text = u"text", .rich = row.rich});
        const bool primaryToo = desktop.pasteboard().options().primaryToo;
        time.advance(0.3);
        EXPECT_EQ(primaryToo, row.identifier == u"debian-xterm");
        std::string expected = row.posted;
        // The times of the rows count from the job's beginning.
        char moment[32] = "";
        const double seconds = start + std::stod(expected.substr(0, expected.find(' ')));
        (void)std::snprintf(moment, sizeof moment, "%.3f", seconds);
        std::string line = moment;
        if (line.back() == '0')
            line.pop_back();
        for (const RecordedEvent& recorded : desktop.eventTaps().postedEvents())
            EXPECT_EQ(recorded.event.commandsLag, row.identifier == u"libreoffice-writer");
        std::string got = posted();
        std::erase(got, '(');
        std::erase(got, ')');
        EXPECT_EQ(got, line + expected.substr(expected.find(' '))) << toUTF8(row.identifier);
        EXPECT_EQ(toUTF8(desktop.text()), "text") << toUTF8(row.identifier);
        time.advance(1);
    }
}

TEST_F(Pasting, HeldKeysAreLetGoBeforeTheCommand) {
    constexpr std::uint16_t keyV = 9;
    desktop.pressKey(keyV, EventFlag::Shift);
    posted();
    front(u"com.2X.Client.Mac");
    sendDirect({u"a"});
    EXPECT_EQ(posted(), "0.00 up 9, up 56, down 59, Control-9, up 59");
}

TEST_F(Pasting, ShortcutsFollowTheLayoutAndTheApplication) {
    const auto copied = [&] {
        desktop.performOnTapThread([&] { service.sendCopyCommand(); });
        return posted();
    };
    EXPECT_EQ(copied(), "0.00 (down Command-8), (up 8)");
    front(u"org.macosforge.xquartz.X11");
    EXPECT_EQ(copied(), "0.00 (down Control-8), (up 8)");
    front(u"konsole");
    EXPECT_EQ(copied(), "0.00 (down Shift-Control-8), (up 8)");
    front(u"Emacs");
    EXPECT_EQ(copied(), "0.00 (down Control-Insert), (up Insert)");
    front(u"URxvt");
    EXPECT_EQ(copied(), "");
}

TEST_F(Pasting, ATriggerIsCarriedWherePastingTakesTime) {
    struct Row {
        StringView identifier;
        bool swallowed;
    };
    for (const Row& row : {Row{u"editor", false}, Row{u"com.google.Chrome", true},
                           Row{u"com.apple.iBooksAuthor", true}}) {
        front(row.identifier);
        const auto output = sendAtNextKey(rich(u"text"));
        desktop.typeText(u".");
        EXPECT_EQ(output->cancelTrigger, row.swallowed) << toUTF8(row.identifier);
        time.advance(1);
        EXPECT_EQ(toUTF8(desktop.text()), "text.") << toUTF8(row.identifier);
    }
}

TEST_F(Pasting, FragmentsKeepTheirOrder) {
    Job job = rich(u"onetwo");
    job.variables = {key(3, KeyCode::Tab, 2), caret(5)};
    sendDirect(job);
    time.advance(1);
    EXPECT_EQ(
        posted(),
        "0.00 (down Command-9), (up 9), (Tab) x2 | 0.04 (down Command-9), (up 9), (LeftArrow)");
    EXPECT_EQ(desktop.text(), u"one\t\ttwo");
    // A pause behind each paste where the application needs it.
    front(u"com.google.Chrome");
    job.variables = {key(3, KeyCode::Tab, 2)};
    sendDirect(job);
    time.advance(1);
    EXPECT_EQ(posted(),
              "1.00 (down Command-9), (up 9) | 1.05 (Tab) x2 | 1.09 (down Command-9), (up 9)");
}

TEST_F(Pasting, KeysAreUnseenUntilADelayedPasteIsOut) {
    front(u"com.apple.iBooksAuthor");
    desktop.typeText(u"a");
    sendDirect(rich(u"text"));
    time.runPending();
    observer.take();
    EXPECT_TRUE(service.pasted());
    desktop.typeText(u"b");
    EXPECT_EQ(observer.take(), "");
    time.advance(0.01);
    EXPECT_TRUE(service.pasted());
    desktop.typeText(u"c");
    EXPECT_EQ(observer.take(), "down:8\"c\"");
    EXPECT_FALSE(service.pasted());
    // Stopping in between does not leave it deaf.
    sendDirect(rich(u"text"));
    service.disableEvents();
    enable();
    observer.take();
    desktop.typeText(u"d");
    EXPECT_EQ(observer.take(), "down:2\"d\"");
}

// The clipboard of the user.

TEST_F(Pasting, TheClipboardComesBackWhenTheTextWasTaken) {
    desktop.processes().setPastesAtOnce(application, false);
    sendDirect(rich(u"text"));
    EXPECT_EQ(desktop.pasteboard().types(),
              (std::vector<String>{String(PasteboardType::RTFD), String(PasteboardType::RTF)}));
    EXPECT_TRUE(desktop.pasteboard().options().concealed);
    time.advance(3);
    // Others may look at it without that counting.
    EXPECT_EQ(clipboard(), "-");
    time.advance(3);
    desktop.processes().paste(application);
    EXPECT_EQ(desktop.text(), u"text");
    time.advance(0.3);
    EXPECT_EQ(clipboard(), "mine");
    EXPECT_EQ(desktop.pasteboard().dataForType(u"image/x-own"), std::string("\0\1", 2));
    EXPECT_FALSE(desktop.pasteboard().options().concealed);
    // Nothing keeps looking.
    const std::int64_t changeCount = desktop.pasteboard().changeCount();
    time.advance(5);
    EXPECT_EQ(desktop.pasteboard().changeCount(), changeCount);
}

TEST_F(Pasting, TheRestoreWaitsForItsDelay) {
    service.clipboardDataProvider().setRestoreDelay(0.4);
    sendDirect(rich(u"text"));
    time.advance(0.39);
    EXPECT_EQ(clipboard(), "-");
    time.advance(0.02);
    EXPECT_EQ(clipboard(), "mine");
    // Without a delay it still waits for the application, and does not spin meanwhile.
    service.clipboardDataProvider().setRestoreDelay(0);
    desktop.processes().setPastesAtOnce(application, false);
    sendDirect(rich(u"text"));
    ASSERT_TRUE(time.advance(2));
    EXPECT_EQ(clipboard(), "-");
    desktop.processes().paste(application);
    time.advance(0.01);
    EXPECT_EQ(clipboard(), "mine");
}

TEST_F(Pasting, QuickExpansionsKeepTheUsersClipboard) {
    for (const bool secondIsTyped : {false, true}) {
        SCOPED_TRACE(secondIsTyped);
        copy("mine");
        sendDirect(rich(u"one "));
        time.advance(0.1);
        sendDirect({.text = u"two ", .rich = !secondIsTyped});
        time.advance(0.29);
        EXPECT_NE(clipboard(), "mine");
        time.advance(0.02);
        EXPECT_EQ(clipboard(), "mine");
    }
    EXPECT_EQ(desktop.text(), u"one two one two ");
}

TEST_F(Pasting, ASavedClipboardMayCompleteLate) {
    desktop.pasteboard().holdUpReading(true);
    sendDirect(rich(u"one"));
    time.advance(2);
    sendDirect(rich(u"two"));
    time.advance(2);
    EXPECT_EQ(clipboard(), "-");
    desktop.pasteboard().holdUpReading(false);
    time.advance(0.3);
    EXPECT_EQ(clipboard(), "mine");
}

TEST_F(Pasting, AnEmptyClipboardComesBackEmpty) {
    desktop.pasteboard().copy({});
    sendDirect(rich(u"text"));
    EXPECT_FALSE(desktop.pasteboard().types().empty());
    time.advance(0.3);
    EXPECT_TRUE(desktop.pasteboard().types().empty());
}

TEST_F(Pasting, WhatIsCopiedWhileARestoreIsDueGivesWay) {
    sendDirect(rich(u"text"));
    copy("new");
    time.advance(0.3);
    EXPECT_EQ(clipboard(), "mine");
}

TEST_F(Pasting, OfTheClipboardNothingIsRestoredWhereItIsNotWanted) {
    service.setRestoreClipboard(false);
    sendDirect(rich(u"text"));
    time.advance(1);
    EXPECT_EQ(clipboard(), "-");
    service.setRestoreClipboard(true);
    copy("mine");
    front(u"com.2X.Client.Mac");
    sendDirect({u"text"});
    time.advance(1);
    EXPECT_EQ(clipboard(), "text");
}

TEST_F(Pasting, StoppingGivesTheClipboardBack) {
    desktop.processes().setPastesAtOnce(application, false);
    sendDirect(rich(u"text"));
    service.disableEvents();
    EXPECT_EQ(clipboard(), "mine");
}

// Rules that ask the application.

TEST_F(Pasting, ElementsThatCannotTakeTypedTextArePastedTo) {
    const auto element = [](const std::vector<std::pair<StringView, AXValue>>& values) {
        auto result = std::make_shared<ScriptedElement>();
        for (const auto& [name, value] : values)
            result->set(name, value);
        return AXElement(result);
    };
    const auto area = [&](const char16_t* url) {
        return element(
            {{AXAttribute::Role, String(u"AXWebArea")}, {AXAttribute::Url, String(url)}});
    };
    const auto searchField = [&](StringView role) {
        return element({{AXAttribute::Subrole, String(u"AXSearchField")},
                        {AXAttribute::Parent, element({{AXAttribute::Role, String(role)}})}});
    };
    const auto inside = [&](const AXElement& parent) {
        return element({{AXAttribute::Parent, parent}});
    };
    struct Row {
        StringView identifier;
        AXElement focused;
        bool pasted;
        double afterPastingDelay;
    };
    const AXElement docs = area(u"https://docs.google.com/document/1");
    const Row rows[] = {
        {u"com.apple.Safari", inside(inside(docs)), true, 0.05},
        {u"com.apple.Safari", area(u"https://example.org/https://docs.google.com"), false, 0},
        {u"com.apple.Safari", searchField(u"AXMenuItem"), false, 0},
        {u"editor", inside(docs), false, 0},
        {u"editor", searchField(u"AXMenuItem"), true, 0},
        {u"editor", searchField(u"AXGroup"), false, 0},
    };
    for (const Row& row : rows) {
        front(row.identifier);
        desktop.processes().setFocusedElement(application, row.focused);
        sendDirect({u"text"});
        EXPECT_EQ(service.contextInputSetting()->useClipboard, row.pasted);
        EXPECT_EQ(service.contextInputSetting()->afterPastingDelay, row.afterPastingDelay);
        time.advance(1);
    }
}

TEST_F(Pasting, SheetsArePastedToAtTheSession) {
    auto sheet = std::make_shared<ScriptedElement>();
    sheet->set(AXAttribute::Role, String(u"AXSheet"));
    auto field = std::make_shared<ScriptedElement>();
    field->set(AXAttribute::TopLevelUIElement, AXElement(sheet));
    desktop.typeText(u"a");
    for (const bool annotated : {false, true}) {
        service.setListenAtAnnotatedSession(annotated);
        front(u"com.apple.mail");
        desktop.processes().setFocusedElement(application, field);
        sendDirect({u"text"});
        EXPECT_EQ(posted(), annotated ? "0.00 (down Command-9), (up 9)" : "0.00 \"text\"");
    }
}

} // namespace
} // namespace dresk
