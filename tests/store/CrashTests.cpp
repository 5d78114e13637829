#include <csignal>
#include <random>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Foundation/FilePreferenceStore.h"
#include "Foundation/PreferenceKeys.h"
#include "store/SnippetArchive.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

constexpr std::size_t SnippetCount = 10'000;

/// An archive whose every snippet carries the same number.
std::string archive(int number) {
    auto group = std::make_shared<SnippetGroup>();
    const String content = fromUTF8("content of generation " + std::to_string(number));
    for (std::size_t i = 0; i < SnippetCount; ++i)
        group->addItem(Snippet::initWithAbbreviation(fromUTF8("s" + std::to_string(i)), content));
    SnippetArchive result;
    result.version = u"1";
    result.groups = SnippetGroupArray{group};
    result.dateInstalled = Date{0};
    result.uuidString = fromUTF8(std::to_string(number));
    return result.archiveAllData().binaryData();
}

/// The number that all snippets carry; -1 if they differ or some are missing.
int numberIn(const std::string& bytes) {
    const auto read = SnippetArchive::unarchive(bytes);
    if (!read.has_value() || !read->isLossless ||
        read->groups->front()->items().size() != SnippetCount)
        return -1;
    const String expected = u"content of generation " + *read->uuidString;
    for (const auto& item : read->groups->front()->items())
        if (item->plainTextContent() != expected)
            return -1;
    return std::stoi(toUTF8(*read->uuidString));
}

/// Saves one archive after the other until it is killed; `ready` is closed behind the first one.
[[noreturn]] void saveForEver(const std::filesystem::path& file,
                              const std::vector<std::string>& archives, int ready) {
    FilePreferenceStore store(file);
    for (std::size_t i = 0;; ++i) {
        store.setObject(PropertyList(archives[i % archives.size()]), PreferenceKey::Data);
        if (!store.synchronize())
            _exit(1);
        if (i == 0)
            (void)close(ready);
    }
}

TEST(Crash, LeavesTheOldOrTheNewDataWhole) {
    const std::vector<std::string> archives{archive(0), archive(1)};
    const test::TemporaryFolder folder(test::memoryFolder());
    const auto file = folder / "p.plist";
    std::mt19937 random(20260102);
    std::uniform_int_distribution<unsigned> delay(0, 20'000);
    int found[2] = {0, 0};
    for (int round = 0; round < 200; ++round) {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const pid_t child = fork();
        if (child == 0) {
            (void)close(ready[0]);
            saveForEver(file, archives, ready[1]);
        }
        ASSERT_GT(child, 0);
        (void)close(ready[1]);
        char none = 0;
        ASSERT_EQ(read(ready[0], &none, 1), 0); // saved once
        (void)close(ready[0]);
        (void)usleep(delay(random)); // the random moment, not a wait for anything
        (void)kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the child met an error of its own";

        const FilePreferenceStore store(file);
        ASSERT_FALSE(store.loadReport().isDamaged) << round;
        const auto data = store.dataForKey(PreferenceKey::Data);
        ASSERT_TRUE(data.has_value()) << round;
        // Whole data is byte for byte one of the two; take it apart now and then to be sure.
        const int number = round % 100 == 0       ? numberIn(*data)
                           : *data == archives[0] ? 0
                           : *data == archives[1] ? 1
                                                  : -1;
        ASSERT_GE(number, 0) << "mixed or lost data in round " << round;
        ++found[number];
    }
    EXPECT_GT(found[0], 0);
    EXPECT_GT(found[1], 0) << "the moments were not random";
}

} // namespace
} // namespace dresk
