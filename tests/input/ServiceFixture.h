#pragma once

#include <gtest/gtest.h>

#include "Foundation/Log.h"
#include "input/MacInputService.h"
#include "input/scripted/KeyNames.h"
#include "input/scripted/ScriptedDesktop.h"
#include "store/SnippetGroup.h"

namespace dresk {

/// Notes every event of a service as one word or two, and answers as the test wants.
class ServiceObserver {
  public:
    explicit ServiceObserver(MacInputService& service) : service_(service) {
        service.keyDownEvent().addObserver(this, &ServiceObserver::onKeyDown);
        service.keyUpEvent().addObserver(this, &ServiceObserver::onKeyUp);
        service.mouseDownEvent().addObserver(this, &ServiceObserver::onMouseDown);
        service.inputContextChangedEvent().addObserver(this, &ServiceObserver::onContextChanged);
        service.hotKeysPressed().addObserver(this, &ServiceObserver::onHotKeys);
        service.unregisteredHotKeyPressedEvent().addObserver(this, &ServiceObserver::onChord);
        service.secureInputChangedEvent().addObserver(this, &ServiceObserver::onSecureInput);
        service.inputSourceChangedEvent().addObserver(this, &ServiceObserver::onInputSource);
    }

    /// Called for each key press, which is swallowed on true.
    std::function<bool(const ZPKeyEventArgs&)> keyDown = [](const auto&) { return false; };
    bool cancelHotKeys = true;
    bool cancelChords = false;

    /// What has happened since the last call, joined by blanks.
    std::string take() { return std::exchange(log_, {}); }

  private:
    void note(const std::string& word) { log_ += (log_.empty() ? "" : " ") + word; }
    static std::string keyText(const ZPKeyEventArgs& args) {
        return keyName(args.key) + (args.s.has_value() ? quotedText(*args.s) : "");
    }
    void onKeyDown(ZPKeyEventArgs* args) {
        EXPECT_EQ(service_.lastKeyString(), args->s);
        EXPECT_EQ(args->c, args->s.has_value() && !args->s->empty() ? args->s->front() : 0);
        note("down:" + keyText(*args));
        args->cancel = keyDown(*args);
    }
    void onKeyUp(ZPKeyEventArgs* args) { note("up:" + keyText(*args)); }
    void onMouseDown(ZPCancelEventArgs*) { note("mouse"); }
    void onContextChanged(ZPCancelEventArgs*) { note("context"); }
    void onHotKeys(ZPHotKeysPressedEventArgs* args) {
        for (const GeneralHotKey* hotKey : args->hotKeys())
            note("hot:" + std::to_string(hotKey->modifiers()) + "/" + keyName(hotKey->keyCode()));
        args->cancel = cancelHotKeys;
    }
    void onChord(ZPUnregisteredHotKeyPressedEventArgs* args) {
        EXPECT_EQ(args->hotKey().keyCode(), args->key);
        EXPECT_EQ(args->s, std::nullopt);
        note("chord:" + std::to_string(args->hotKey().modifiers()) + "/" + keyName(args->key) +
             quotedText(String(1, args->c)));
        args->cancel = cancelChords;
    }
    void onSecureInput(MacInputService* service) {
        note(service->secureInput() ? "secure" : "open");
    }
    void onInputSource(ZPCancelEventArgs*) { note("source"); }

    MacInputService& service_;
    std::string log_;
};

/// A service on a desktop in memory, in virtual time.
class ServiceTest : public testing::Test {
  public:
    ServiceTest() {
        setLogSink([this](std::string_view line) { logged.emplace_back(line); });
    }
    ~ServiceTest() override {
        service.disableEvents();
        setLogSink({});
    }

  protected:
    void enable() {
        service.enableEvents();
        time.runPending();
    }
    /// What the application in front has received, joined by ", ".
    std::string received() {
        std::string result;
        for (const auto& line : desktop.processes().received(desktop.processes().frontProcess()))
            result += (result.empty() ? "" : ", ") + line;
        return result;
    }
    /// What was posted since the last call, joined by " | ".
    std::string posted() {
        std::string result;
        for (const auto& line : desktop.postedLines())
            result += (result.empty() ? "" : " | ") + line;
        desktop.eventTaps().clearPostedEvents();
        return result;
    }

    VirtualTime time;
    VirtualRunLoop mainLoop{time};
    ScriptedDesktop desktop{time};
    BundleIdentifierResolver resolver{desktop.processes()};
    MacInputService service{desktop, resolver, mainLoop};
    ServiceObserver observer{service};
    std::vector<std::string> logged;
};

} // namespace dresk
