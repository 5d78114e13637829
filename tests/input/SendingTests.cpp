#include "input/SendingFixture.h"

namespace dresk {
namespace {

// With no key seen yet, everything goes out at the session; parentheses say so.
TEST_F(Sending, JobsGoOutInBatches) {
    const String hundred(100, u'x');
    const std::string block = "\"" + std::string(20, 'x') + "\"";
    struct Row {
        const char* name;
        Job job;
        std::string posted;
    };
    const Row rows[] = {
        {"erase and type", {u"Kind regards", 3}, "0.00 (Delete) x3, (\"Kind regards\")"},
        {"nothing at all", {u""}, ""},
        {"45 backspaces",
         {u"abc", 45},
         "0.00 (Delete) x20 | 0.04 (Delete) x20 | 0.08 (Delete) x5, (\"abc\")"},
        {"19 backspaces", {u"abc", 19}, "0.00 (Delete) x19, (\"abc\")"},
        {"20 backspaces end the job", {u"abc", 20}, "0.00 (Delete) x20"},
        {"40 backspaces end the job", {u"abc", 40}, "0.00 (Delete) x20 | 0.04 (Delete) x20"},
        {"21 backspaces", {u"abc", 21}, "0.00 (Delete) x20 | 0.04 (Delete), (\"abc\")"},
        {"long text",
         {hundred + hundred + hundred + hundred + String(50, u'x'), 2},
         "0.00 (Delete) x2, (" + block + ") x18 | 0.04 (" + block + ") x4, (\"xxxxxxxxxx\")"},
        {"a key fifty times",
         {u"ab", 0, {key(1, KeyCode::Tab, 50)}},
         "0.00 (\"a\"), (Tab) x19 | 0.04 (Tab) x20 | 0.08 (Tab) x11, (\"b\")"},
        {"a delayed key waits behind each burst",
         {u"ab", 0, {key(1, KeyCode::Return, 25, 1.0)}},
         "0.00 (\"a\"), (Return) x19 | 1.00 (Return) x6 | 2.00 (\"b\")"},
        {"keys with modifiers",
         {u"", 0, {key(0, 9, 1, 0, EventFlag::Control | EventFlag::Shift)}},
         "0.00 (Shift-Control-9)"},
        {"an invalid key is left out and still counts",
         {u"b", 0, {key(0, 65535, 20)}},
         "0.04 (\"b\")"},
        {"caret", {u"[]", 1, {caret(1)}}, "0.00 (Delete), (\"[]\"), (LeftArrow)"},
        {"caret behind a full batch",
         {u"ab" + String(30, u'x'), 10, {caret(2)}},
         "0.00 (Delete) x10, (\"ab" + std::string(18, 'x') + "\"), (\"" + std::string(12, 'x') +
             "\"), (LeftArrow) x8 | 0.04 (LeftArrow) x20 | 0.08 (LeftArrow) x2"},
        {"rich text is pasted whole",
         {.text = u"rich text that is not cut\n\tlike plain", .backspaceCount = 1, .rich = true},
         "0.00 (Delete), (down Command-9), (up 9)"},
        {"a suffix goes last", {.text = u"abc", .suffix = u"."}, "0.00 (\"abc.\")"},
    };
    for (const Row& row : rows) {
        VirtualTime ownTime;
        ScriptedDesktop ownDesktop(ownTime);
        VirtualRunLoop ownLoop(ownTime);
        MacInputService ownService(ownDesktop, resolver, ownLoop);
        ownService.setUseClipboardForLongText(false);
        ownService.enableEvents();
        ownTime.runPending();
        Job job = row.job;
        job.trigger = SnippetTrigger::Direct;
        const auto output = make(job);
        ownDesktop.performOnTapThread([&] { ownService.sendOutput(output); });
        ownTime.advance(10);
        std::string lines;
        for (const auto& line : ownDesktop.postedLines())
            lines += (lines.empty() ? "" : " | ") + line;
        EXPECT_EQ(lines, row.posted) << row.name;
        EXPECT_TRUE(output->finished) << row.name;
    }
}

TEST_F(Sending, TheTriggerIsPassedOrCarriedAlong) {
    const String twenty(20, u'e');
    struct Row {
        const char* name;
        Job job;
        StringView trigger;
        bool swallowed;
        StringView text;
    };
    const Row rows[] = {
        {"kept delimiter", {u"expansion", 3}, u" ", false, u"expansion "},
        {"20 events pass it", {u"e", 19}, u".", false, u"e."},
        {"21 events carry it",
         {u"ee" + String(39, u'x'), 18},
         u".",
         true,
         u"eexxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx."},
        {"the suffix that is there stays",
         {.text = twenty + u"x", .backspaceCount = 19, .suffix = u"!"},
         u".",
         true,
         u"eeeeeeeeeeeeeeeeeeeex!"},
        {"carried for a caret",
         {.text = u"()", .backspaceCount = 1, .variables = {caret(1)}, .cancelTrigger = true},
         u" ",
         true,
         u"() "},
        {"carried behind a delayed key",
         {u"ab", 2, {key(1, KeyCode::Tab, 1, 0.5)}},
         u",",
         true,
         u"a\tb,"},
        {"carried as a line end",
         {u"ab", 2, {key(1, KeyCode::Tab, 1, 0.5)}},
         u"\n",
         true,
         u"a\tb\n"},
        {"swallowed and not kept",
         {.text = u"abc",
          .backspaceCount = 2,
          .expandTrigger = ExpandTrigger::AtSwallowedDelimiter,
          .cancelTrigger = true},
         u" ",
         true,
         u"abc"},
        {"long, not kept",
         {.text = u"abc", .backspaceCount = 22, .expandTrigger = ExpandTrigger::Immediately},
         u"z",
         true,
         u"abc"},
        {"not typed",
         {.text = u"abc", .backspaceCount = 22, .trigger = SnippetTrigger::Selected},
         u" ",
         true,
         u"abc"},
        {"rich text keeps its delimiter to itself",
         {.text = u"abc", .backspaceCount = 2, .rich = true, .resetFormatting = true},
         u" ",
         true,
         u"abc "},
        {"but not a line end",
         {.text = u"abc", .backspaceCount = 2, .rich = true, .resetFormatting = true},
         u"\n",
         false,
         u"abc\n"},
        {"nor without formatting",
         {.text = u"abc", .backspaceCount = 2, .resetFormatting = true},
         u" ",
         false,
         u"abc "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        fill(String(row.job.backspaceCount, u'-'));
        const auto output = sendAtNextKey(row.job);
        desktop.typeText(row.trigger);
        EXPECT_EQ(output->cancelTrigger, row.swallowed);
        time.advance(5);
        EXPECT_TRUE(output->finished);
        EXPECT_EQ(toUTF8(desktop.text()), toUTF8(row.text));
        EXPECT_FALSE(output->rejected);
    }
}

TEST_F(Sending, CaretEndsBeforeTheCarriedDelimiter) {
    fill(u"-");
    sendAtNextKey(
        {.text = u"(abc)", .backspaceCount = 1, .variables = {caret(1)}, .cancelTrigger = true});
    desktop.typeText(u" ");
    EXPECT_EQ(posted(), "0.00 Delete, \"(abc) \", LeftArrow x5");
    EXPECT_EQ(desktop.processes().textField(desktop.editor()).caret(), 1U);
}

TEST_F(Sending, OutputIsNotSeenAgainAndGoesThroughTheTap) {
    sendAtNextKey({u"xyz", 0, {key(1, KeyCode::Tab, 2)}});
    desktop.typeText(u"a");
    EXPECT_EQ(observer.take(), "down:0\"a\"");
    EXPECT_EQ(posted(), "0.00 \"x\", Tab x2, \"yz\"");
    EXPECT_EQ(desktop.text(), u"x\t\tyza");
}

TEST_F(Sending, SelectedTextIsRemovedFirst) {
    fill(u"abcdef");
    ScriptedTextField field = desktop.processes().textField(desktop.editor());
    field.setSelection({4, 2});
    desktop.processes().setTextField(desktop.editor(), field);
    sendNow(make({.text = u"X", .backspaceCount = 2}));
    EXPECT_EQ(posted(), "0.00 (ForwardDelete), (Delete) x2, (\"X\")");
    EXPECT_EQ(desktop.text(), u"abX");
}

TEST_F(Sending, WithoutAPasteboardWhatCannotBeTypedWholeIsNotBegun) {
    desktop.pasteboard().setAvailable(false);
    desktop.eventTaps().setUntypableCharacters(u"漢");
    const Job jobs[] = {
        {.text = u"漢", .backspaceCount = 3, .cancelTrigger = true},
        {.text = u"long", .backspaceCount = 3, .cancelTrigger = true, .suffix = u"漢"},
        {.text = u"rich", .backspaceCount = 3, .rich = true},
    };
    for (const Job& job : jobs) {
        fill(u"abc");
        auto output = sendAtNextKey(job);
        desktop.typeText(u".");
        time.advance(5);
        EXPECT_EQ(desktop.text(), u"abc.");
        EXPECT_EQ(posted(), "");
        EXPECT_TRUE(output->rejected);
        EXPECT_TRUE(output->finished);
        EXPECT_EQ(logged.size(), 1U);
        logged.clear();
    }
    // What the user prefers does not keep it from being typed.
    service.setUseClipboard(true);
    fill(u"abc");
    const auto typed = sendAtNextKey({u"typed", 3});
    desktop.typeText(u".");
    EXPECT_EQ(desktop.text(), u"typed.");
    EXPECT_FALSE(typed->rejected);
}

TEST_F(Sending, JobsOfOtherThreadsAreHandedOver) {
    const auto output = make({u"later"});
    service.sendOutput(output);
    EXPECT_EQ(posted(), "");
    EXPECT_FALSE(output->finished);
    time.runPending();
    EXPECT_EQ(posted(), "0.00 (\"later\")");
    EXPECT_TRUE(output->finished);
}

TEST_F(Sending, TwoJobsInterleaveAtTheirPauses) {
    sendNow(make({u"a", 21}));
    time.advance(0.02);
    sendNow(make({u"b", 21}));
    time.advance(1);
    EXPECT_EQ(posted(), "0.00 (Delete) x20 | 0.02 (Delete) x20 | 0.04 (Delete), (\"a\")"
                        " | 0.06 (Delete), (\"b\")");
}

TEST_F(Sending, DisablingDropsWhatIsInFlight) {
    const auto running = make({u"never", 45});
    const auto waiting = make({u"never"});
    sendNow(running);
    service.sendOutput(waiting);
    std::weak_ptr<DROutput> gone = waiting;
    service.disableEvents();
    const auto late = make({u"never"});
    service.sendOutput(late);
    time.advance(5);
    EXPECT_EQ(posted(), "0.00 (Delete) x20");
    for (const auto& output : {running, waiting, late})
        EXPECT_TRUE(output->finished);
    EXPECT_EQ(waiting.use_count(), 1);
    enable();
    time.advance(5);
    EXPECT_EQ(posted(), "");
}

TEST_F(Sending, KeepsAJobAliveUntilItIsDone) {
    std::weak_ptr<DROutput> watched;
    {
        const auto output = make({u"text", 25});
        watched = output;
        sendNow(output);
    }
    EXPECT_FALSE(watched.expired());
    time.advance(1);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(posted(), "0.00 (Delete) x20 | 0.04 (Delete) x5, (\"text\")");
}

TEST_F(Sending, RulesNameTheApplicationInFront) {
    service.refreshContextInputSetting();
    const auto first = service.contextInputSetting();
    EXPECT_EQ(service.contextBundleIdentifier(), u"editor");
    EXPECT_EQ(first->bundleIdentifier, u"editor");
    desktop.processes().terminate(desktop.editor());
    service.refreshContextInputSetting();
    EXPECT_EQ(service.contextBundleIdentifier(), std::nullopt);
    EXPECT_NE(service.contextInputSetting(), first);
    const auto output = make({u"to nobody", 2});
    sendNow(output);
    EXPECT_TRUE(output->finished);
}

} // namespace
} // namespace dresk
