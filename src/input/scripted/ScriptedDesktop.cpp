#include "input/scripted/ScriptedDesktop.h"

#include <cassert>
#include <chrono>
#include <thread>

#include "Foundation/PollRunLoop.h"

namespace dresk {

/// A tap thread on which the desktop can act as the user.
class ScriptedDesktop::PerformingThread : public TapThread {
  public:
    explicit PerformingThread(ScriptedDesktop& desktop) : desktop_(desktop) {
        assert(desktop_.tapThread_ == nullptr);
        desktop_.tapThread_ = this;
    }
    ~PerformingThread() override { desktop_.tapThread_ = nullptr; }
    virtual void perform(RunLoop::Call call) = 0;

  private:
    ScriptedDesktop& desktop_;
};

class ScriptedDesktop::VirtualTapThread final : public PerformingThread {
  public:
    VirtualTapThread(ScriptedDesktop& desktop, std::function<void(RunLoop&)> body)
        : PerformingThread(desktop), loop_(*desktop.time_) {
        loop_.post({this, "body"}, [this, body = std::move(body)] { body(loop_); });
    }
    ~VirtualTapThread() override { assert(!loop_.isCurrent()); }
    RunLoop& runLoop() override { return loop_; }
    void perform(RunLoop::Call call) override { loop_.perform(call); }

  private:
    VirtualRunLoop loop_;
};

class ScriptedDesktop::RealTapThread final : public PerformingThread {
  public:
    RealTapThread(ScriptedDesktop& desktop, std::function<void(RunLoop&)> body)
        : PerformingThread(desktop), loop_(std::make_shared<PollRunLoop>()) {
        // The thread has a share in the loop, because it may end itself.
        thread_ = std::thread([loop = loop_, body = std::move(body)] {
            loop->post({loop.get(), "body"}, [&] { body(*loop); });
            loop->run();
        });
    }
    ~RealTapThread() override {
        loop_->stop();
        if (loop_->isCurrent())
            thread_.detach();
        else
            thread_.join();
    }
    RunLoop& runLoop() override { return *loop_; }
    void perform(RunLoop::Call call) override { loop_->post({this, "perform"}, std::move(call)); }

  private:
    std::shared_ptr<PollRunLoop> loop_;
    std::thread thread_;
};

ScriptedDesktop::ScriptedDesktop(VirtualTime* time)
    : time_(time), start_(time != nullptr ? time->elapsed() : steadySeconds()),
      applications_(&pasteboard_), eventTaps_(keyboard_, applications_, [this] { return now(); }),
      editor_(applications_.launch(u"editor", u"Text Editor")) {
    applications_.setFrontProcess(editor_);
}

ScriptedDesktop::~ScriptedDesktop() {
    assert(tapThread_ == nullptr);
}

double ScriptedDesktop::now() const {
    return (time_ != nullptr ? time_->elapsed() : steadySeconds()) - start_;
}

std::unique_ptr<EventHotKey> ScriptedDesktop::registerEventHotKey(std::uint16_t keyCode,
                                                                  std::uint64_t flags,
                                                                  RunLoop& loop,
                                                                  std::function<void()> pressed) {
    return eventTaps_.registerHotKey(keyCode, flags, loop, std::move(pressed));
}

std::unique_ptr<TapThread> ScriptedDesktop::startTapThread(std::function<void(RunLoop&)> body) {
    if (time_ != nullptr)
        return std::make_unique<VirtualTapThread>(*this, std::move(body));
    return std::make_unique<RealTapThread>(*this, std::move(body));
}

void ScriptedDesktop::performOnTapThread(RunLoop::Call call) {
    if (tapThread_ != nullptr)
        tapThread_->perform(std::move(call));
    else
        call();
}

void ScriptedDesktop::typeText(StringView text) {
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint codePoint = codePointAt(text, i);
        const auto presses = keyboard_.layout().pressesFor(codePoint.value);
        for (const KeyPress& press : presses)
            typeKey(press.keyCode, press.flags);
        if (presses.empty())
            performOnTapThread([this, unit = String(text.substr(i, codePoint.length))] {
                eventTaps_.commitText(unit);
            });
        i += codePoint.length;
    }
}

void ScriptedDesktop::pressKey(std::uint16_t keyCode, std::uint64_t flags) {
    performOnTapThread([this, keyCode, flags] {
        eventTaps_.holdModifiers(flags);
        eventTaps_.pressKey(keyCode);
    });
}

void ScriptedDesktop::releaseKey(std::uint16_t keyCode) {
    performOnTapThread([this, keyCode] { eventTaps_.releaseKey(keyCode); });
}

void ScriptedDesktop::typeKey(std::uint16_t keyCode, std::uint64_t flags) {
    pressKey(keyCode, flags);
    releaseKey(keyCode);
    holdModifiers(0);
}

void ScriptedDesktop::holdModifiers(std::uint64_t flags) {
    performOnTapThread([this, flags] { eventTaps_.holdModifiers(flags); });
}

void ScriptedDesktop::pressMouse(EventType button) {
    performOnTapThread([this, button] { eventTaps_.pressMouse(button); });
}

void ScriptedDesktop::selectLayout(String identifier) {
    performOnTapThread(
        [this, identifier = std::move(identifier)] { keyboard_.select(identifier); });
}

String ScriptedDesktop::text() {
    return applications_.textField(applications_.frontProcess()).text();
}

} // namespace dresk
