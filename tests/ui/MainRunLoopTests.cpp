// What a main loop does, whatever it stands on.

#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "Foundation/PollRunLoop.h"
#include "ui/qt/QtRunLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>

namespace dresk {
namespace {

QCoreApplication& application() {
    static int count = 1;
    static char name[] = "MainRunLoopTests";
    static char* arguments[] = {name, nullptr};
    static QCoreApplication instance(count, arguments);
    return instance;
}

template <class Loop>
class MainRunLoopTest : public testing::Test {
  protected:
    void note(int value) { notes.push_back(value); }
    /// Runs the loop until the call that stops it, which comes behind what is due by then.
    void runFor(double seconds) {
        loop.callAfter(seconds, {this, "stop"}, [this] { loop.stop(); });
        loop.run();
    }

    QCoreApplication& qt = application();
    Loop loop;
    std::vector<int> notes;
};

using Loops = testing::Types<PollRunLoop, QtRunLoop>;
struct LoopNames {
    template <class Loop>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<Loop, QtRunLoop> ? "Qt" : "Poll";
    }
};
TYPED_TEST_SUITE(MainRunLoopTest, Loops, LoopNames);

TYPED_TEST(MainRunLoopTest, RunsCallsInTheOrderOfDeadlinesAndThenOfArming) {
    auto& loop = this->loop;
    const double start = loop.now();
    loop.callAfter(0.02, {this, "a"}, [&] { this->note(4); });
    loop.callAfter(0.01, {this, "a"}, [&] { this->note(3); });
    loop.post({this, "a"}, [&] { this->note(1); });
    loop.callAfter(-1, {this, "a"}, [&] { this->note(2); });
    this->runFor(0.02);
    EXPECT_EQ(this->notes, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_GE(loop.now() - start, 0.02);
}

TYPED_TEST(MainRunLoopTest, CancelsByNameAndByTarget) {
    auto& loop = this->loop;
    int other = 0;
    loop.post({this, "a"}, [&] { this->note(1); });
    loop.post({this, "b"}, [&] { this->note(2); });
    loop.callAfter(0.001, {&other, "a"}, [&] { this->note(3); });
    loop.callAfter(0.001, {&other, "b"}, [&] { this->note(4); });
    loop.cancel({this, "a"});
    loop.cancelAll(&other);
    loop.cancelAndCallAfter(0.002, {this, "b"}, [&] { this->note(5); });
    this->runFor(0.005);
    EXPECT_EQ(this->notes, (std::vector<int>{5}));
}

TYPED_TEST(MainRunLoopTest, TakesCallsFromOtherThreadsWhileItWaits) {
    auto& loop = this->loop;
    std::thread thread;
    loop.post({this, "start"}, [&] {
        EXPECT_TRUE(loop.isCurrent());
        thread = std::thread([&] {
            EXPECT_FALSE(loop.isCurrent());
            for (int i = 0; i < 1000; ++i)
                loop.post({this, "note"}, [&, i] { this->note(i); });
            loop.callAfter(0.001, {this, "stop"}, [&] { loop.stop(); });
        });
    });
    loop.run();
    thread.join();
    ASSERT_EQ(this->notes.size(), 1000U);
    EXPECT_TRUE(std::is_sorted(this->notes.begin(), this->notes.end()));
}

TYPED_TEST(MainRunLoopTest, ServesDescriptorsWhileACallArmsItselfForEver) {
    auto& loop = this->loop;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::function<void()> again = [&] { loop.post({this, "again"}, again); };
    again();
    loop.addDescriptor(ends[0], [&] {
        char byte = 0;
        ASSERT_EQ(read(ends[0], &byte, 1), 1);
        loop.removeDescriptor(ends[0]);
        this->note(byte);
        loop.stop();
    });
    ASSERT_EQ(write(ends[1], "xy", 2), 2);
    loop.run();
    loop.cancelAll(this);
    // What is left in the pipe tells nobody any more.
    this->runFor(0.005);
    EXPECT_EQ(this->notes, (std::vector<int>{'x'}));
    close(ends[0]);
    close(ends[1]);
}

TYPED_TEST(MainRunLoopTest, StopsBehindTheCallBeingServed) {
    auto& loop = this->loop;
    loop.stop();
    loop.run();
    loop.post({this, "stop"}, [&] {
        loop.stop();
        this->note(1);
    });
    loop.post({this, "later"}, [&] { this->note(2); });
    loop.run();
    EXPECT_EQ(this->notes, (std::vector<int>{1}));
    this->runFor(0.001);
    EXPECT_EQ(this->notes, (std::vector<int>{1, 2}));
}

TYPED_TEST(MainRunLoopTest, DropsWhatIsPendingWithTheLoop) {
    const auto witness = std::make_shared<int>();
    {
        TypeParam loop;
        loop.post({this, "a"}, [witness] { FAIL(); });
    }
    EXPECT_EQ(witness.use_count(), 1);
    this->runFor(0.001);
}

// A menu or a dialog runs a loop of its own inside a call.
TEST(QtRunLoop, ServesCallsInNestedLoopsToo) {
    application();
    QtRunLoop loop;
    std::vector<int> notes;
    QEventLoop dialog;
    loop.post({&notes, "dialog"}, [&] {
        dialog.exec();
        notes.push_back(3);
        loop.stop();
    });
    loop.post({&notes, "waiting"}, [&] { notes.push_back(1); });
    loop.callAfter(0.002, {&notes, "later"}, [&] {
        notes.push_back(2);
        dialog.quit();
    });
    loop.run();
    EXPECT_EQ(notes, (std::vector<int>{1, 2, 3}));
}

// How often the loop goes round while nothing is due.
TEST(QtRunLoop, SleepsWhileNothingIsDue) {
    application();
    QtRunLoop loop;
    loop.callAfter(60, {&loop, "far"}, [] {});
    loop.callAfter(0.05, {&loop, "stop"}, [&] { loop.stop(); });
    int rounds = 0;
    const auto connection = QObject::connect(QAbstractEventDispatcher::instance(),
                                             &QAbstractEventDispatcher::awake, [&] { ++rounds; });
    loop.run();
    QObject::disconnect(connection);
    EXPECT_LE(rounds, 5);
    loop.cancelAll(&loop);
}

} // namespace
} // namespace dresk
