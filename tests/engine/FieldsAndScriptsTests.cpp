#include <gtest/gtest.h>

#include "Foundation/TextAttributes.h"
#include "language/SnippetFieldVariable.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

constexpr std::int32_t RowTrigger = SnippetTrigger::Selected | SnippetTrigger::AmbiguousListFlag;

/// Scripts run as calls of the main loop, so that nothing waits in real time but for the shell.
struct ScriptRig : EngineRig {
    ScriptRig() { engine.setScriptRunLoop(service.mainLoop); }

    std::shared_ptr<Snippet> addScript(SnippetGroup& group, StringView abbreviation,
                                       StringView source) {
        auto snippet = addSnippet(group, abbreviation, source);
        snippet->setContentType(SnippetContentType::ShellScript);
        return snippet;
    }
    /// Types, then lets everything come to its end.
    Jobs jobsOf(StringView typed) {
        service.type(typed);
        time.advance(1);
        return service.takeJobs();
    }
};

/// A form that the test answers.
struct TestForm : FieldsEditorPresenter {
    void showFieldsEditor(std::shared_ptr<SnippetExpandedContent> shown,
                          std::function<void()> onAccept) override {
        content = std::move(shown);
        accepted = std::move(onAccept);
    }
    void answer(StringView value) const {
        for (const auto& field : content->fields())
            field->setValue(String(value));
        accepted();
    }
    std::shared_ptr<SnippetExpandedContent> content;
    std::function<void()> accepted;
};

/// Plays nothing; remembers the names asked for.
struct TestSounds : Sounds {
    std::shared_ptr<FeedbackSound> soundNamed(StringView name) override {
        names.emplace_back(name);
        return nullptr;
    }
    std::shared_ptr<FeedbackSound> soundWithContentsOfFile(StringView /*path*/) override {
        return nullptr;
    }
    void beep() override {}
    std::vector<String> names;
};

TEST(FieldsAndScripts, TheTextFollowsWhenItIsReady) {
    struct Row {
        const char* name;
        std::int32_t expandTrigger;
        const char16_t* content;
        bool isScript;
        const char16_t* typed;
        Jobs jobs;
        std::int32_t lastTrigger;
        const char16_t* letters;
    };
    constexpr std::int32_t stays = ExpandTrigger::AtDelimiter;
    constexpr std::int32_t goes = ExpandTrigger::AtSwallowedDelimiter;
    constexpr std::int32_t atOnce = ExpandTrigger::Immediately;
    const std::string erase3 = "erase 3, swallow";
    // Fields and scripts count as variables; letters stay empty, or hold what the engine does not
    // see as such.
    const Row rows[] = {
        {"script in content, delimiter stays",
         stays,
         u"<【snippet:run】>",
         false,
         u"abc,",
         {erase3, "erase 0, put \"<hi>,\", pass"},
         SnippetTrigger::ScriptResult,
         u"<hi>,"},
        {"script in content, delimiter goes",
         goes,
         u"<【snippet:run】>",
         false,
         u"abc,",
         {erase3, "erase 0, put \"<hi>\", pass"},
         SnippetTrigger::ScriptResult,
         u"<hi>"},
        {"two scripts, with one that says nothing",
         goes,
         u"a【snippet:run】b【snippet:none】c【snippet:run】",
         false,
         u"abc,",
         {erase3, "erase 0, put \"ahibchi\", pass"},
         SnippetTrigger::ScriptResult,
         u"ahibchi"},
        {"whole script, delimiter stays",
         stays,
         u"echo out",
         true,
         u"abc,",
         {erase3, "erase 0, put \"out,\", pass"},
         SnippetTrigger::ScriptResult,
         u","},
        {"whole script, delimiter goes",
         goes,
         u"echo out",
         true,
         u"abc,",
         {erase3, "erase 0, put \"out\", pass"},
         SnippetTrigger::ScriptResult,
         u""},
        {"whole script at once",
         atOnce,
         u"echo out",
         true,
         u"abc",
         {"erase 2, swallow", "erase 0, put \"out\", pass"},
         SnippetTrigger::ScriptResult,
         u""},
        {"whole script that says nothing",
         goes,
         u":",
         true,
         u"abc,",
         {erase3},
         SnippetTrigger::Typed,
         u""},
        {"script in a script",
         stays,
         u"echo [【snippet:run】]",
         true,
         u"abc,",
         {erase3, "erase 0, put \"[hi],\", pass"},
         SnippetTrigger::ScriptResult,
         u","},
        {"field, delimiter stays",
         stays,
         u"Dear 【field:a value:Bob】",
         false,
         u"abc,",
         {erase3, "erase 0, put \"Dear Bob,\", pass"},
         SnippetTrigger::Selected,
         u","},
        {"field in a whole script",
         stays,
         u"echo 【field:a value:Bob】",
         true,
         u"abc,",
         {erase3, "erase 0, put \"Bob,\", pass"},
         SnippetTrigger::ScriptResult,
         u","},
        {"field and script",
         goes,
         u"【field:a value:Bob】【snippet:run】",
         false,
         u"abc,",
         {erase3, "erase 0, put \"Bobhi\", pass"},
         SnippetTrigger::ScriptResult,
         u""},
    };
    for (const Row& row : rows) {
        ScriptRig rig;
        SnippetGroup& parts = rig.addGroup(ExpandTrigger::AtHotKey);
        rig.addScript(parts, u"run", u"echo hi");
        rig.addScript(parts, u"none", u":");
        const auto snippet = rig.addSnippet(rig.addGroup(row.expandTrigger), u"abc", row.content);
        if (row.isScript)
            snippet->setContentType(SnippetContentType::ShellScript);
        rig.service.type(row.typed);
        rig.time.advance(1);
        ASSERT_FALSE(rig.service.jobs.empty()) << row.name;
        EXPECT_EQ(rig.service.jobs.back()->trigger, row.lastTrigger) << row.name;
        EXPECT_EQ(rig.service.takeJobs(), row.jobs) << row.name;
        EXPECT_FALSE(rig.engine.undoInfo().has_value()) << row.name;
        EXPECT_EQ(rig.engine.lastUsedSnippet(), snippet) << row.name;
    }
}

TEST(FieldsAndScripts, ResultsTakeTheLookOfTheirToken) {
    ScriptRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::Immediately);
    rig.addScript(group, u"run", u"echo hi");
    const auto snippet = rig.addSnippet(group, u"xy", u"");
    snippet->setContentType(SnippetContentType::RichText);
    auto underlined = std::make_shared<TextAttributes>();
    underlined->underlineStyle = 1;
    AttributedString content(u"a ");
    content.appendAttributedString(AttributedString(u"【snippet:run】", underlined));
    snippet->setRichTextContent(content);
    rig.service.type(u"xy");
    rig.time.advance(1);
    ASSERT_EQ(rig.service.jobs.size(), 2U);
    AttributedString expected(u"a ");
    expected.appendAttributedString(AttributedString(u"hi", underlined));
    EXPECT_EQ(
        std::get<AttributedString>(rig.service.jobs.back()->snippetExpandedContent->content()),
        expected);
}

TEST(FieldsAndScripts, TheFormAnswersOrNothingComes) {
    EngineRig rig;
    TestForm form;
    TestSounds sounds;
    rig.engine.setFieldsEditorPresenter(form);
    rig.engine.setSounds(sounds);
    rig.engine.setPlayFeedbackSound(true);
    rig.addSnippet(rig.addGroup(ExpandTrigger::AtDelimiter), u"ab", u"【field:a】【|】!");
    rig.service.type(u"ab");
    EXPECT_TRUE(rig.service.press({u" ", 49}));
    EXPECT_EQ(form.content, nullptr); // windows are the main thread's
    rig.time.runPending();
    ASSERT_NE(form.content, nullptr);
    EXPECT_EQ(sounds.names, std::vector<String>{u"Pop"});
    rig.time.advance(60);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 2, swallow"}); // cancelled: stays erased
    rig.service.mainLoop.perform([&] { form.answer(u"X"); });
    rig.time.runPending();
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 0, put \"X! \", pass"});
}

TEST(FieldsAndScripts, AFormMayOutliveTheEngine) {
    TestForm form;
    {
        EngineRig rig;
        rig.engine.setFieldsEditorPresenter(form);
        rig.addSnippet(rig.addGroup(ExpandTrigger::Immediately), u"ab", u"【field:a】");
        rig.service.type(u"ab");
        rig.time.runPending();
    }
    form.answer(u"X");
}

TEST(FieldsAndScripts, WithoutAFormItsDefaultsCount) {
    ScriptRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::Immediately, ExpandAfter::Anything);
    rig.addSnippet(group, u"p;", u"【field:a type:2 value:\"one\ntwo\"】");
    rig.addSnippet(group, u"n;", u"【field:x type:3 value:2】+【field:y type:3 value:x*3】");
    rig.addSnippet(group, u"o;", u"[【field:a value:left optional】]");
    EXPECT_EQ(rig.jobsOf(u"p;").back(), "erase 0, put \"one\", pass");
    EXPECT_EQ(rig.jobsOf(u"n;").back(), "erase 0, put \"2+6\", pass");
    EXPECT_EQ(rig.jobsOf(u"o;").back(), "erase 0, put \"[]\", pass");
}

TEST(FieldsAndScripts, ARowIsNoDelimiter) {
    ScriptRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::AtDelimiter);
    rig.addScript(group, u"ab", u"echo one");
    rig.addScript(group, u"ab", u"echo two");
    rig.service.type(u"ab ");
    rig.time.runPending();
    EXPECT_TRUE(rig.service.press({u"2"}));
    EXPECT_EQ(rig.service.jobs.front()->trigger, RowTrigger);
    rig.time.runPending();
    EXPECT_EQ(rig.service.takeJobs(), (Jobs{"erase 3, swallow", "erase 0, put \"two\", pass"}));
}

TEST(FieldsAndScripts, AnOlderUndoStays) {
    ScriptRig rig;
    SnippetGroup& group = rig.addGroup(ExpandTrigger::Immediately);
    rig.addSnippet(group, u"ab", u"text");
    const auto script = rig.addScript(group, u"run", u"echo hi");
    rig.service.type(u"ab");
    rig.service.mainLoop.perform([&] { rig.engine.sendSnippetDirectly(script); });
    rig.time.advance(1);
    ASSERT_TRUE(rig.engine.undoInfo().has_value());
    EXPECT_EQ(rig.engine.undoInfo()->backspaceCount, 4U);
}

TEST(FieldsAndScripts, ARemoteDesktopIsBroughtToTheFront) {
    EngineRig rig;
    TestForm form;
    rig.engine.setFieldsEditorPresenter(form);
    rig.service.bundleIdentifier = u"com.citrix.XenAppViewer";
    SnippetGroup& group = rig.addGroup(ExpandTrigger::Immediately, ExpandAfter::Anything);
    rig.addSnippet(group, u"f", u"【field:a】");
    rig.addSnippet(group, u"x", u"one");
    rig.addSnippet(group, u"x", u"two");
    rig.service.type(u"f");
    rig.time.runPending();
    rig.service.takeJobs();
    rig.service.mainLoop.perform([&] { form.answer(u"X"); });
    ASSERT_EQ(rig.service.frontProcesses.size(), 1U);
    EXPECT_EQ(rig.service.frontProcesses.front().low, 1U);
    rig.time.advance(0.4);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
    rig.time.advance(0.2);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 0, put \"X\", pass"});

    rig.engine.clear();
    rig.service.type(u"x");
    rig.time.runPending();
    EXPECT_TRUE(rig.service.press({u"1"}));
    rig.time.advance(0.4);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{});
    rig.time.advance(0.2);
    EXPECT_EQ(rig.service.takeJobs(), Jobs{"erase 1, put \"one\", swallow"});
}

} // namespace
} // namespace dresk
