#include <gtest/gtest.h>

#include "Foundation/VirtualRunLoop.h"
#include "Foundation/ZPEvent.h"
#include "seam/ZPEventArgs.h"

namespace dresk {
namespace {

struct Recorder {
    std::vector<std::string>* calls;
    std::string name;

    void onPlain(ZPCancelEventArgs* args) {
        calls->push_back(name + (args == nullptr ? "(null)" : args->cancel ? "(cancelled)" : "()"));
    }
    void onCancelling(ZPCancelEventArgs* args) {
        onPlain(args);
        args->cancel = true;
    }
};

TEST(ZPEvent, CallsObserversInOrderAndDuplicatesTwice) {
    std::vector<std::string> calls;
    Recorder a{&calls, "a"};
    Recorder b{&calls, "b"};
    ZPEvent event;
    event.raise(nullptr);

    event.addObserver(&a, &Recorder::onPlain);
    event.addObserver(&b, &Recorder::onCancelling);
    event.addObserver(&a, &Recorder::onPlain);
    ZPCancelEventArgs args;
    event.raise(&args);
    EXPECT_EQ(calls, (std::vector<std::string>{"a()", "b()", "a(cancelled)"}));

    calls.clear();
    event.removeObserver(&a, &Recorder::onPlain);
    event.removeObserver(&b, &Recorder::onPlain); // never subscribed with that method
    event.removeObserver(&b, &Recorder::onCancelling);
    event.raise(nullptr);
    EXPECT_EQ(calls, (std::vector<std::string>{"a(null)"}));
}

TEST(ZPEvent, PostsToTheMainLoopWithoutWaiting) {
    VirtualTime time;
    VirtualRunLoop mainLoop(time);
    std::vector<std::string> calls;
    Recorder stays{&calls, "stays"};
    Recorder leaves{&calls, "leaves"};
    auto args = std::make_shared<ZPCancelEventArgs>();
    {
        ZPEvent event(&mainLoop);
        event.addObserver(&stays, &Recorder::onCancelling);
        event.addObserver(&leaves, &Recorder::onPlain);
        event.raiseOnMainThread(args);
        EXPECT_FALSE(args->cancel);
        event.removeObserver(&leaves, &Recorder::onPlain);
        time.runPending();
        EXPECT_EQ(calls, (std::vector<std::string>{"stays()"}));
        event.raiseOnMainThread(args);
    }
    calls.clear();
    time.runPending(); // the event has gone, and its posted calls with it
    EXPECT_TRUE(calls.empty());
}

} // namespace
} // namespace dresk
