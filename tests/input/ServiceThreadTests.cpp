#include <chrono>
#include <thread>

#include "Foundation/PollRunLoop.h"
#include "input/ServiceFixture.h"

namespace dresk {
namespace {

std::shared_ptr<DROutput> job(StringView text, std::uint64_t backspaceCount = 0) {
    auto output = std::make_shared<DROutput>();
    output->trigger = SnippetTrigger::ScriptResult;
    output->backspaceCount = backspaceCount;
    output->snippetExpandedContent = std::make_shared<SnippetExpandedContent>();
    output->snippetExpandedContent->setContent(String(text));
    return output;
}

std::size_t occurrences(StringView text, StringView part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != StringView::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

/// A service with real threads; the test's thread is the main thread.
class ServiceThreads : public testing::Test {
  public:
    ServiceThreads() {
        // However busy the machine is, no key is passed for lateness.
        desktop.eventTaps().setCallbackLimit(1e9);
        service.registerHotKey(&hotKey);
        service.keyDownEvent().addObserver(this, &ServiceThreads::onKeyDown);
        service.keyUpEvent().addObserver(this, &ServiceThreads::onKeyUp);
    }
    ~ServiceThreads() override { service.disableEvents(); }

  protected:
    void onKeyDown(ZPKeyEventArgs* args) {
        service.refreshContextInputSetting();
        if (args->s == u"j") {
            service.sendOutput(job(u"<tap>"));
            args->cancel = true;
        }
        ++keyDowns;
    }
    void onKeyUp(ZPKeyEventArgs*) { ++keyUps; }
    bool pumpUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            mainLoop.runOnce(0.001);
        }
        return true;
    }

    PollRunLoop mainLoop;
    ScriptedDesktop desktop;
    BundleIdentifierResolver resolver{desktop.processes()};
    GeneralHotKey hotKey{KeyModifier::Command, 9};
    MacInputService service{desktop, resolver, mainLoop};
    std::atomic<int> keyDowns{0};
    int keyUps = 0;
};

TEST_F(ServiceThreads, EveryThreadMayAskAndSend) {
    constexpr int Rounds = 100;
    service.enableEvents();
    ASSERT_TRUE(pumpUntil([&] { return service.evenTapCreated(); }));
    std::thread background([&] {
        for (int i = 0; i < Rounds; ++i)
            service.sendOutput(job(u"<script>"));
    });
    for (int i = 0; i < Rounds; ++i) {
        desktop.typeText(u"aj");
        desktop.typeKey(9, EventFlag::Command);
        service.sendOutput(job(u"<main>"));
        service.setListenMouseDownEvents(i % 2 == 0);
        desktop.pressMouse();
        desktop.eventTaps().setSecureEventInput(false);
        service.ignoreNextHotKey();
        hotKey.setValue(i);
        service.refreshContextInputSetting();
        EXPECT_TRUE(service.contextInputSetting()->bundleIdentifier.has_value());
        EXPECT_FALSE(service.isSameProcess());
        (void)service.lastAppEnabledSecureInput();
        (void)service.stringForKeyCode(0, 0);
        (void)service.inputSourceIdentifier();
        mainLoop.runOnce(0);
    }
    background.join();
    const auto text = [&] { return desktop.text(); };
    EXPECT_TRUE(pumpUntil([&] {
        const String now = text();
        return occurrences(now, u"<script>") == Rounds && occurrences(now, u"<main>") == Rounds &&
               occurrences(now, u"<tap>") == Rounds && occurrences(now, u"j") == 0;
    })) << toUTF8(text());
    EXPECT_TRUE(pumpUntil([&] { return keyUps > 0 && keyDowns == 2 * Rounds; }));
}

TEST_F(ServiceThreads, PastesWhileOthersReadTheClipboardAndPreferencesChange) {
    constexpr int Rounds = 20;
    const String Plain(PasteboardType::String);
    ScriptedPasteboard& pasteboard = desktop.pasteboard();
    pasteboard.copy({{Plain, "mine"}});
    service.setRestoreClipboard(true);
    service.clipboardDataProvider().setRestoreDelay(0);
    service.enableEvents();
    ASSERT_TRUE(pumpUntil([&] { return service.evenTapCreated(); }));
    std::atomic<bool> done{false};
    std::thread clipboardManager([&] {
        while (!done) {
            const auto contents = pasteboard.contents();
            for (const String& type : contents->types())
                (void)contents->dataForType(type);
            (void)pasteboard.options();
        }
    });
    std::thread background([&] {
        for (int i = 0; i < Rounds; ++i)
            service.sendOutput(job(u"<text of a script>"));
    });
    for (int i = 0; i < Rounds; ++i) {
        desktop.typeText(u"aj");
        service.sendOutput(job(u"<text of a form>"));
        service.setUseClipboard(i % 2 == 0);
        service.setUseClipboardIn(i % 3);
        service.setUseClipboardApplications({u"an.application"});
        service.setUseClipboardForLongText(i % 3 == 0);
        service.setLongTextLength(i);
        service.clipboardDataProvider().setRestoreDelay(i % 2 * 0.001);
        mainLoop.runOnce(0);
    }
    background.join();
    EXPECT_TRUE(pumpUntil([&] {
        const String now = desktop.text();
        return occurrences(now, u"<text of a script>") == Rounds &&
               occurrences(now, u"<text of a form>") == Rounds &&
               occurrences(now, u"<tap>") == Rounds;
    })) << toUTF8(desktop.text());
    // What the user had comes back behind the last job that was pasted.
    service.setUseClipboard(true);
    service.setUseClipboardIn(0);
    service.sendOutput(job(u"<last>"));
    EXPECT_TRUE(pumpUntil([&] {
        return occurrences(desktop.text(), u"<last>") == 1 &&
               pasteboard.dataForType(Plain) == "mine";
    }));
    done = true;
    clipboardManager.join();
}

TEST_F(ServiceThreads, StoppingInTheMiddleLosesNoJob) {
    std::vector<std::shared_ptr<DROutput>> jobs;
    for (int i = 0; i < 50; ++i) {
        service.enableEvents();
        for (const std::uint64_t backspaces : {0, 45})
            service.sendOutput(jobs.emplace_back(job(u"text", backspaces)));
        desktop.typeText(u"aj");
        if (i % 3 != 0) {
            ASSERT_TRUE(pumpUntil([&] { return service.evenTapCreated(); }));
        }
        service.disableEvents();
        EXPECT_FALSE(service.evenTapCreated());
        for (const auto& output : jobs)
            EXPECT_TRUE(output->finished);
    }
    const std::size_t posted = desktop.eventTaps().postedEvents().size();
    EXPECT_TRUE(pumpUntil([&, end = mainLoop.now() + 0.1] { return mainLoop.now() > end; }));
    EXPECT_EQ(desktop.eventTaps().postedEvents().size(), posted);
}

} // namespace
} // namespace dresk
