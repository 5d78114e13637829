// Scripts with the real shell.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "language/DRScript.h"
#include "support/LogLines.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

std::optional<String> run(ScriptHost& host, StringView source, bool isAppleScript = false) {
    DRScript script;
    script.setScript(String(source));
    script.setIsAppleScript(isAppleScript);
    script.execute(host);
    return script.result();
}

String utf16(const std::filesystem::path& path) {
    return fromUTF8(path.string());
}

/// A pipe with a name, by which a test lets a script go on.
class Gate {
  public:
    Gate() {
        mkfifo(path().c_str(), 0600);
        ends_ = Descriptor(open(path().c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
    }
    std::string path() const { return folder_ / "gate"; }
    /// Source that waits for the gate.
    String wait() const { return u"read go < " + fromUTF8(path()); }
    void openOnce() {
        std::string_view text = "go\n";
        writeAvailable(ends_, text);
    }

  private:
    test::TemporaryFolder folder_;
    Descriptor ends_;
};

TEST(Scripts, GiveWhatTheyWrite) {
    struct Row {
        const char* name;
        const char16_t* source;
        std::optional<String> result;
    };
    const Row rows[] = {
        {"plain", u"echo hi", u"hi"},
        {"one line end goes", u"printf 'a\\n\\n'", u"a\n"},
        {"several writes", u"for i in 1 2 3; do echo $i; done", u"1\n2\n3"},
        {"no output", u":", std::nullopt},
        {"empty", u"", std::nullopt},
        {"the shell's own first line", u"#!/bin/sh\necho $((1+1))", u"2"},
        {"messages do not count in the shell", u"echo oops >&2", std::nullopt},
        {"no UTF-8", u"printf '\\377'", std::nullopt},
        {"characters", u"echo 'ä😀'", u"ä😀"},
        {"backslash at the end", u"echo a \\", u"a"},
        {"comment at the end", u"echo a # b", u"a"},
        {"a program by its path", u"/bin/echo x", u"x"},
        {"a program's path alone", u"/bin/pwd", utf16(std::filesystem::current_path())},
        {"own process", u"#!/bin/cat\ntext", u"#!/bin/cat\ntext"},
        {"own process without output", u"#!/usr/bin/env true", u""},
        {"only messages", u"#!/usr/bin/env sh\necho oops >&2; exit 3", u"oops"},
        {"output and messages", u"#!/usr/bin/env sh\necho a; echo oops >&2", u"a"},
        {"own process, no UTF-8", u"#!/usr/bin/env sh\nprintf '\\377'", std::nullopt},
        {"reads to the end of file", u"#!/usr/bin/env sh\ncat; echo end", u"end"},
        {"leaves a child with its pipes", u"#!/usr/bin/env sh\nsleep 30 & echo x", u"x"},
    };
    ScriptHost host;
    for (const Row& row : rows)
        EXPECT_EQ(run(host, row.source), row.result) << row.name;
}

TEST(Scripts, MayWriteMoreThanAPipeHolds) {
    ScriptHost host;
    const String source = u"head -c 300000 /dev/zero | tr '\\000' x";
    EXPECT_EQ(run(host, u"#!/usr/bin/env sh\n" + source), String(300000, u'x'));
    EXPECT_EQ(run(host, source), String(300000, u'x'));
    // A source that does not fit either, and writes before it has been read.
    String longSource;
    for (int i = 0; i < 4000; ++i)
        longSource += u"echo 0123456789012345678901234567890123456789\n";
    const auto result = run(host, longSource);
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->size(), 4000U * 41 - 1);
}

TEST(Scripts, ShareOneShell) {
    ScriptHost host;
    run(host, u"cd /; x=5");
    EXPECT_EQ(run(host, u"#!/bin/bash\npwd; echo $x"), u"/\n5");
    run(host, u"false");
    EXPECT_EQ(run(host, u"echo $?"), u"1");
    EXPECT_EQ(run(host, u"echo bye; exit"), u"bye");
    EXPECT_EQ(run(host, u"echo new $x"), u"new");
    EXPECT_EQ(run(host, u"kill -9 $$"), std::nullopt);
    EXPECT_EQ(run(host, u"echo again"), u"again");
    EXPECT_EQ(run(host, u"echo )"), std::nullopt); // ends the shell
    EXPECT_EQ(run(host, u"echo after"), u"after");
}

TEST(Scripts, WhatComesLateComesFirstNextTime) {
    ScriptHost host;
    Gate gate;
    EXPECT_EQ(run(host, u"echo a; " + gate.wait() + u"; echo b"), u"a");
    gate.openOnce();
    EXPECT_EQ(run(host, u"echo c"), u"b\nc");
}

TEST(Scripts, AHungOneHoldsNoOther) {
    ScriptCommands commands;
    commands.shellPatience = 0.05;
    ScriptHost host(commands);
    test::LogLines log;
    Gate gate;
    Gate begun;
    std::optional<String> late;
    std::thread slow([&] {
        late = run(host,
                   u"echo go > " + fromUTF8(begun.path()) + u"; " + gate.wait() + u"; echo late");
    });
    {
        std::ifstream waiting(begun.path()); // the slow one has the shell from here on
        waiting.get();
    }
    EXPECT_EQ(run(host, u"x=1; echo quick"), u"quick");
    EXPECT_EQ(log.count(), 1U);
    gate.openOnce();
    slow.join();
    EXPECT_EQ(late, u"late"); // only, it had the old shell to itself
    EXPECT_EQ(run(host, u"echo $x"), u"1");

    // A quotation without an end swallows whatever comes.
    std::thread unfinished([&] { EXPECT_EQ(run(host, u"echo 'abc"), std::nullopt); });
    while (run(host, u"echo $x") == u"1")
        continue;
    EXPECT_EQ(run(host, u"echo ok"), u"ok");
    unfinished.join();
}

TEST(Scripts, EndWhenTheHostIsCancelled) {
    test::TemporaryFolder folder;
    const auto sleeper = [&](const char* name) {
        return u"echo $$ > " + utf16(folder / name) + u".part; mv " + utf16(folder / name) +
               u".part " + utf16(folder / name) + u"; exec sleep 1000";
    };
    ScriptHost host;
    std::optional<String> results[3] = {u"", u"", u""};
    std::thread threads[] = {
        std::thread([&] { results[0] = run(host, sleeper("shell")); }),
        std::thread([&] { results[1] = run(host, u"#!/usr/bin/env sh\n" + sleeper("own")); }),
    };
    for (const char* name : {"shell", "own"})
        while (!std::filesystem::exists(folder / name))
            std::this_thread::yield();
    std::thread waiting([&] { results[2] = run(host, u"echo never"); });
    host.cancel();
    for (std::thread& thread : threads)
        thread.join();
    waiting.join();
    for (const auto& result : results)
        EXPECT_EQ(result, std::nullopt);
    pid_t own = 0;
    std::ifstream(folder / "own") >> own;
    ASSERT_GT(own, 0);
    EXPECT_EQ(kill(own, 0), -1);
    EXPECT_EQ(run(host, u"echo never"), std::nullopt);
    EXPECT_EQ(run(host, u"#!/bin/cat\n"), std::nullopt);
}

TEST(Scripts, CanBeLimitedInTime) {
    ScriptCommands commands;
    commands.timeLimit = 0.1;
    ScriptHost host(commands);
    test::LogLines log;
    EXPECT_EQ(run(host, u"sleep 1000"), std::nullopt);
    EXPECT_EQ(run(host, u"#!/usr/bin/env sh\nsleep 1000"), std::nullopt);
    EXPECT_EQ(log.count(), 2U);
}

TEST(Scripts, RunSideBySide) {
    ScriptHost host;
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            const String number = fromUTF8(std::to_string(i));
            for (int n = 0; n < 8; ++n) {
                right += run(host, u"echo " + number) == number ? 1 : 0;
                right += run(host, u"#!/usr/bin/env sh\necho " + number) == number ? 1 : 0;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 64);
}

TEST(Scripts, WithoutAnInterpreterHaveNoResult) {
    ScriptCommands commands;
    commands.shellPath = "/no/such/shell";
    commands.appleScriptPath = "/no/such/osascript";
    ScriptHost host(commands);
    test::LogLines log;
    EXPECT_EQ(run(host, u"echo hi"), std::nullopt);
    EXPECT_EQ(run(host, u"#!/no/such/interpreter\n"), std::nullopt);
    EXPECT_EQ(run(host, u"tell me", true), std::nullopt);
    EXPECT_EQ(log.count(), 3U);
    commands.appleScriptPath = "/bin/cat";
    host.setCommands(commands);
    EXPECT_EQ(run(host, u"tell me", true), u"tell me");
}

TEST(Scripts, StandInFilesWhileTheyRun) {
    const auto task = DRScript::newTaskForScript(u"echo", false);
    const std::string path = task->launchPath;
    EXPECT_TRUE(std::filesystem::path(path).filename().string().starts_with("Dresk-"));
    EXPECT_EQ(access(path.c_str(), X_OK), 0);
    std::string source;
    std::getline(std::ifstream(path), source, '\0');
    EXPECT_EQ(source, "#!/bin/sh\necho");
    DRScript::deleteTempFileForTask(*task);
    EXPECT_FALSE(std::filesystem::exists(path));

    const auto apple = DRScript::newTaskForScript(u"tell", true);
    ASSERT_EQ(apple->arguments.size(), 1U);
    DRScript::deleteTempFileForTask(*apple);
    EXPECT_FALSE(std::filesystem::exists(apple->arguments.front()));

    // The user's own file, in the temporary folder as well.
    test::TemporaryFolder folder;
    const auto own = folder / "own";
    std::ofstream(own) << "#!/bin/false\necho \"ran $0\"\n";
    ScriptHost host;
    EXPECT_EQ(run(host, utf16(own)), u"ran " + utf16(own));
    EXPECT_TRUE(std::filesystem::exists(own));
}

TEST(Scripts, InheritNeitherSignalMaskNorDescriptors) {
    sigset_t blocked;
    sigset_t previous;
    sigfillset(&blocked);
    pthread_sigmask(SIG_SETMASK, &blocked, &previous);
    constexpr int number = 57;
    ASSERT_EQ(dup2(STDERR_FILENO, number), number);
    ScriptHost host;
    const String source = u"sh -c 'kill -TERM $$; echo survived'\n"
                          u"[ -e /proc/self/fd/57 ] && echo leaked; echo end";
    EXPECT_EQ(run(host, source), u"end");
    EXPECT_EQ(run(host, u"#!/usr/bin/env sh\n" + source), u"end");
    close(number);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

/// Counts the ends of scripts.
struct Observer {
    void onExecuted(DRScript* script) { results.push_back(script->result()); }
    std::vector<std::optional<String>> results;
};

TEST(Scripts, TakeTheResultsOfNestedOnes) {
    const auto inner = [](const char16_t* source, std::uint64_t location) {
        auto script = std::make_shared<DRScript>();
        script->setScript(source);
        script->setLocation(location);
        return script;
    };
    DRScript outer;
    outer.setScript(u"echo [][]");
    outer.setNestedScripts({inner(u"echo a", 6), inner(u":", 8), inner(u"echo b", 8)});
    outer.setSuffix(u"!");
    Observer observer;
    outer.executed().addObserver(&observer, &Observer::onExecuted);
    ScriptHost host;
    outer.execute(host);
    EXPECT_EQ(outer.script(), u"echo [a][b]");
    EXPECT_EQ(observer.results, (std::vector<std::optional<String>>{u"[a][b]!"}));
}

} // namespace
} // namespace dresk
