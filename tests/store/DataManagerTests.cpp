#include <array>
#include <atomic>
#include <cstdio>
#include <thread>

#include <gtest/gtest.h>

#include "DefaultDataSource.h"
#include "Foundation/FilePreferenceStore.h"
#include "Foundation/FileStorage.h"
#include "Foundation/PreferenceKeys.h"
#include "Foundation/VirtualRunLoop.h"
#include "store/DataManager.h"
#include "store/SnippetCoding.h"
#include "support/LogLines.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

constexpr std::array<StringView, 2> StrangerClass{u"Stranger", u"NSObject"};

namespace fs = std::filesystem;

/// Comma-separated text as the tests want to see it.
class RecordingFormats final : public DataFileFormats {
  public:
    std::optional<SnippetGroupArray> importFile(const fs::path& path) override {
        std::error_code error;
        const auto bytes = readFile(path, error);
        return bytes.has_value() ? SnippetArchive::importData(*bytes) : std::nullopt;
    }
    void writeRows(const fs::path&, const std::vector<Row>& rows) override { written = rows; }
    void importSystemSubstitutions(DataManager&) override { ++substitutions; }

    std::vector<Row> written;
    int substitutions = 0;
};

class DataManagerTest : public testing::Test {
  protected:
    struct Observer {
        std::vector<std::int32_t> types;
        std::size_t groupsAdded = 0;
        void onDataChanged(DataChangedEventArgs* args) {
            types.push_back(args->type());
            if (const auto* groups = std::get_if<SnippetGroupArray>(&args->object()))
                groupsAdded = groups->size();
        }
    };

    DataManager::Places places() const {
        return {u"1.0", DRESK_DEFAULT_DATA, folder / "sandboxed.plist", folder / "foreign.dresk"};
    }
    std::unique_ptr<DataManager> make(PreferenceStore& store) {
        auto manager = std::make_unique<DataManager>(store, loop, places(), &formats, time);
        manager->dataChangedEvent().addObserver(&observer, &Observer::onDataChanged);
        return manager;
    }
    std::shared_ptr<SnippetGroup> group(const char16_t* name,
                                        std::initializer_list<const char16_t*> abbreviations) {
        auto result = std::make_shared<SnippetGroup>(time);
        result->setName(String(name));
        for (const char16_t* text : abbreviations)
            result->addItem(Snippet::initWithAbbreviation(String(text), String(u"content"), time));
        return result;
    }
    /// A manager with two groups and nothing else.
    std::unique_ptr<DataManager> loaded() {
        auto manager = make(store);
        (void)manager->loadData();
        manager->restoreFromSnippetGroups({group(u"A", {u"a1", u"a2"}), group(u"B", {u"b"})});
        observer = {};
        return manager;
    }
    /// Groups and their sizes.
    static std::string shape(const DataManager& manager) {
        std::string result;
        for (const auto& group : manager.snippetGroups().groups)
            result +=
                toUTF8(group->name().value_or(u"?")) + std::to_string(group->items().size()) + " ";
        return result;
    }

    test::TemporaryFolder folder;
    VirtualTime time{{7.5e8}};
    VirtualRunLoop loop{time};
    RecordingFormats formats;
    PreferenceStore store;
    Observer observer;
};

TEST_F(DataManagerTest, StartsForTheFirstTimeWithTheDefaultData) {
    const auto manager = make(store);
    EXPECT_TRUE(manager->loadData());
    EXPECT_EQ(shape(*manager), "Everyday Texts9 Dates and Times12 Forms6 Symbols22 ");
    EXPECT_EQ(formats.substitutions, 1);
    EXPECT_EQ(manager->dateInstalled(), time.now());
    EXPECT_TRUE(manager->uuidString().has_value());
    EXPECT_TRUE(store.dataForKey(PreferenceKey::Data).has_value());
    const auto version = manager->versionUUIDString();
    // What expands at once must not be the beginning of anything else.
    for (const auto& group : manager->snippetGroups().groups)
        for (const auto& other : manager->snippetGroups().groups)
            for (const auto& item : group->items())
                for (const auto& longer : other->items())
                    EXPECT_FALSE(group->expandTrigger() == ExpandTrigger::Immediately &&
                                 item != longer &&
                                 longer->abbreviation()->starts_with(*item->abbreviation()))
                        << toUTF8(*longer->abbreviation());

    const auto second = make(store);
    EXPECT_FALSE(second->loadData());
    EXPECT_EQ(shape(*second), shape(*manager));
    EXPECT_EQ(second->uuidString(), manager->uuidString());
    EXPECT_FALSE(second->loadReport().isDamaged);
    EXPECT_EQ(second->versionUUIDString(), version);
}

TEST_F(DataManagerTest, CompletesOlderDataAndSavesIt) {
    SnippetArchive old;
    old.version = u"1";
    old.groups = SnippetGroupArray{group(u"A", {u"a"})};
    old.dateInstalled = Date{1};
    store.setObject(PropertyList(old.archiveOneGroup().binaryData()), PreferenceKey::Data);
    const auto manager = make(store);
    EXPECT_FALSE(manager->loadData());
    EXPECT_TRUE(observer.types.empty());
    const auto saved = SnippetArchive::unarchive(*store.dataForKey(PreferenceKey::Data));
    EXPECT_EQ(saved->versionUUIDString, manager->versionUUIDString());
    EXPECT_EQ(saved->dateInstalled, Date{1});
    EXPECT_TRUE(saved->uuidString.has_value());
}

TEST_F(DataManagerTest, TakesTheDataOfTheSandboxedEdition) {
    const auto other = loaded();
    PropertyList::Dictionary values;
    values.emplace_back(PreferenceKey::Data, PropertyList(other->archivedData()));
    ASSERT_FALSE(
        writeFile(folder / "sandboxed.plist", PropertyList(std::move(values)).binaryData()));
    PreferenceStore empty;
    const auto manager = make(empty);
    EXPECT_FALSE(manager->loadData());
    EXPECT_EQ(shape(*manager), "A2 B1 ");
    EXPECT_EQ(manager->uuidString(), other->uuidString());
}

TEST_F(DataManagerTest, SavesFiveSecondsBehindTheLastChange) {
    const auto manager = loaded();
    time.advance(10);
    const auto before = store.dataForKey(PreferenceKey::Data);
    const auto version = manager->versionUUIDString();
    manager->notifyDataChanged(DataChange::SnippetChanged, {}, this);
    time.advance(1);
    const auto second = manager->versionUUIDString();
    EXPECT_NE(second, version);
    manager->notifyDataChanged(DataChange::SnippetChanged, {}, this);
    EXPECT_NE(manager->versionUUIDString(), second);
    EXPECT_EQ(manager->dateCreated(), time.now());
    time.advance(4.9);
    EXPECT_EQ(store.dataForKey(PreferenceKey::Data), before);
    time.advance(0.2);
    const auto saved = SnippetArchive::unarchive(*store.dataForKey(PreferenceKey::Data));
    EXPECT_EQ(saved->versionUUIDString, manager->versionUUIDString());
    manager->notifyDataChanged(DataChange::SnippetChanged, {}, this);
    manager->saveData();
    const auto atOnce = store.dataForKey(PreferenceKey::Data);
    EXPECT_EQ(SnippetArchive::unarchive(*atOnce)->versionUUIDString, manager->versionUUIDString());
}

TEST_F(DataManagerTest, MergesWithoutLosingAnything) {
    const auto manager = loaded();
    const fs::path file = folder / "saved.DRESK";
    manager->saveDataToFile(file);
    const auto version = manager->versionUUIDString();
    manager->mergeFile(file);
    EXPECT_EQ(shape(*manager), "A2 B1 Merge Conflict3 ");
    EXPECT_EQ(observer.types, (std::vector<std::int32_t>{DataChange::GroupsAdded}));
    EXPECT_NE(manager->versionUUIDString(), version);

    observer = {};
    SnippetArchive other;
    other.version = u"1";
    const auto known =
        SnippetGroup::initWithUUIDString(*manager->snippetGroups().groups[0]->UUIDString(), time);
    known->addItem(Snippet::initWithAbbreviation(String(u"new"), String(u"new"), time));
    other.groups = SnippetGroupArray{known, group(u"C", {u"c"})};
    ASSERT_FALSE(writeFile(folder / "other.dresk", other.archiveOneGroup().binaryData()));
    manager->mergeFile(folder / "other.dresk");
    EXPECT_EQ(shape(*manager), "A3 B1 Merge Conflict3 C1 ");
    EXPECT_EQ(observer.types,
              (std::vector<std::int32_t>{DataChange::SnippetAdded, DataChange::GroupsAdded}));
    EXPECT_EQ(manager->snippetGroups().groups[0]->items()[2]->parentGroup(),
              manager->snippetGroups().groups[0].get());

    observer = {};
    other.groups = SnippetGroupArray{};
    ASSERT_FALSE(writeFile(folder / "empty.dresk", other.archiveOneGroup().binaryData()));
    manager->mergeFile(folder / "empty.dresk");
    EXPECT_EQ(observer.types, (std::vector<std::int32_t>{DataChange::GroupsAdded}));
    EXPECT_EQ(observer.groupsAdded, 0U);
    manager->mergeFile(folder / "missing.dresk");
    EXPECT_EQ(observer.types.size(), 1U);
}

TEST_F(DataManagerTest, RestoresWithTheIdentityOfTheFile) {
    const auto manager = loaded();
    const fs::path all = folder / "all.dresk";
    manager->saveDataToFile(all);
    const auto version = manager->versionUUIDString();
    const auto identity = manager->uuidString();
    manager->addSnippetGroups({group(u"C", {})});
    observer = {};
    SnippetGroupList* list = &manager->snippetGroups();
    manager->restoreFromFile(all);
    EXPECT_EQ(shape(*manager), "A2 B1 ");
    EXPECT_EQ(list, &manager->snippetGroups());
    EXPECT_EQ(observer.types, (std::vector<std::int32_t>{5, 5, 5, 6}));
    EXPECT_EQ(manager->versionUUIDString(), version);
    EXPECT_EQ(manager->uuidString(), identity);

    const fs::path one = folder / "one.dresk";
    manager->saveGroup(list->groups[1], one);
    manager->restoreFromFile(one);
    EXPECT_EQ(shape(*manager), "B1 ");
    EXPECT_FALSE(manager->versionUUIDString().has_value());

    observer = {};
    ASSERT_FALSE(writeFile(folder / "bad.dresk", "damaged"));
    for (const char* name : {"bad.dresk", "missing.dresk"})
        manager->restoreFromFile(folder / name);
    EXPECT_EQ(shape(*manager), "B1 ");
    EXPECT_TRUE(observer.types.empty());
}

TEST_F(DataManagerTest, WritesRowsByTheExtension) {
    const auto manager = loaded();
    const auto& first = manager->snippetGroups().groups[0];
    first->setAbbreviationPrefix(u"#");
    first->items()[0]->setLabel(u"label");
    manager->saveDataToFile(folder / "all.CSV");
    using Row = DataFileFormats::Row;
    EXPECT_EQ(formats.written,
              (std::vector<Row>{{u"#a1", u"content"}, {u"#a2", u"content"}, {u"b", u"content"}}));
    manager->saveGroup(first, folder / "one.csv");
    EXPECT_EQ(formats.written, (std::vector<Row>{{u"#a1", u"content", u"label"},
                                                 {u"#a2", u"content", std::nullopt}}));
    manager->saveDataToFile(folder / "all.txt");
    manager->saveGroup(first, folder / "one.txt");
    EXPECT_EQ(folder.count(), 0U);
}

TEST_F(DataManagerTest, FindsTheNewestReadableDataWhenTheStoreIsDamaged) {
    const fs::path file = folder / "p.plist";
    const fs::path backups = folder / "backups";
    fs::create_directory(backups);
    const auto open = [&] {
        auto opened = std::make_unique<FilePreferenceStore>(file, &loop, time);
        opened->registerDefaults(registeredDefaults(fromUTF8(backups.string())));
        return opened;
    };
    {
        const auto opened = open();
        const auto manager = make(*opened);
        (void)manager->loadData();
        manager->restoreFromSnippetGroups({group(u"Old", {u"o"})});
        manager->saveData();
        (void)opened->synchronize();
        manager->saveDataToFile(backups / "Dresk Backup 2026-01-02 00-00-00.dresk");
        manager->restoreFromSnippetGroups({group(u"New", {u"n"})});
        manager->saveDataToFile(backups / "Dresk Auto Backup 2026-01-03 00-00-00.dresk");
        manager->saveData();
        ASSERT_FALSE(writeFile(backups / "Dresk Backup 2026-01-04 00-00-00.dresk", "damaged"));
    }
    const test::LogLines log;
    ASSERT_FALSE(writeFile(file, "damaged"));
    { // the generation before
        const auto opened = open();
        const auto manager = make(*opened);
        EXPECT_FALSE(manager->loadData());
        EXPECT_EQ(shape(*manager), "Old1 ");
        EXPECT_TRUE(manager->loadReport().isDamaged);
        // The store is whole, but what lies in it is not.
        opened->setObject(PropertyList(std::string("damaged")), PreferenceKey::Data);
        fs::remove(file.string() + ".previous");
    }
    { // the newest backup that can be read
        fs::remove(file.string() + ".previous");
        const auto opened = open();
        const auto manager = make(*opened);
        EXPECT_FALSE(manager->loadData());
        EXPECT_EQ(shape(*manager), "New1 ");
        const DataLoadReport& report = manager->loadReport();
        EXPECT_TRUE(report.isDamaged);
        EXPECT_EQ(report.loadedFrom, backups / "Dresk Auto Backup 2026-01-03 00-00-00.dresk");
        ASSERT_EQ(report.keptAside.size(), 1U);
        std::error_code error;
        EXPECT_EQ(readFile(report.keptAside[0], error), "damaged");
    }
}

TEST_F(DataManagerTest, KeepsACopyOfDataThatItCannotReadInFull) {
    KeyedArchiver archiver;
    KeyedArchiver::Object stranger(archiver, StrangerClass);
    const auto snippets = archiver.addArray(
        {SnippetCoding::encodeSnippetGroup(archiver, *group(u"A", {u"a"})), stranger.finish()},
        KeyedArchiver::Mutability::Mutable);
    const auto root =
        archiver.addDictionary({{archiver.addString(StringView(u"Snippets")), snippets}},
                               KeyedArchiver::Mutability::Mutable);
    const std::string bytes = archiver.finishEncoding(root).binaryData();
    FilePreferenceStore file(folder / "p.plist", nullptr, time);
    file.setObject(PropertyList(bytes), PreferenceKey::Data);
    const test::LogLines log;
    const auto manager = make(file);
    EXPECT_FALSE(manager->loadData());
    EXPECT_EQ(shape(*manager), "A1 ");
    ASSERT_EQ(manager->loadReport().keptAside.size(), 1U);
    std::error_code error;
    EXPECT_EQ(readFile(manager->loadReport().keptAside[0], error), bytes);
    const auto second = make(file);
    EXPECT_FALSE(second->loadData());
    EXPECT_FALSE(second->loadReport().isDamaged) << "told once";

    store.setObject(PropertyList(bytes), PreferenceKey::Data); // a store that keeps no files
    (void)make(store)->loadData();
    EXPECT_EQ(store.dataForKey(PreferenceKey::UnreadableData), bytes);
}

TEST_F(DataManagerTest, SavesWhileAnotherThreadMatches) {
    const auto manager = loaded();
    SnippetGroupList& list = manager->snippetGroups();
    std::atomic<bool> isDone{false};
    std::atomic<int> rounds{0};
    std::thread matching([&] {
        while (!isDone) {
            const std::shared_lock shared(list.lock);
            for (const auto& group : list.groups)
                for (const auto& item : group->items())
                    item->updateLastTimeUsed();
            ++rounds;
        }
    });
    while (rounds == 0)
        std::this_thread::yield();
    for (int i = 0; i < 50; ++i) {
        manager->addSnippetGroups({group(u"more", {u"x", u"y"})});
        {
            const std::unique_lock exclusive(list.lock);
            list.groups.back()->items()[0]->setLabel(String(u"changed"));
        }
        manager->notifyDataChanged(DataChange::SnippetChanged, {}, this);
        manager->saveData();
    }
    isDone = true;
    matching.join();
    const auto saved = SnippetArchive::unarchive(*store.dataForKey(PreferenceKey::Data));
    EXPECT_EQ(saved->groups->size(), 52U);
    EXPECT_EQ(saved->groups->back()->items()[0]->label(), u"changed");
}

/// Output of a program, or null if it is not on this machine.
std::optional<std::string> outputOf(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe))
        output.append(block.data(), count);
    const int status = pclose(pipe);
    if (status >> 8 == 127)
        return std::nullopt;
    return output + (status == 0 ? "" : "failed");
}

TEST_F(DataManagerTest, WritesArchivesThatOtherReadersUnderstand) {
    const auto manager = loaded();
    const auto& first = manager->snippetGroups().groups[0];
    first->setExpandTrigger(2);
    first->setDelimiters(CharacterSet::letterCharacterSet());
    first->items()[0]->setContentType(SnippetContentType::ShellScript);
    const fs::path file = folder / "check.dresk";
    manager->saveDataToFile(file);
    const auto read = outputOf("python3 " DRESK_ARCHIVE_CHECK " '" + file.string() + "' 2>&1");
    const auto xml = outputOf("plistutil -i '" + file.string() + "'");
    if (!read.has_value() || !xml.has_value())
        GTEST_SKIP() << "no other reader on this machine";
    EXPECT_EQ(*read, "Version Snippets DateInstalled UUID VersionUUID DateCreated\n"
                     "group A 2 True\nsnippet a1 3 content\nsnippet a2 0 content\n"
                     "group B 0 True\nsnippet b 0 content\n");
    EXPECT_NE(xml->find("<string>Merge Conflict"), 0U);
    // What the other program wrote of it is read again.
    const auto again = SnippetArchive::importData(*xml);
    ASSERT_TRUE(again.has_value());
    EXPECT_EQ(again->front()->items()[0]->contentType(), 3);
    EXPECT_EQ(again->front()->delimiters(), first->delimiters());
}

TEST(DefaultDataSource, TellsWhatIsWrong) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"text", "line 1: neither group, setting, snippet nor content"},
        {"[G]\nuuid = 1", "line 2: a group's identity stands before its snippets"},
        {"[G]\nexpandAfter = x", "line 2: a number is wanted"},
        {"[G]\n:: a", "line 2: a snippet needs an abbreviation, a bar and a label"},
        {"[G]\n:: a | A\n    x\n:: ab | B\n    y\n",
         "line 4: one of two abbreviations begins like the other"},
        {"[G]\n:: a | A\n\n", "line 4: the snippet before has no content"},
    };
    for (const auto& [source, expected] : cases) {
        std::string error;
        EXPECT_FALSE(readDefaultDataSource(source, systemClock(), error).has_value());
        EXPECT_EQ(error, expected);
    }
    std::string error;
    const auto groups = readDefaultDataSource("[G]\n:: a | A b\n    one\n\n    two\n\n# end\n",
                                              systemClock(), error);
    ASSERT_TRUE(groups.has_value()) << error;
    EXPECT_EQ(groups->front()->items()[0]->plainTextContent(), u"one\n\ntwo");
}

} // namespace
} // namespace dresk
