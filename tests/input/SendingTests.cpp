#include "input/ServiceFixture.h"

namespace dresk {
namespace {

using Variables = std::vector<std::shared_ptr<SnippetVariable>>;

struct Job {
    String text;
    std::uint64_t backspaceCount = 0;
    Variables variables = {};
    std::int32_t expandTrigger = ExpandTrigger::AtDelimiter;
    std::int32_t trigger = SnippetTrigger::Typed;
    bool cancelTrigger = false;
    bool rich = false;
    bool resetFormatting = false;
    std::optional<String> suffix = std::nullopt;
};

std::shared_ptr<SnippetVariable> key(std::uint64_t location, std::uint16_t code,
                                     std::uint64_t count, double delay = 0,
                                     std::uint64_t modifiers = 0) {
    auto result = std::make_shared<SnippetKeyVariable>();
    result->setLocation(location);
    result->setKeyCode(code);
    result->setCount(count);
    result->setDelay(delay);
    result->setModifiers(modifiers);
    return result;
}

std::shared_ptr<SnippetVariable> caret(std::uint64_t location) {
    auto result = std::make_shared<SnippetContentCaret>();
    result->setLocation(location);
    return result;
}

class Sending : public ServiceTest {
  protected:
    Sending() { enable(); }

    std::shared_ptr<DROutput> make(const Job& job) {
        group.setExpandTrigger(job.expandTrigger);
        group.setResetFormatting(job.resetFormatting);
        auto content = std::make_shared<SnippetExpandedContent>();
        if (job.rich)
            content->setContent(AttributedString(job.text));
        else
            content->setContent(job.text);
        content->setVariables(job.variables);
        content->setSuffix(job.suffix);
        content->setOriginalSnippet(snippet);
        auto output = std::make_shared<DROutput>();
        output->trigger = job.trigger;
        output->cancelTrigger = job.cancelTrigger;
        output->backspaceCount = job.backspaceCount;
        output->snippetExpandedContent = std::move(content);
        return output;
    }
    /// Sends the job out of the handler of the next key down, which answers as the job says.
    std::shared_ptr<DROutput> sendAtNextKey(const Job& job) {
        atNextKey = make(job);
        observer.keyDown = [this](const ZPKeyEventArgs&) {
            const auto output = std::exchange(atNextKey, nullptr);
            if (output == nullptr)
                return false;
            service.sendOutput(output);
            return output->cancelTrigger;
        };
        return atNextKey;
    }
    void sendNow(const std::shared_ptr<DROutput>& output) {
        desktop.performOnTapThread([&] { service.sendOutput(output); });
    }
    void fill(StringView text) {
        ScriptedTextField field;
        field.setText(text);
        desktop.processes().setTextField(desktop.editor(), field);
    }

    std::shared_ptr<DROutput> atNextKey;
    SnippetGroup group;
    std::shared_ptr<Snippet> snippet = [this] {
        auto result = std::make_shared<Snippet>();
        group.addItem(result);
        return result;
    }();
};

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
        {"rich text is typed as plain text",
         {.text = u"rich text that is cut\n\tlike plain", .backspaceCount = 1, .rich = true},
         "0.00 (Delete), (\"rich text that is cu\"), (\"t\\n\\tlike plain\")"},
        {"a suffix goes last", {.text = u"abc", .suffix = u"."}, "0.00 (\"abc.\")"},
    };
    for (const Row& row : rows) {
        VirtualTime ownTime;
        ScriptedDesktop ownDesktop(ownTime);
        VirtualRunLoop ownLoop(ownTime);
        MacInputService ownService(ownDesktop, resolver, ownLoop);
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

TEST_F(Sending, WhatCannotBeTypedWholeIsNotBegun) {
    desktop.eventTaps().setUntypableCharacters(u"漢");
    for (const bool inSuffix : {false, true}) {
        fill(u"abc");
        auto output =
            sendAtNextKey({.text = inSuffix ? u"long" : u"漢",
                           .backspaceCount = 3,
                           .cancelTrigger = true,
                           .suffix = inSuffix ? std::optional<String>(u"漢") : std::nullopt});
        desktop.typeText(u".");
        time.advance(5);
        EXPECT_EQ(desktop.text(), u"abc.");
        EXPECT_EQ(posted(), "");
        EXPECT_TRUE(output->rejected);
        EXPECT_TRUE(output->finished);
        EXPECT_EQ(logged.size(), 1U);
        logged.clear();
    }
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
