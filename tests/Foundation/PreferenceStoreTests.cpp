#include <csignal>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Foundation/FilePreferenceStore.h"
#include "Foundation/FileStorage.h"
#include "Foundation/PreferenceKeys.h"
#include "Foundation/VirtualRunLoop.h"
#include "support/LogLines.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

using test::LogLines;
using test::TemporaryFolder;

struct Changes {
    std::vector<String> keys;
    void onPreferenceChanged(PreferenceChangedEventArgs* args) { keys.push_back(args->key); }
};

/// Lets the process create no file beyond `bytes`, as a full disk does.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        (void)getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit small{bytes, old_.rlim_max};
        (void)setrlimit(RLIMIT_FSIZE, &small);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        (void)setrlimit(RLIMIT_FSIZE, &old_);
        (void)std::signal(SIGXFSZ, handler_);
    }

  private:
    rlimit old_{};
    void (*handler_)(int);
};

String value(const std::filesystem::path& file) {
    const FilePreferenceStore store(file);
    return store.stringForKey(u"key").value_or(u"none");
}

TEST(PreferenceStore, ReadsTypedValuesThroughTheDefaults) {
    PreferenceStore store;
    store.registerDefaults(registeredDefaults(u"/backups"));
    EXPECT_TRUE(store.boolForKey(PreferenceKey::ShowDockIcon));
    EXPECT_EQ(store.integerForKey(PreferenceKey::LongTextLength), 100);
    EXPECT_EQ(store.integerForKey(PreferenceKey::MainWindowSearchBy), INT64_MAX);
    EXPECT_EQ(store.doubleForKey(PreferenceKey::RestoreClipboardDelay), 0.4);
    EXPECT_EQ(store.stringForKey(PreferenceKey::BackupDirectory), u"/backups");
    EXPECT_EQ(store.stringForKey(PreferenceKey::CapitalizationExcludedAbbreviations),
              u"etc.\ne.g.\ni.e.");
    EXPECT_FALSE(store.boolForKey(PreferenceKey::UseClipboard));
    EXPECT_FALSE(store.stringForKey(PreferenceKey::SyncDirectory).has_value());

    Changes changes;
    store.preferenceChanged().addObserver(&changes, &Changes::onPreferenceChanged);
    store.setBool(false, PreferenceKey::ShowDockIcon);
    store.setInteger(1, PreferenceKey::quickSearchHotKey);
    EXPECT_FALSE(store.boolForKey(PreferenceKey::ShowDockIcon));
    EXPECT_EQ(store.integerForKey(PreferenceKey::QuickSearchHotKeyAtLaunch), 0);
    store.removeObject(PreferenceKey::ShowDockIcon);
    EXPECT_TRUE(store.boolForKey(PreferenceKey::ShowDockIcon));
    EXPECT_EQ(changes.keys,
              (std::vector<String>{u"ShowDockIcon", u"quickSearchHotKey", u"ShowDockIcon"}));
    EXPECT_EQ(syncedPreferenceKeys().size(), 13U);
    EXPECT_EQ(syncedPreferenceKeys().back(), PreferenceKey::LongTextLength);
}

TEST(PreferenceStore, KeepsEveryTypeInItsFile) {
    const TemporaryFolder folder;
    {
        FilePreferenceStore store(folder / "deep/Preferences.plist");
        store.setBool(true, u"bool");
        store.setInteger(INT64_MIN, u"integer");
        store.setDouble(0.1, u"double");
        store.setString(String{u'a', 0xD800}, u"text");
        store.setStringArray({u"a", u"b"}, u"texts");
        store.setObject(PropertyList(Date{1e9 + 0.25}), u"date");
        store.setObject(PropertyList(std::string(3'000'000, '\1')), u"Data");
    }
    const FilePreferenceStore store(folder / "deep/Preferences.plist");
    EXPECT_FALSE(store.loadReport().isDamaged);
    EXPECT_TRUE(store.boolForKey(u"bool"));
    EXPECT_EQ(store.integerForKey(u"integer"), INT64_MIN);
    EXPECT_EQ(store.doubleForKey(u"double"), 0.1);
    EXPECT_EQ(store.stringForKey(u"text"), (String{u'a', 0xD800}));
    EXPECT_EQ(store.stringArrayForKey(u"texts"), (std::vector<String>{u"a", u"b"}));
    EXPECT_EQ(store.dateForKey(u"date"), Date{1e9 + 0.25});
    EXPECT_EQ(store.dataForKey(u"Data")->size(), 3'000'000U);
}

TEST(PreferenceStore, WritesOnceBehindTheLastChange) {
    const TemporaryFolder folder;
    VirtualTime time;
    VirtualRunLoop loop(time);
    FilePreferenceStore store(folder / "p.plist", &loop);
    store.setString(u"one", u"key");
    time.advance(0.6);
    store.setString(u"two", u"key");
    time.advance(0.6);
    EXPECT_FALSE(std::filesystem::exists(folder / "p.plist"));
    time.advance(0.5);
    EXPECT_EQ(value(folder / "p.plist"), u"two");
    EXPECT_FALSE(std::filesystem::exists(folder / "p.plist.previous"));
    store.setString(u"three", u"key");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(value(folder / "p.plist"), u"three");
    EXPECT_EQ(*store.previousObjectForKey(u"key").string(), u"two");
    EXPECT_EQ(folder.count(), 2U);
}

TEST(PreferenceStore, MovesADamagedFileAsideAndReadsTheOneBefore) {
    const TemporaryFolder folder;
    const auto file = folder / "p.plist";
    for (const char16_t* text : {u"one", u"two"}) {
        FilePreferenceStore store(file);
        store.setString(text, u"key");
    }
    ASSERT_FALSE(writeFile(file, "bplist00 damaged"));
    {
        const LogLines log;
        FilePreferenceStore store(file);
        EXPECT_EQ(store.stringForKey(u"key"), u"one");
        const PreferenceLoadReport report = store.loadReport();
        EXPECT_TRUE(report.isDamaged);
        ASSERT_EQ(report.keptAside.size(), 1U);
        std::error_code error;
        EXPECT_EQ(readFile(report.keptAside[0], error), "bplist00 damaged");
        EXPECT_EQ(report.loadedFrom, folder / "p.plist.previous");
        EXPECT_EQ(log.count(), 1U);
        store.setString(u"three", u"key");
    }
    EXPECT_EQ(value(file), u"three");
    EXPECT_EQ(folder.count(), 3U) << "the damaged file stays";

    ASSERT_FALSE(writeFile(file, ""));
    ASSERT_FALSE(writeFile(folder / "p.plist.previous", "x"));
    const LogLines log;
    const FilePreferenceStore store(file);
    EXPECT_FALSE(store.stringForKey(u"key").has_value());
    EXPECT_EQ(store.loadReport().keptAside.size(), 2U);
}

TEST(PreferenceStore, LosesNothingOnAFullDisk) {
    const TemporaryFolder folder;
    VirtualTime time;
    VirtualRunLoop loop(time);
    FilePreferenceStore store(folder / "p.plist", &loop);
    store.setString(u"old", u"key");
    ASSERT_TRUE(store.synchronize());
    const LogLines log;
    {
        const FullDisk disk(1000);
        store.setString(String(10'000, u'x'), u"key");
        EXPECT_FALSE(store.synchronize());
        EXPECT_FALSE(store.synchronize());
        time.advance(200);
    }
    EXPECT_EQ(log.count(), 1U);
    EXPECT_EQ(value(folder / "p.plist"), u"old");
    EXPECT_EQ(folder.count(), 1U) << "no half-written file stays";
    time.advance(FilePreferenceStore::RetryDelay);
    EXPECT_EQ(value(folder / "p.plist").size(), 10'000U);
}

TEST(PreferenceStore, LosesNothingInAFolderThatCannotBeWritten) {
    const TemporaryFolder folder;
    VirtualTime time;
    VirtualRunLoop loop(time);
    ASSERT_FALSE(writeFile(folder / "file", "not a folder"));
    const LogLines log;
    {
        FilePreferenceStore store(folder / "file/p.plist", &loop);
        store.setString(u"new", u"key");
        time.advance(100);
        EXPECT_EQ(log.count(), 1U);
        std::filesystem::remove(folder / "file");
        time.advance(FilePreferenceStore::RetryDelay);
    }
    EXPECT_EQ(value(folder / "file/p.plist"), u"new");

    const bool isRoot = geteuid() == 0; // who may write everywhere
    std::filesystem::permissions(folder / "file", std::filesystem::perms(0555));
    std::filesystem::permissions(folder / "file/p.plist", std::filesystem::perms(0444));
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    ASSERT_TRUE(!isRoot || seteuid(65534) == 0);
    {
        FilePreferenceStore store(folder / "file/p.plist");
        EXPECT_EQ(store.stringForKey(u"key"), u"new");
        store.setString(u"newer", u"key");
        EXPECT_FALSE(store.synchronize());
    }
    ASSERT_TRUE(!isRoot || seteuid(0) == 0);
    std::filesystem::permissions(folder / "file", std::filesystem::perms(0755));
    EXPECT_EQ(value(folder / "file/p.plist"), u"new");
    EXPECT_EQ(log.count(), 2U);
}

} // namespace
} // namespace dresk
