#include <gtest/gtest.h>

#include "language/ParserFixture.h"

namespace dresk {
namespace {

struct Case {
    StringView content;
    const char* expected;
};

void check(ParserFixture& world, std::initializer_list<Case> cases) {
    for (const Case& c : cases)
        EXPECT_EQ(world.expand(c.content), c.expected) << toUTF8(c.content);
}

TEST(SnippetParser, ScansTokens) {
    ParserFixture world;
    check(world,
          {
              {u"", R"("")"},
              {u"plain\n", R"("plain\n")"},
              {u"ab【|】", R"("ab" caret@2)"},
              {u"【|】a【|】", R"("a" caret@0 caret@1)"},
              {u"【date:yyyy】【】x", R"("2026【】x")"},
              {u"【foo【date:yyyy】x", R"("【foo【date:yyyy】x")"},
              {u"【date:yyyy", R"("【date:yyyy")"},
              {u"】【【|】", R"("】【【|】")"},
              {u"【 date:yyyy】【Date:yyyy】【||】", R"("【 date:yyyy】【Date:yyyy】【||】")"},
              {u"a【field:n value:v】b【field】c",
               R"("abc" field@1{field:n value:v} field@2{field})"},
              {u"【fieldnotes】【field:】", R"("" field@0{field} field@0{field})"},
              {u"x【key:↩ code:36 count:2 delay:1.5】y【key:a】",
               R"("xy" key@1x2{key:↩ code:36 count:2 delay:1.5} key@2{key:a code:65535})"},
              // A bare arrow stands at its place among the four and presses nothing.
              {u"abcde【◀】【▲】f【▶】【▼】",
               R"("abcdef" key@0x0{key:(null) code:123} key@1x0{key:(null) code:126} )"
               R"(key@2x0{key:(null) code:124} key@3x0{key:(null) code:125})"},
              {u"【◀▲】", R"("【◀▲】")"},
              {u"【date:\"HH:mm\"】 【date:HH:mm】", R"("12:30 12")"},
              {u"【date:\"yyyy】\"】", R"(""】")"},
              {u"【clipboards】|【clipboard】", R"("|")"},
              {u"【date:】【date:nnn】【time:C】.", R"(".")"},
          });
    String lone = u"a【|】";
    lone.insert(1, 1, char16_t{0xD800});
    EXPECT_EQ(world.expand(lone), "\"a\uFFFD\" caret@2");

    EXPECT_EQ(world.expand(Snippet(world.clock)), "null");
}

TEST(SnippetParser, ExpandsReferences) {
    ParserFixture world;
    world.groups.push_back(std::make_shared<SnippetGroup>(world.clock));
    world.groups[1]->setAbbreviationPrefix(u";");
    const auto plain = world.add(u"p", u"plain");
    world.add(u"self", u"me【snippet:self】!");
    world.add(u"a", u"A[【snippet:b】]");
    world.add(u"b", u"B[【snippet:a】]");
    world.add(u"dated", u"[【date:yyyy】【|】]");
    world.add(u"half", u"【dat");
    world.add(u"p", u"prefixed", SnippetContentType::PlainText, 1);
    const auto inSecond = world.add(u"q", u"【snippet:r】", SnippetContentType::PlainText, 1);
    world.add(u"r", u"first group");
    world.add(u"r", u"second group", SnippetContentType::PlainText, 1);
    const String byIdentity =
        u"【snippet:gone uuid:" + *plain->UUIDString() + u"】【snippet:p uuid:bad】";
    check(world, {
                     {u"<【snippet:p】【snippet:p】>", R"("<plainplain>")"},
                     {u"【snippet:;p】", R"("prefixed")"},
                     {byIdentity, R"("plainplain")"},
                     {u"【snippet:self】|【snippet:self】", R"("me!|me!")"},
                     {u"【snippet:a】", R"("A[B[]]")"},
                     {u"x【snippet:dated】y【|】", R"("x[2026]y" caret@6 caret@8)"},
                     // Text is scanned as it comes to stand, so a token may begin in one snippet
                     // and end in another.
                     {u"【snippet:half】e:yyyy】", R"("2026")"},
                     // A reference that leads nowhere abandons the expansion.
                     {u"a【snippet:nowhere】b", "null"},
                     {u"a【x【snippet:nowhere】b", "null"},
                 });
    EXPECT_EQ(world.expand(*inSecond), R"("first group")");
    // With the prefix check the first lookup fails, and the group of the snippet comes
    // next.
    world.groups[0]->setAbbreviationPrefix(u":");
    EXPECT_EQ(world.expand(*inSecond), R"("second group")");
    world.groups[0]->setAbbreviationPrefix(std::nullopt);
    check(world, {
                     {u"【snippet:p optional】【snippet:p optional:1】.",
                      R"("." field@0{field value:plain optional:0} )"
                      R"(field@0{field value:plain optional:1})"},
                     {u"【snippet:dated optional】", R"("[2026]" caret@5)"},
                 });
}

TEST(SnippetParser, LooksUpForTheOuterSnippetWhereTheGuardDidForTheInner) {
    ParserFixture world;
    world.groups.push_back(std::make_shared<SnippetGroup>(world.clock));
    world.add(u"inner", u"【snippet:leaf】", SnippetContentType::PlainText, 1);
    world.add(u"leaf", u"own leaf", SnippetContentType::PlainText, 1);
    world.add(u"half", u"【snip");
    world.groups[1]->setAbbreviationPrefix(u";");
    world.add(u"leaf", u"other leaf");
    // The prefix keeps the first lookup from the inner snippet's neighbour.
    world.groups[0]->setAbbreviationPrefix(u":");
    EXPECT_EQ(world.expand(u"<【snippet:;inner】>"), R"("<other leaf>")");
    // The guard cannot see this token; what the scan cannot find goes away.
    EXPECT_EQ(world.expand(u"<【snippet:half】pet:nowhere】>"), R"("<>")");
    EXPECT_EQ(world.expand(u"<【snippet:half】pet:;leaf】>"), R"("<>")");
}

TEST(SnippetParser, KeepsAttributesInRichText) {
    ParserFixture world;
    world.pasteboard->setString(u"CLIP");
    world.addRich(u"rich", u"R:bold;S:slim;");
    world.add(u"plain", u"p【date:yyyy】");
    const std::pair<StringView, const char*> cases[] = {
        {u"A:x;B:【date:yyyy】;A:y;", R"(rich "x"A"2026"B"y"A)"},
        {u"A:a【snippet:rich】b;", R"(rich "a"A"bold"B"slim"C"b"A)"},
        {u"A:a;B:【snippet:plain】;", R"(rich "a"A"p2026"B)"},
        {u"A:a;B:【clipboard】;", R"(rich "a"A"CLIP"B)"},
        {u"A:a;B:【|】;A:b;", R"(rich "ab"A caret@1)"},
        {u"A:【snippet:rich optional】.;",
         R"(rich "."A field@0{field value:boldslim optional:0}rich "bold"A"slim"B)"},
        {u"A:【;B:date:yyyy】;", R"(rich "2026"A)"},
    };
    for (const auto& [runs, expected] : cases)
        EXPECT_EQ(world.expand(*world.addRich(u"x", runs)), expected) << toUTF8(runs);
    // A plain parent takes the text of a rich child.
    EXPECT_EQ(world.expand(u"【snippet:rich】【snippet:rich optional】"),
              R"("boldslim" field@8{field value:boldslim optional:0})");
}

TEST(SnippetParser, KeepsScriptSourcesInTheTextUntilTheyAreSplitOff) {
    ParserFixture world;
    world.pasteboard->setString(u"clip");
    world.add(u"inner", u"date 【clipboard】", SnippetContentType::ShellScript);
    world.add(u"outer", u"echo 【snippet:inner】 【field:f】;【snippet:inner】",
              SnippetContentType::AppleScript);
    const auto expanded = world.parser.parseSnippet(
        *world.add(u"x", u"a【snippet:outer】b【|】【snippet:inner】c"), world.groups);
    ASSERT_NE(expanded, nullptr);
    const auto describe = [&] { return toUTF8(describeSnippetExpandedContent(*expanded)); };
    EXPECT_EQ(describe(), R"("aecho date clip ;date clipbdate clipc" )"
                          R"(script@1+25{snippet:outer} script@6+9{snippet:inner} )"
                          R"(field@16{field:f} script@17+9{snippet:inner} caret@27 )"
                          R"(script@27+9{snippet:inner})");
    expanded->fields()[0]->setValue(u"XYZ");
    world.parser.mergeFields(*expanded);
    EXPECT_EQ(describe(), R"("aecho date clip XYZ;date clipbdate clipc" )"
                          R"(script@1+28{snippet:outer} script@6+9{snippet:inner} )"
                          R"(field@16{field:f value:XYZ} script@20+9{snippet:inner} caret@30 )"
                          R"(script@30+9{snippet:inner})");
    world.parser.processScripts(*expanded);
    EXPECT_EQ(describe(), R"("abc" field@16{field:f value:XYZ} caret@30 scripts[)"
                          R"(@1 apple "echo  XYZ;" [@5 "date clip" @10 "date clip"] )"
                          R"(@2 "date clip"])");
}

TEST(SnippetParser, ReadsTheFlagsOfAScriptForTheNextReference) {
    ParserFixture world;
    // The guard meets the loop inside the script; the scan, which leaves the script alone,
    // reads that flag for the second reference.
    const auto root = world.add(u"root", u"【snippet:script】【snippet:script】");
    world.add(u"script", u"s【snippet:root】", SnippetContentType::ShellScript);
    EXPECT_EQ(world.expand(*root), R"("s" script@0+1{snippet:script})");
}

TEST(SnippetParser, MergesFields) {
    ParserFixture world;
    world.addRich(u"rich", u"R:bold;");
    const auto merge = [&](const Snippet& snippet, std::vector<const char16_t*> answers) {
        const auto expanded = world.parser.parseSnippet(snippet, world.groups);
        for (std::size_t i = 0; i < answers.size(); ++i)
            if (answers[i] != nullptr)
                expanded->fields()[i]->setValue(answers[i]);
        world.parser.mergeFields(*expanded);
        return toUTF8(describeSnippetExpandedContent(*expanded));
    };
    EXPECT_EQ(merge(*world.add(u"x", u"a【field】【field:n】b【|】【field】c【key:↩ code:36】"),
                    {u"1", u"22", nullptr}),
              R"("a122bc" field@1{field value:1} field@1{field:n value:22} caret@5 )"
              R"(field@2{field} key@6{key:↩ code:36})");
    EXPECT_EQ(
        merge(*world.add(u"x", u"【field:a optional value:no】【field:b optional:1 value:yes】"),
              {}),
        R"("yes" field@0{field:a optional:0} field@0{field:b value:yes optional:1})");
    // Rich values go in, ticked or not, while the places move by the plain ones.
    EXPECT_EQ(merge(*world.addRich(u"x", u"A:x【snippet:rich optional】y【|】;"), {}),
              R"(rich "x"A"bold"B"y"A field@1{field optional:0}rich "bold"A caret@2)");
    EXPECT_EQ(merge(*world.addRich(u"x", u"A:x;B:【field】;A:y;"), {u"v"}),
              R"(rich "x"A"v"B"y"A field@1{field value:v})");
}

TEST(SnippetParser, ConvertsTheOlderMarkUp) {
    ParserFixture world;
    const std::pair<StringView, const char*> cases[] = {
        {u"%date:yyyy-MM-dd HH:mm%", "【date:\"yyyy-MM-dd HH:mm\"】"},
        {u"%time:short%%snippet:sig%", "【time:short】【snippet:sig】"},
        {u"%field:first name%%fill:b%", "【field:\"first name\"】【field:b】"},
        {u"%key:enter%%key:tab%%key:esc%", "【key:↩ code:36】【key:⇥ code:48】【key:⎋ code:53】"},
        {u"%key:f1%", "【key:(null) code:0】"},
        {u"%clipboard %|", "【clipboard】 【|】"},
        {u"%<%^%>%v", "【key:← code:123】【key:↑ code:126】【key:→ code:124】【key:↓ code:125】"},
        {u"100%, 5%values %Date:x% %date:open",
         "100%, 5【key:↓ code:125】alues %Date:x% %date:open"},
        {u"%", "%"},
        {u"%date:%", "【date:】"},
    };
    for (const auto& [old, expected] : cases) {
        const auto snippet = world.add(u"x", old);
        world.parser.convertOldSnippet(*snippet);
        EXPECT_EQ(toUTF8(*snippet->plainTextContent()), expected) << toUTF8(old);
    }
    const auto rich = world.addRich(u"x", u"A:a;B:%fill:n%;A:b;");
    world.parser.convertOldSnippet(*rich);
    EXPECT_EQ(*rich->richTextContent(), *ParserFixture::readRichText(u"A:a;B:【field:n】;A:b;"));
    const auto empty = std::make_shared<Snippet>(world.clock);
    world.parser.convertOldSnippet(*empty);
    EXPECT_FALSE(empty->hasContent());
}

} // namespace
} // namespace dresk
