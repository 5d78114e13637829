#include <random>

#include <gtest/gtest.h>

#include "Foundation/Unicode.h"
#include "store/SnippetGroup.h"

namespace dresk {
namespace {

TEST(SuffixHashes, EqualTheHashOfEachLowercasedEnding) {
    // Letters with context, expansion or a second unit when lower-cased, among ordinary ones.
    const std::vector<String> pieces = {u"a",
                                        u"Z",
                                        u"0",
                                        u"\u03A3",
                                        u"\u03C2",
                                        u"\u0130",
                                        u"\u0307",
                                        u"é",
                                        u"Ö",
                                        u"\u2126",
                                        u"ẞ",
                                        u"\U00010400",
                                        u"\U0001F600",
                                        String(1, 0xD801),
                                        String(1, 0xDC00),
                                        u" "};
    std::mt19937 random(7);
    SuffixHashes hashes;
    for (int round = 0; round < 2000; ++round) {
        String letters;
        const bool ordinary = round % 3 == 0;
        for (std::size_t n = random() % 12; letters.size() <= n;)
            letters += pieces[random() % (ordinary ? 3 : pieces.size())];
        hashes.reset(letters);
        for (std::size_t n = 0; n < 2 * letters.size(); ++n) {
            const std::size_t length = 1 + random() % letters.size();
            ASSERT_EQ(hashes.hashOfLength(length),
                      hashOfLowercaseString(letters.substr(letters.size() - length)))
                << toUTF8(letters) << " " << length;
        }
    }
}

std::string found(const SnippetGroup& group, StringView letters) {
    SuffixHashes hashes;
    hashes.reset(letters);
    std::vector<AbbreviationIndex::Hit> hits;
    group.abbreviationIndex().find(hashes, hits);
    std::string text;
    for (const auto& hit : hits)
        text += std::to_string(hit.item) + "." + std::to_string(hit.text) + " ";
    return text;
}

TEST(AbbreviationIndex, FollowsEveryChangeOfTheGroup) {
    SnippetGroup group;
    EXPECT_EQ(found(group, u"sig"), "");
    const auto first = Snippet::initWithAbbreviation(u"sig", u"");
    const auto second = Snippet::initWithAbbreviation(u"ig", u"");
    group.addItem(first);
    EXPECT_EQ(found(group, u"my SIG"), "0.0 ");
    group.addItems({second, first});
    EXPECT_EQ(found(group, u"sig"), "0.0 1.0 2.0 ");
    second->setAliases(std::vector<String>{u"x", u"sig", u"g"});
    EXPECT_EQ(found(group, u"sig"), "0.0 1.0 1.2 1.3 2.0 ");
    first->setAbbreviation(u"other");
    EXPECT_EQ(found(group, u"sig"), "1.0 1.2 1.3 ");
    group.removeItem(*second);
    EXPECT_EQ(found(group, u"sig"), "");
    EXPECT_EQ(found(group, u"another"), "0.0 1.0 ");
    group.setItems({second});
    second->setAbbreviation(std::nullopt);
    second->setAliasesString(u"\n\nab\n");
    EXPECT_EQ(found(group, u"ab"), "0.1 ");
    EXPECT_EQ(found(group, u"b"), "");
}

TEST(AbbreviationIndex, SnippetsOutliveTheirGroup) {
    const auto snippet = Snippet::initWithAbbreviation(u"a", u"");
    {
        SnippetGroup group;
        group.addItem(snippet);
        EXPECT_EQ(snippet->parentGroup(), &group);
    }
    EXPECT_EQ(snippet->parentGroup(), nullptr);
    snippet->setAbbreviation(u"b");
    EXPECT_EQ(snippet->abbreviationWithPrefix(), u"b");
}

} // namespace
} // namespace dresk
