#include <gtest/gtest.h>

#include "language/ParserFixture.h"

namespace dresk {
namespace {

TEST(SnippetExpandedContent, AnswersWhereTheCaretGoes) {
    struct Case {
        StringView content;
        /// Letters for what is true: C caret, K caret or keys, A caret or arrow keys, D delayed
        /// key, F caret or fields.
        const char* queries;
        std::uint64_t distance;
        std::uint64_t distanceIgnoringKeys;
        std::int64_t caretLocation;
        const char* copyString = nullptr;
    };
    const Case cases[] = {
        {u"abc", "", 0, 0, -1, "abc"},
        {u"abc【|】", "CKAF", 0, 0, 3, "abc"},
        {u"【|】ab【key:↩ code:36 count:3】c", "CKAF", 6, 3, 1, "ab c"},
        {u"【|】abc【key:x code:124】", "CKAF", 3, 3, 0, "abc"},
        {u"a【key:⇥ code:48】b【|】c【key:⌅ code:76】", "CKAF", 2, 1, 3, "a bc"},
        {u"【key:↩ code:36】ab", "K", 0, 0, 0, " ab"},
        {u"【|】a【|】b", "CKAF", 1, 1, 1},
        {u"a【key:x code:123 count:2】", "KA", 0, 0, -1},
        {u"a【key:x delay:0.5】", "KD", 0, 0, -1},
        {u"a【field】", "F", 0, 0, -1},
    };
    ParserFixture world;
    for (const Case& c : cases) {
        for (const bool isRich : {false, true}) {
            const auto snippet = world.add(u"x", c.content);
            if (isRich)
                snippet->setContentType(SnippetContentType::RichText);
            const auto content = world.parser.parseSnippet(*snippet, world.groups);
            std::string queries;
            queries += content->hasCaret() ? "C" : "";
            queries += content->hasCaretLocationOrKeys() ? "K" : "";
            queries += content->hasCaretLocationOrArrowKeys() ? "A" : "";
            queries += content->hasDelayedKey() ? "D" : "";
            queries += content->hasCaretOrFields() ? "F" : "";
            EXPECT_EQ(queries, c.queries) << toUTF8(c.content);
            EXPECT_EQ(content->caretDistanceFromEnding(), c.distance) << toUTF8(c.content);
            EXPECT_EQ(content->caretDistanceFromEndingIgnoreKeys(), c.distanceIgnoringKeys)
                << toUTF8(c.content);
            EXPECT_EQ(content->caretLocation(), c.caretLocation) << toUTF8(c.content);
            EXPECT_EQ(content->arrows(), content->keys());
            if (c.copyString != nullptr) {
                EXPECT_EQ(toUTF8(content->copyString()), c.copyString);
            }
        }
    }
}

TEST(SnippetExpandedContent, AppendsTheSuffixWithoutAttributes) {
    ParserFixture world;
    const auto content =
        world.parser.parseSnippet(*world.addRich(u"x", u"A:a【|】b;"), world.groups);
    content->applySuffix();
    content->setSuffix(u" ");
    EXPECT_EQ(toUTF8(describeSnippetExpandedContent(*content)), R"(rich "ab"A caret@1 suffix" ")");
    content->applySuffix();
    content->applySuffix();
    EXPECT_EQ(toUTF8(describeSnippetExpandedContent(*content)),
              R"(rich "ab"A"  "- caret@1 suffix" ")");
    EXPECT_EQ(content->caretDistanceFromEnding(), 3U);
}

} // namespace
} // namespace dresk
