#include <array>

#include <gtest/gtest.h>

#include "Foundation/AttributedStringCoding.h"
#include "Foundation/CharacterSetCoding.h"
#include "support/Describe.h"
#include "support/Fixtures.h"

namespace dresk {
namespace {

using test::describe;
using test::fixture;

std::unique_ptr<KeyedUnarchiver> reopened(KeyedArchiver& archiver, KeyedArchiver::UID root) {
    return KeyedUnarchiver::initForReadingWithData(archiver.finishEncoding(root).binaryData());
}

AttributedString roundTrip(const AttributedString& text) {
    KeyedArchiver archiver;
    const auto unarchiver = reopened(archiver, encodeAttributedString(archiver, text));
    return decodeAttributedString(unarchiver->root()).value_or(AttributedString(u"unreadable"));
}

CharacterSet roundTrip(const CharacterSet& set) {
    KeyedArchiver archiver;
    const auto unarchiver = reopened(archiver, encodeCharacterSet(archiver, set));
    return decodeCharacterSet(unarchiver->root()).value_or(CharacterSet());
}

TEST(KeyedArchive, ReadsWhatThePlatformWrote) {
    DRESK_SKIP_WITHOUT_FIXTURES();
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"apple_NSSet-Numbers.archive", "[3, 2, 5, 1, 4]"},
        {"apple_NSOrderedSet-Numbers.archive", "[1, 2, 3, 4, 5]"},
        {"apple_ComplexTest.plist",
         R"({"array": [NSNull, "hello", 34545, {"key": "val"}], "string": "hello", "url": NSURL, "uuid": NSUUID})"},
        {"apple_URLTest.plist", "NSURL"},
        {"apple_NotificationTest.plist", "NSNotification"},
        {"apple_DateIntervalFormatter-ValuesSetWithTemplate.archive", "NSDateIntervalFormatter"},
        {"mw_note.plist", "Note"},
        {"mw_simpleArray.plist", R"(["value1", "value2", ["innerValue3", "innerValue4"]])"},
        {"mw_nsData.plist", "<10 bytes>"},
        {"mw_NSAffineTransform.plist", "NSAffineTransform"},
        {"k_collections.bin.plist", "TestDummy"},
        {"k_emptyObject.bin.plist", "TestDummy"},
        {"k_nested.bin.plist",
         R"({"level": 0, "levelPath": ["zero"], "levelZeroData": {"level": 1, "levelOneData": {"level": 2, "levelPath": ["zero", "one", "two"], "sampleUrl": NSURL}, "levelPath": ["zero", "one"]}})"},
        {"k_reference.bin.plist", R"({"copyOne": NSURL, "copyTwo": NSURL})"},
        {"k_reference.xml.plist", R"({"copyOne": NSURL, "copyTwo": NSURL})"},
        {"k_date.xml.plist", "@1210536312"},
    };
    for (const auto& [name, expected] : cases) {
        const auto unarchiver =
            KeyedUnarchiver::initForReadingWithData(fixture(std::string("keyed/") + name));
        ASSERT_NE(unarchiver, nullptr) << name;
        EXPECT_EQ(describe(unarchiver->root()), expected) << name;
    }
    for (const char* name :
         {"broken_invalidObjectDeclarationContainer.bin.plist", "broken_missingRoot.bin.plist",
          "broken_objectWithNonArrayClassChain.bin.plist"}) {
        const auto unarchiver =
            KeyedUnarchiver::initForReadingWithData(fixture(std::string("keyed/") + name));
        EXPECT_TRUE(unarchiver == nullptr || unarchiver->root().isNull()) << name;
    }
}

TEST(KeyedArchive, ReadsMembersOfObjectsAndKeepsObjectsNobodyKnows) {
    DRESK_SKIP_WITHOUT_FIXTURES();
    const auto source = KeyedUnarchiver::initForReadingWithData(
        fixture("keyed/apple_DateIntervalFormatter-ValuesSetWithTemplate.archive"));
    const ArchivedObject root = source->root();
    EXPECT_EQ(root.object(u"NS.dateTemplate").string(), u"dd mm yyyy HH:MM");
    EXPECT_EQ(root.integer(u"NS.timeStyle"), 1);
    EXPECT_TRUE(root.boolean(u"NS.modified"));
    EXPECT_EQ(root.integer(u"missing"), 0);
    EXPECT_EQ(describe(root.object(u"NS.calendar").object(u"NS.gstartdate")), "@-13197600000");

    const ArchivedValue kept = root.archived();
    KeyedArchiver archiver;
    (void)archiver.addString(StringView(u"moves all numbers"));
    const auto copy = reopened(archiver, archiver.addArchived(kept));
    EXPECT_EQ(describe(copy->root().object(u"NS.calendar").object(u"NS.gstartdate")),
              "@-13197600000");
    EXPECT_EQ(copy->root().archived(), kept);
    KeyedArchiver changed;
    const auto other = reopened(
        changed, changed.addArchived(kept, {{StringView(u"NS.timeStyle"), PropertyList(2)}}));
    EXPECT_EQ(other->root().integer(u"NS.timeStyle"), 2);
    EXPECT_FALSE(other->root().archived() == kept);
}

TEST(KeyedArchive, EndsCyclesAndBoundsWhatIsShared) {
    // An array that holds itself, and a million names of one long text.
    constexpr std::array<StringView, 2> Class{u"NSArray", u"NSObject"};
    KeyedArchiver archiver;
    KeyedArchiver::Object array(archiver, Class);
    const KeyedArchiver::UID text = archiver.addString(StringView(String(1 << 20, u'x')));
    PropertyList::Array elements(1'000, PropertyList(text));
    elements.emplace_back(PropertyList::UID{1});
    array.encodeValue(PropertyList(std::move(elements)), u"NS.objects");
    const auto unarchiver = reopened(archiver, array.finish());
    const ArchivedObject root = unarchiver->root();
    const ArchivedValue kept = root.archived();
    EXPECT_EQ(kept, root.archived());
    int calls = 0;
    (void)unarchiver->once<int>(root, [&] {
        ++calls;
        EXPECT_EQ(unarchiver->once<int>(root, [&] { return std::make_shared<int>(++calls); }),
                  nullptr);
        return std::make_shared<int>(7);
    });
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(unarchiver->isLossless());
    EXPECT_LT(root.strings()->size(), 200U);
    EXPECT_FALSE(unarchiver->isLossless());
}

TEST(KeyedArchive, ReadsRunsOfThePlatformsAttributedText) {
    DRESK_SKIP_WITHOUT_FIXTURES();
    const auto unarchiver =
        KeyedUnarchiver::initForReadingWithData(fixture("keyed/apple_NSAttributedString.archive"));
    const auto text = decodeAttributedString(unarchiver->root());
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(text->string(), u"0123456789");
    std::string runs;
    for (const auto& run : text->runs()) {
        const std::size_t unknown = run.attributes != nullptr ? run.attributes->others.size() : 0;
        runs += std::to_string(run.length) + ":" + std::to_string(unknown) + " ";
    }
    EXPECT_EQ(runs, "1:0 1:2 4:2 2:2 1:2 1:0 ");
    EXPECT_EQ(roundTrip(*text), *text) << "attributes nobody knows survive";
    EXPECT_FALSE(*text == AttributedString(text->string()));
}

TEST(KeyedArchive, KeepsEveryAttribute) {
    const auto attributes = [](auto change) {
        auto result = std::make_shared<TextAttributes>();
        change(*result);
        return result;
    };
    auto picture = std::make_shared<TextAttachment>();
    picture->preferredFilename = u"smile 😀.png";
    picture->contents = std::string("\x89PNG\0", 5);
    const std::vector<AttributedString::Attributes> cases = {
        nullptr,
        attributes([](TextAttributes& a) {
            a.font = TextFont{u"Times-BoldItalic", 13.5, true, true};
        }),
        attributes([](TextAttributes& a) {
            a.foregroundColor = TextColor{0.1, 0.2, 0.3};
        }),
        attributes([](TextAttributes& a) {
            a.backgroundColor = TextColor{1, 1, 0, 0.25};
        }),
        attributes([](TextAttributes& a) { a.alignment = TextAlignment::Left; }),
        attributes([](TextAttributes& a) { a.alignment = TextAlignment::Justified; }),
        attributes([](TextAttributes& a) { a.underlineStyle = 9; }),
        attributes([](TextAttributes& a) { a.link = u"https://example.com/é"; }),
        attributes([](TextAttributes& a) { a.toolTip = u"tip"; }),
        attributes([&](TextAttributes& a) { a.attachment = picture; }),
    };
    AttributedString text;
    for (const auto& attribute : cases)
        text.appendAttributedString(AttributedString(u"x\uFFFC", attribute));
    const AttributedString read = roundTrip(text);
    ASSERT_EQ(read.runs().size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& got = read.runs()[i].attributes;
        if (cases[i] == nullptr) {
            EXPECT_EQ(got, nullptr);
            continue;
        }
        // What was read remembers its archived form; the meaning must be the same without it.
        TextAttributes plain = *got;
        for (auto* color : {&plain.foregroundColor, &plain.backgroundColor})
            if (color->has_value())
                (*color)->archived = {};
        if (plain.font.has_value())
            plain.font->archived = {};
        plain.paragraphStyle = {};
        if (plain.attachment != nullptr) {
            EXPECT_EQ(plain.attachment->preferredFilename, picture->preferredFilename);
            EXPECT_EQ(plain.attachment->contents, picture->contents);
            plain.attachment = picture;
        }
        EXPECT_TRUE(plain == *cases[i]) << i;
    }
    EXPECT_EQ(roundTrip(read), read);
    EXPECT_EQ(roundTrip(AttributedString()), AttributedString());
    auto bold = attributes([](TextAttributes& a) { a.font = TextFont{u"Arial", 12, true, false}; });
    EXPECT_EQ(roundTrip(AttributedString(u"b", bold)).runs()[0].attributes->font->name,
              u"Arial-Bold");
}

TEST(KeyedArchive, ReadsEachKindOfColourAndWritesItBackUnlessChanged) {
    constexpr std::array<StringView, 2> Class{u"NSColor", u"NSObject"};
    const auto read = [&](auto fill) {
        KeyedArchiver archiver;
        KeyedArchiver::Object color(archiver, Class);
        fill(archiver, color);
        const auto uid =
            archiver.addDictionary({{archiver.addString(StringView(u"NSColor")), color.finish()}},
                                   KeyedArchiver::Mutability::Immutable);
        return decodeTextAttributes(reopened(archiver, uid)->root());
    };
    auto grey = read([](KeyedArchiver&, KeyedArchiver::Object& color) {
        color.encodeInteger(3, u"NSColorSpace");
        color.encodeValue(PropertyList(std::string("0.5 0.25\0", 9)), u"NSWhite");
        color.encodeInteger(9, u"Unknown");
    });
    EXPECT_EQ(grey->foregroundColor->green, 0.5);
    EXPECT_EQ(grey->foregroundColor->alpha, 0.25);
    const auto rgb = read([](KeyedArchiver&, KeyedArchiver::Object& color) {
        color.encodeInteger(1, u"NSColorSpace");
        color.encodeValue(PropertyList(std::string("1 0.5 0")), u"NSRGB");
    });
    EXPECT_EQ(rgb->foregroundColor->green, 0.5);
    EXPECT_EQ(rgb->foregroundColor->alpha, 1);
    const auto named = read([](KeyedArchiver& archiver, KeyedArchiver::Object& color) {
        color.encodeInteger(6, u"NSColorSpace");
        color.encodeObject(archiver.addString(StringView(u"textColor")), u"NSColorName");
    });
    EXPECT_TRUE(named->foregroundColor.has_value());
    for (const auto& attributes : {grey, rgb, named}) {
        const AttributedString text(u"x", attributes);
        EXPECT_EQ(roundTrip(text), text);
    }
    grey->foregroundColor->red = 1;
    const auto changed = roundTrip(AttributedString(u"x", grey)).runs()[0].attributes;
    EXPECT_EQ(changed->foregroundColor->red, 1);
    EXPECT_EQ(changed->foregroundColor->green, 0.5);
}

TEST(KeyedArchive, KeepsCharacterSets) {
    CharacterSet beyond(u"ab");
    beyond.addCodePoint(0x1F600);
    beyond.addCodePoint(0x10FFFF);
    CharacterSet many = CharacterSet::letterCharacterSet();
    many.addCodePoint(0x1F600);
    const CharacterSet surrogates(String{0xD83D, 0xDE00});
    for (const CharacterSet& set : {CharacterSet(), CharacterSet(u" \t\r\u0003."), beyond, many,
                                    surrogates, beyond.inverted()})
        EXPECT_EQ(roundTrip(set), set) << set.count();
    EXPECT_TRUE(beyond.inverted().containsCodePoint(0x1F601));
    EXPECT_FALSE(beyond.inverted().containsCodePoint(0x1F600));
    EXPECT_EQ(beyond.inverted().inverted(), beyond);
}

TEST(KeyedArchive, ReadsEveryFormOfCharacterSet) {
    constexpr std::array<StringView, 3> Class{u"NSMutableCharacterSet", u"NSCharacterSet",
                                              u"NSObject"};
    const auto read = [&](auto fill) {
        KeyedArchiver archiver;
        KeyedArchiver::Object set(archiver, Class);
        fill(archiver, set);
        return decodeCharacterSet(reopened(archiver, set.finish())->root());
    };
    using Object = KeyedArchiver::Object;
    const CharacterSet abc(u"abc");
    std::string bitmap(8192, '\0');
    bitmap['a' >> 3] = 0x0E;
    const auto inLine = read([&](KeyedArchiver&, Object& o) {
        o.encodeValue(PropertyList(String(u"abc")), u"NSString");
    });
    EXPECT_EQ(inLine, abc);
    EXPECT_EQ(read([&](KeyedArchiver& archiver, Object& o) {
                  o.encodeObject(archiver.addString(StringView(u"abc")), u"NSStringObject");
              }),
              abc);
    EXPECT_EQ(read([&](KeyedArchiver& archiver, Object& o) {
                  o.encodeObject(archiver.addBytes(bitmap), u"NSBitmapObject");
                  o.encodeBool(true, u"NSIsInverted"); // has no meaning for a bitmap
              }),
              abc);
    EXPECT_EQ(read([&](KeyedArchiver&, Object& o) {
                  o.encodeInteger(std::int64_t{'a'} << 32 | 3, u"NSRange");
              }),
              abc);
    const auto letters = read([&](KeyedArchiver&, Object& o) {
        o.encodeInteger(4, u"NSBuiltinID");
        o.encodeBool(true, u"NSIsInverted");
    });
    ASSERT_TRUE(letters.has_value());
    EXPECT_FALSE(letters->contains(u'7'));
    EXPECT_TRUE(letters->contains(u'a'));
    const auto planes = read([&](KeyedArchiver&, Object& o) {
        o.encodeValue(PropertyList(bitmap + '\1' + std::string(8191, '\0') + '\x80'), u"NSBitmap");
    });
    EXPECT_TRUE(planes->containsCodePoint(0x1FFFF));
    EXPECT_FALSE(read([](KeyedArchiver&, Object&) {}).has_value());
}

} // namespace
} // namespace dresk
