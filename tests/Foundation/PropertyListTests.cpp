#include <bit>
#include <cmath>

#include <gtest/gtest.h>

#include "Foundation/PropertyList.h"

namespace dresk {
namespace {

PropertyList roundTrip(const PropertyList& value) {
    const auto read = PropertyList::propertyListWithData(value.binaryData());
    return read.value_or(PropertyList(String(u"unreadable")));
}

/// A binary file from its objects and the offsets where they begin.
std::string file(const std::string& objects, const std::vector<unsigned>& offsets) {
    std::string bytes = "bplist00" + objects;
    const std::size_t table = bytes.size();
    for (const unsigned offset : offsets)
        bytes.push_back(static_cast<char>(offset + 8));
    bytes.append(6, '\0');
    bytes += {1, 1};
    for (const std::size_t number : {offsets.size(), std::size_t{0}, table})
        for (int shift = 56; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<char>(number >> shift));
    return bytes;
}

TEST(PropertyList, KeepsEveryKindOfValueInTheBinaryForm) {
    const std::vector<std::pair<const char*, PropertyList>> cases = {
        {"false", PropertyList(false)},
        {"zero", PropertyList(0)},
        {"one byte", PropertyList(255)},
        {"two bytes", PropertyList(256)},
        {"four bytes", PropertyList(4294967295)},
        {"largest", PropertyList(INT64_MAX)},
        {"smallest", PropertyList(INT64_MIN)},
        {"minus one", PropertyList(-1)},
        {"real", PropertyList(0.1)},
        {"date before 1583", PropertyList(Date{-13197600000.25})},
        {"reference", PropertyList(PropertyList::UID{70000})},
        {"empty text", PropertyList(String())},
        {"zero unit", PropertyList(String(u"a\0b", 3))},
        {"lone surrogates", PropertyList(String{u'x', 0xD83D, u'y', 0xDC00})},
        {"beyond the basic plane", PropertyList(String(u"😀"))},
        {"long text", PropertyList(String(70000, u'é'))},
        {"bytes", PropertyList(std::string("\0\xFF", 2))},
        {"array", PropertyList(PropertyList::Array(300, PropertyList(7)))},
        {"empty dictionary", PropertyList(PropertyList::Dictionary())},
    };
    PropertyList::Array all;
    for (const auto& [name, value] : cases) {
        EXPECT_EQ(roundTrip(value), value) << name;
        all.push_back(value);
    }
    const PropertyList together{std::move(all)};
    EXPECT_EQ(roundTrip(together), together);
    EXPECT_FALSE(roundTrip(PropertyList(true)) == PropertyList(1)) << "kinds stay apart";
}

TEST(PropertyList, ReadsSixteenByteIntegersAndSingleReals) {
    const auto wide = PropertyList::propertyListWithData(
        file(std::string("\x14\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\2", 17), {0}));
    ASSERT_TRUE(wide.has_value());
    EXPECT_EQ(wide->integer(), 258);
    const auto single =
        PropertyList::propertyListWithData(file(std::string("\x22\x3F\0\0\0", 5), {0}));
    ASSERT_TRUE(single.has_value());
    EXPECT_EQ(single->real(), 0.5);
}

TEST(PropertyList, RefusesDamagedBinaryFiles) {
    std::string bomb;
    std::vector<unsigned> offsets;
    for (char level = 1; level <= 12; ++level) { // each array holds the next one eight times
        offsets.push_back(static_cast<unsigned>(bomb.size()));
        bomb += '\xA8' + std::string(8, level);
    }
    offsets.push_back(static_cast<unsigned>(bomb.size()));
    bomb += '\x09';
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"empty", ""},
        {"header alone", "bplist00"},
        {"array that holds itself", file("\xA1" + std::string(1, '\0'), {0})},
        {"two that hold each other", file(std::string("\xA1\1\xA1\0", 4), {0, 2})},
        {"reference beyond the table", file("\xA1\x05", {0})},
        {"offset beyond the file", file("\x09", {200})},
        {"text longer than the file", file("\x5F\x12\xFF\xFF\xFF\xFF", {0})},
        {"array longer than the file", file("\xAF\x12\x7F\xFF\xFF\xFF", {0})},
        {"key that is no text", file(std::string("\xD1\1\1\x09", 4), {0, 3})},
        {"unfolds to billions", file(bomb, offsets)},
        {"text", "hello"},
        {"zero in XML", "<plist><string>a&#x00;b</string></plist>"},
        {"zero byte in XML", std::string("<plist><string>a\0</string></plist>", 34)},
        {"broken XML", "<plist><dict><key>a</key>"},
    };
    for (const auto& [name, bytes] : cases)
        EXPECT_FALSE(PropertyList::propertyListWithData(bytes).has_value()) << name;
    // Every cut of a good file is refused.
    const std::string good =
        PropertyList(PropertyList::Array{PropertyList(String(u"text")), PropertyList(12345)})
            .binaryData();
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_FALSE(PropertyList::propertyListWithData(good.substr(0, length)).has_value())
            << length;
}

TEST(PropertyList, ReadsTheXMLForm) {
    const auto read = PropertyList::propertyListWithData(
        "<?xml version=\"1.0\"?>\n<plist version=\"1.0\"><dict><key>a &amp; b</key><integer>-5"
        "</integer><key>d</key><date>2001-01-02T00:00:00Z</date><key>r</key><dict><key>CF$UID"
        "</key><integer>7</integer></dict><key>b</key><data>AAH/</data><key>l</key><array><true/>"
        "<real>0.5</real><string>\xC3\xA9</string></array></dict></plist>");
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->find(u"a & b")->integer(), -5);
    EXPECT_EQ(read->find(u"d")->date(), Date{86400});
    EXPECT_EQ(read->find(u"r")->uid(), PropertyList::UID{7});
    EXPECT_EQ(*read->find(u"b")->bytes(), std::string("\0\1\xFF", 3));
    EXPECT_EQ(*read->find(u"l"),
              PropertyList(PropertyList::Array{PropertyList(true), PropertyList(0.5),
                                               PropertyList(String(u"é"))}));
    std::string deep = "<plist>";
    for (int i = 0; i < 100000; ++i)
        deep += "<array>";
    EXPECT_FALSE(PropertyList::propertyListWithData(deep).has_value());
}

} // namespace
} // namespace dresk
