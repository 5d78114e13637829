#include <thread>

#include <gtest/gtest.h>

#include "Foundation/KeyCode.h"
#include "Foundation/PollRunLoop.h"
#include "support/EngineRig.h"

namespace dresk {
namespace {

/// Takes jobs from any thread and has done with them at once.
class ThreadedService final : public ScriptedInputService {
  public:
    using ScriptedInputService::ScriptedInputService;
    void sendOutput(const std::shared_ptr<DROutput>& output) override {
        const std::lock_guard lock(mutex_);
        if (const auto& content = output->snippetExpandedContent) {
            sentLength += content->length();
            texts.push_back(content->string());
        }
        output->finished = true;
        sent_.notify_all();
    }
    void waitForTexts(std::size_t count) {
        std::unique_lock lock(mutex_);
        sent_.wait(lock, [&] { return texts.size() >= count; });
    }
    std::uint64_t sentLength = 0;
    std::vector<String> texts;

  private:
    std::mutex mutex_;
    std::condition_variable sent_;
};

/// What an engine stands on; each test makes and ends its own.
class Threads : public testing::Test {
  protected:
    VirtualTime serviceTime;
    ThreadedService service{serviceTime};
    ScriptedApplications applications;
    BundleIdentifierResolver resolver{applications};
    SnippetGroupList list;
    SnippetParser parser;
    PollRunLoop mainLoop;
};

// Keys on one thread, windows and edits on another, as in the program. What counts is that the
// thread sanitizer stays silent and that every expansion that went out is whole.
TEST_F(Threads, KeysAndEditsMeet) {
    AutoText engine(service, resolver, mainLoop);
    for (const std::int32_t trigger : {ExpandTrigger::Immediately, ExpandTrigger::AtDelimiter}) {
        auto group = std::make_shared<SnippetGroup>();
        group->setExpandTrigger(trigger);
        group->setExpandAfter(ExpandAfter::Anything);
        list.groups.push_back(group);
    }
    const auto edited = Snippet::initWithAbbreviation(u"xy", u"content");
    list.groups[0]->addItem(edited);
    for (const auto* content : {u"one", u"two"})
        list.groups[1]->addItem(Snippet::initWithAbbreviation(u"ab", content));
    engine.setSnippetGroups(&list);
    engine.setSnippetParser(&parser);
    engine.setEnabled(true);

    std::atomic<bool> typed{false};
    std::thread tap([&] {
        for (int i = 0; i < 400; ++i) {
            service.type(u"q xy ab ");
            service.press({u"\r", KeyCode::Return});
            service.press({std::nullopt, KeyCode::DownArrow});
            service.type(u"12");
            engine.undo(true);
        }
        typed = true;
        mainLoop.stop();
    });
    std::thread editor([&] {
        for (int i = 0; !typed; ++i) {
            const std::lock_guard lock(list.lock);
            edited->setAbbreviation(i % 2 == 0 ? u"yx" : u"xy");
            edited->setPlainTextContent(String(static_cast<std::size_t>(i % 5) + 1, u'c'));
            auto extra = Snippet::initWithAbbreviation(u"q", u"extra");
            list.groups[0]->addItem(extra);
            list.groups[0]->removeItem(*extra);
        }
    });
    std::thread other([&] {
        while (!typed) {
            engine.clear();
            engine.refreshInputSourceIdentifier();
            engine.setEnabled(true);
            (void)engine.letters();
            (void)engine.lastUsedSnippet();
            (void)engine.suggestions().rows();
        }
    });
    mainLoop.run();
    tap.join();
    editor.join();
    other.join();
    mainLoop.runOnce(0);
    EXPECT_GT(service.sentLength, 0U);
}

// Scripts on their own threads while keys go on, and an end in the midst of some that hang.
TEST_F(Threads, ScriptsHoldNeitherKeysNorTheEnd) {
    {
        AutoText engine(service, resolver, mainLoop);
        auto group = std::make_shared<SnippetGroup>();
        group->setExpandAfter(ExpandAfter::Anything);
        const auto add = [&](const char16_t* abbreviation, const char16_t* content,
                             std::int64_t type) {
            const auto snippet = Snippet::initWithAbbreviation(abbreviation, content);
            snippet->setContentType(type);
            group->addItem(snippet);
        };
        add(u"own;", u"#!/usr/bin/env sh\necho own", SnippetContentType::ShellScript);
        add(u"sh;", u"echo shell", SnippetContentType::ShellScript);
        add(u"in;", u"<【snippet:sh;】>", SnippetContentType::PlainText);
        add(u"hang;", u"#!/usr/bin/env sh\nsleep 1000", SnippetContentType::ShellScript);
        add(u"hang2;", u"sleep 1000", SnippetContentType::ShellScript);
        list.groups.push_back(group);
        engine.setSnippetGroups(&list);
        engine.setSnippetParser(&parser);
        engine.setEnabled(true);
        std::thread tap([&] {
            service.type(u"hang;");
            for (int i = 0; i < 5; ++i)
                service.type(u"own;sh;in;");
        });
        tap.join();
        service.waitForTexts(15);
        std::thread(([&] { service.type(u"hang;hang2;sh;"); })).join();
    }
    std::map<String, int> counts;
    for (const String& text : service.texts)
        ++counts[text];
    EXPECT_EQ(counts[u"own"], 5);
    EXPECT_EQ(counts[u"<shell>"], 5);
    EXPECT_GE(counts[u"shell"], 5);
}

} // namespace
} // namespace dresk
