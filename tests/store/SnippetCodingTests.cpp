#include <array>
#include <functional>

#include <gtest/gtest.h>

#include "Foundation/CharacterSetCoding.h"
#include "Foundation/RTF.h"
#include "Foundation/TextAttributes.h"
#include "Foundation/VirtualRunLoop.h"
#include "store/SnippetArchive.h"
#include "store/SnippetCoding.h"

namespace dresk {
namespace {

constexpr std::array<StringView, 2> StrangerClass{u"Stranger", u"NSObject"};

constexpr std::array<StringView, 2> SnippetClass{u"Snippet", u"NSObject"};
constexpr std::array<StringView, 2> GroupClass{u"SnippetGroup", u"NSObject"};
using Object = KeyedArchiver::Object;

/// Makes an archive with one object of the class and opens it.
std::unique_ptr<KeyedUnarchiver>
archiveOf(ArchivedClass chain, const std::function<void(KeyedArchiver&, Object&)>& fill) {
    KeyedArchiver archiver;
    Object object(archiver, chain);
    fill(archiver, object);
    return KeyedUnarchiver::initForReadingWithData(
        archiver.finishEncoding(object.finish()).binaryData());
}

std::shared_ptr<Snippet> reread(const Snippet& snippet, const Clock& clock) {
    KeyedArchiver archiver;
    const auto uid = SnippetCoding::encodeSnippet(archiver, snippet);
    const auto unarchiver =
        KeyedUnarchiver::initForReadingWithData(archiver.finishEncoding(uid).binaryData());
    return SnippetCoding::decodeSnippet(unarchiver->root(), clock);
}

std::shared_ptr<SnippetGroup> reread(const SnippetGroup& group, const Clock& clock) {
    KeyedArchiver archiver;
    const auto uid = SnippetCoding::encodeSnippetGroup(archiver, group);
    const auto unarchiver =
        KeyedUnarchiver::initForReadingWithData(archiver.finishEncoding(uid).binaryData());
    return SnippetCoding::decodeSnippetGroup(unarchiver->root(), clock);
}

TEST(SnippetCoding, KeepsEveryField) {
    VirtualTime time({1000.5});
    Snippet snippet(time);
    time.advance(1);
    snippet.setAbbreviation(u"Sig");
    snippet.setAliases(std::vector<String>{u"a", u"B"});
    snippet.setLabel(u"label");
    snippet.setContentType(SnippetContentType::RichText);
    snippet.setCaseSensitivity(SnippetCaseSensitivity::IgnoreAndAdapt);
    auto attributes = std::make_shared<TextAttributes>();
    attributes->underlineStyle = 1;
    AttributedString content(u"rich ", attributes);
    content.appendAttributedString(AttributedString(u"plain"));
    snippet.setRichTextContent(content);
    snippet.setNote(u"note\nline");
    time.advance(1);
    snippet.updateLastTimeUsed();
    time.advance(100);

    const auto read = reread(snippet, time);
    EXPECT_EQ(read->uuid(), snippet.uuid());
    EXPECT_EQ(read->abbreviation(), u"Sig");
    EXPECT_EQ(read->abbreviationHash(), snippet.abbreviationHash());
    EXPECT_EQ(read->aliases(), snippet.aliases());
    EXPECT_EQ(read->aliasHashes(), snippet.aliasHashes());
    EXPECT_EQ(read->label(), u"label");
    EXPECT_EQ(read->contentType(), 1);
    EXPECT_EQ(read->caseSensitivity(), 2);
    EXPECT_EQ(read->richTextContent(), content);
    EXPECT_EQ(read->note(), u"note\nline");
    EXPECT_EQ(read->dateCreated(), Date{1000.5});
    EXPECT_EQ(read->dateModified(), Date{1001.5}) << "decoding moves no date";
    EXPECT_EQ(read->lastTimeUsed(), Date{1002.5});
    read->setLabel(u"changed");
    EXPECT_EQ(read->dateModified(), time.now());

    const auto empty = reread(Snippet(time), time);
    EXPECT_FALSE(empty->abbreviation().has_value() || empty->aliases().has_value() ||
                 empty->label().has_value() || empty->hasContent() || empty->note().has_value());
}

TEST(SnippetCoding, ReadsEarlierFormsOfASnippet) {
    const auto missing = archiveOf(SnippetClass, [](KeyedArchiver&, Object&) {});
    const auto bare = SnippetCoding::decodeSnippet(missing->root());
    EXPECT_TRUE(bare->uuid().has_value());
    EXPECT_FALSE(bare->dateCreated().has_value() || bare->dateModified().has_value() ||
                 bare->lastTimeUsed().has_value());
    EXPECT_EQ(bare->contentType(), 0);
    EXPECT_TRUE(missing->isLossless());

    auto bold = std::make_shared<TextAttributes>();
    bold->font = TextFont{u"Helvetica", 14, true};
    const AttributedString text(u"old content", bold);
    const auto old = archiveOf(SnippetClass, [&](KeyedArchiver& archiver, Object& object) {
        object.encodeObject(archiver.addString(StringView(u"no identity")), u"UUID");
        object.encodeObject(archiver.addStrings(std::vector<String>{}), u"Aliases");
        object.encodeObject(archiver.addBytes(RTFDFromAttributedString(text)), u"Content");
    });
    const auto snippet = SnippetCoding::decodeSnippet(old->root());
    EXPECT_FALSE(snippet->uuid().has_value());
    EXPECT_FALSE(snippet->aliases().has_value());
    EXPECT_EQ(snippet->contentType(), 0);
    EXPECT_EQ(snippet->richTextContent(), text) << "attributes stay although the type is plain";
    EXPECT_EQ(attributedStringWithRTFD(*snippet->contentData()), text);
    snippet->setContentType(1);
    snippet->setContentType(0);
    EXPECT_EQ(snippet->richTextContent(), AttributedString(text.string()));

    const auto broken = archiveOf(SnippetClass, [](KeyedArchiver& archiver, Object& object) {
        object.encodeObject(archiver.addString(StringView(u"ok")), u"Abbreviation");
        object.encodeObject(archiver.addBytes("no rich text"), u"Content");
        object.encodeObject(archiver.addInteger(5), u"Note");
    });
    const auto partial = SnippetCoding::decodeSnippet(broken->root());
    EXPECT_EQ(partial->abbreviation(), u"ok");
    EXPECT_FALSE(partial->hasContent());
    EXPECT_FALSE(broken->isLossless()) << "whoever saves this keeps a copy first";
}

TEST(SnippetCoding, KeepsEveryFieldOfAGroup) {
    VirtualTime time({5});
    SnippetGroup group(time);
    group.setName(u"name");
    group.setExpandAfter(3);
    group.setExpandAfterDelimiters(CharacterSet(u"ab"));
    group.setExpandTrigger(3); // no such trigger, kept all the same
    group.setDelimiters(CharacterSet(u".\r"));
    group.setCaseSensitivity(INT64_MIN);
    group.setShowInMenuBar(false);
    group.setShowInMenuBarAtFirstLevel(true);
    group.setSuggestAbbreviations(true);
    group.setAbbreviationPrefix(u"");
    group.availability().setAvailability(2);
    group.availability().setApplications(std::vector<String>{u"org.example"});
    group.availability().setInputMethodsOption(1);
    group.availability().setInputMethods(std::vector<String>{});
    group.setResetFormatting(true);
    group.addItem(Snippet::initWithAbbreviation(u"one", u"1", time));
    group.addItem(Snippet::initWithAbbreviation(u"two", u"2", time));
    time.advance(10);

    const auto read = reread(group, time);
    EXPECT_EQ(read->uuid(), group.uuid());
    EXPECT_EQ(read->dateCreated(), Date{5});
    EXPECT_EQ(read->name(), u"name");
    EXPECT_EQ(read->expandAfter(), 3);
    EXPECT_EQ(read->expandAfterDelimiters(), group.expandAfterDelimiters());
    EXPECT_EQ(read->expandTrigger(), 3);
    EXPECT_EQ(read->delimiters(), group.delimiters());
    EXPECT_EQ(read->caseSensitivity(), INT64_MIN);
    EXPECT_FALSE(read->showInMenuBar());
    EXPECT_TRUE(read->showInMenuBarAtFirstLevel());
    EXPECT_TRUE(read->suggestAbbreviations());
    EXPECT_EQ(read->abbreviationPrefix(), u"");
    EXPECT_EQ(read->availability().applications(), group.availability().applications());
    EXPECT_EQ(read->availability().inputMethods(), group.availability().inputMethods());
    EXPECT_TRUE(read->resetFormatting());
    ASSERT_EQ(read->items().size(), 2U);
    EXPECT_EQ(read->items()[1]->plainTextContent(), u"2");
    EXPECT_EQ(read->items()[1]->parentGroup(), read.get());

    // A list that its mode does not consult is not written; nor are the items, if so wished.
    group.availability().setAvailability(0);
    group.setExcludeItemsWhenEncoding(true);
    const auto bare = reread(group, time);
    EXPECT_FALSE(bare->availability().applications().has_value());
    EXPECT_TRUE(bare->availability().inputMethods().has_value());
    EXPECT_TRUE(bare->items().empty());
}

TEST(SnippetCoding, ReadsEarlierFormsOfAGroup) {
    const auto archive = archiveOf(GroupClass, [](KeyedArchiver& archiver, Object& object) {
        object.encodeObject(encodeCharacterSet(archiver, CharacterSet(u".\n")), u"Delimiters");
        object.encodeObject(encodeCharacterSet(archiver, CharacterSet(u".,")),
                            u"ExpandAfterDelimiters");
        object.encodeInteger((std::int64_t{1} << 32) + 2, u"ExpandAfter");
    });
    const auto group = SnippetCoding::decodeSnippetGroup(archive->root());
    EXPECT_TRUE(group->uuid().has_value());
    EXPECT_EQ(group->delimiters(), CharacterSet(u".\r"));
    EXPECT_EQ(group->expandAfterDelimiters(), CharacterSet(u".,"));
    EXPECT_EQ(group->expandAfter(), 2) << "cut to 32 bits";
    EXPECT_TRUE(group->showInMenuBar());
    EXPECT_FALSE(group->showInMenuBarAtFirstLevel());
    EXPECT_FALSE(group->suggestAbbreviations()) << "the one key whose absence is no default";
    EXPECT_TRUE(group->items().empty());
    EXPECT_TRUE(archive->isLossless());

    const auto strange = archiveOf(GroupClass, [](KeyedArchiver& archiver, Object& object) {
        Object unknown(archiver, StrangerClass);
        Object snippet(archiver, SnippetClass);
        object.encodeObject(archiver.addArray({unknown.finish(), {}, snippet.finish()},
                                              KeyedArchiver::Mutability::Mutable),
                            u"Items");
    });
    EXPECT_EQ(SnippetCoding::decodeSnippetGroup(strange->root())->items().size(), 1U);
    EXPECT_FALSE(strange->isLossless());
}

TEST(SnippetArchive, ReadsEachKindOfRootAndRefusesOthers) {
    SnippetArchive archive;
    archive.version = u"7";
    archive.groups = SnippetGroupArray{std::make_shared<SnippetGroup>()};
    archive.dateInstalled = Date{3};
    archive.uuidString = u"U";
    archive.dateCreated = Date{4}; // behind an absent value: not written
    const auto all = SnippetArchive::unarchive(archive.archiveAllData().binaryData());
    ASSERT_TRUE(all.has_value());
    EXPECT_EQ(all->version, u"7");
    EXPECT_EQ(all->groups->size(), 1U);
    EXPECT_EQ(all->dateInstalled, Date{3});
    EXPECT_EQ(all->uuidString, u"U");
    EXPECT_FALSE(all->versionUUIDString.has_value() || all->dateCreated.has_value());
    const auto one = SnippetArchive::unarchive(archive.archiveOneGroup().binaryData());
    EXPECT_EQ(one->groups->size(), 1U);
    EXPECT_FALSE(one->uuidString.has_value());

    KeyedArchiver single;
    const auto uid = SnippetCoding::encodeSnippet(single, Snippet());
    const std::string snippet = single.finishEncoding(uid).binaryData();
    EXPECT_FALSE(SnippetArchive::unarchive(snippet).has_value());
    const auto imported = SnippetArchive::importData(snippet);
    ASSERT_TRUE(imported.has_value());
    EXPECT_EQ(imported->front()->items().size(), 1U);
    EXPECT_FALSE(imported->front()->name().has_value());
    KeyedArchiver text;
    const auto root = text.addString(StringView(u"text"));
    EXPECT_FALSE(SnippetArchive::importData(text.finishEncoding(root).binaryData()).has_value());
    EXPECT_FALSE(SnippetArchive::importData("damaged").has_value());
}

} // namespace
} // namespace dresk
