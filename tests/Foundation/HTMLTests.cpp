#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "Foundation/AttributedStringConversion.h"
#include "Foundation/Base64.h"
#include "Foundation/HTML.h"

namespace dresk {
namespace {

/// The text with each run's style in brackets; "Helvetica 12" and nothing else goes without.
std::string describe(const std::optional<AttributedString>& text) {
    if (!text.has_value())
        return "unreadable";
    std::string result;
    std::uint64_t start = 0;
    for (const AttributedString::Run& run : text->runs()) {
        const TextAttributes own = run.attributes != nullptr ? *run.attributes : TextAttributes();
        std::string words;
        const auto add = [&](bool isSet, const std::string& word) {
            if (isSet)
                words += (words.empty() ? "" : " ") + word;
        };
        const auto color = [](const TextColor& c) {
            return std::to_string(std::lround(c.red * 255)) + "," +
                   std::to_string(std::lround(c.green * 255)) + "," +
                   std::to_string(std::lround(c.blue * 255));
        };
        if (own.font.has_value()) {
            add(own.font->name != u"Helvetica", toUTF8(own.font->name));
            add(own.font->size != 12, std::to_string(std::lround(own.font->size)));
            add(own.font->bold, "b");
            add(own.font->italic, "i");
        }
        add(own.underlineStyle != 0, "u");
        add(own.strikethroughStyle != 0, "s");
        add(own.superscript != 0, own.superscript > 0 ? "sup" : "sub");
        if (own.foregroundColor.has_value())
            add(true, color(*own.foregroundColor));
        if (own.backgroundColor.has_value())
            add(true, "on " + color(*own.backgroundColor));
        if (own.link.has_value())
            add(true, toUTF8(*own.link));
        if (own.alignment.has_value())
            add(true, "align" + std::to_string(static_cast<int>(*own.alignment)));
        if (own.headIndent != 0 || own.firstLineHeadIndent != 0)
            add(true, "indent" + std::to_string(std::lround(own.firstLineHeadIndent)) + "/" +
                          std::to_string(std::lround(own.headIndent)));
        if (own.attachment != nullptr)
            add(true, toUTF8(own.attachment->preferredFilename) + "=" + own.attachment->contents);
        const std::string part = toUTF8(StringView(text->string()).substr(start, run.length));
        result += words.empty() ? part : "[" + words + ": " + part + "]";
        start += run.length;
    }
    return result;
}

std::string read(std::string_view html) {
    return describe(attributedStringWithHTML(html));
}

AttributedString::Attributes styled(const std::function<void(TextAttributes&)>& change) {
    auto attributes = std::make_shared<TextAttributes>();
    attributes->font = TextFont{u"Helvetica", 12};
    change(*attributes);
    return attributes;
}

TEST(HTML, ReadsLinesAndBlanksAsABrowserShowsThem) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"", ""},
        {"plain", "plain"},
        {"a <b>b</b> c", "a [b: b] c"},
        {"  a \n\t b  ", "a b"},
        {"<b>a </b> b", "[b: a ]b"},
        {"<p>a</p>\n<p>b</p>", "a\nb"},
        {"<p>a</p><p><br></p><p>b</p>", "a\n\nb"},
        {"<p>a</p><p><br></p>", "a\n"},
        {"<p>a<br></p><p>b</p>", "a\nb"},
        {"<div><div>a</div></div><div>b</div>c", "a\nb\nc"},
        {"a<br>b<br><br>c", "a\nb\n\nc"},
        {"a<br>", "a\n"},
        {"<p><br></p>a", "\na"},
        {"a&nbsp;&nbsp; b", "a\u00A0\u00A0 b"},
        {"a<span class=\"Apple-converted-space\">&nbsp;&nbsp;</span>b", "a  b"},
        {"a<span style=\"white-space:pre\">\t</span>b", "a\tb"},
        {"<pre>\n a\n  b\n</pre>c", "[Courier:  a\n  b\n]c"},
        {"<span style='white-space:pre-wrap'>a  b\nc</span>", "a  b\nc"},
        {"<ul><li>a<li><p>b</p></ul>c", "[indent18/36: \u2022\ta\n\u2022\tb\n]c"},
        {"<ol><li>a</li><li></li><li>b</li></ol>", "[indent18/36: 1.\ta\n2.\t\n3.\tb]"},
        {"x<table><tr><td>a</td><td><p>b</p></td></tr> <tr><td></td> <td>c<br></td></tr></table>y",
         "x\na\tb\n\tc\ny"},
        {"&lt;&amp;&eacute;&#8364;&#x1F600;&unknown;", "<&é€😀&unknown;"},
        {"a<!-- b -->c<unknown>d</unknown>", "acd"},
        {"<html><head><title>no</title><style>no</style></head><body>a</body></html>\n", "a"},
        {"a<script>if (1 < 2) no();</script>b<template>no</template>", "ab"},
        {"a<span style=\"display: none\">no<b>no</b></span>b", "ab"},
    };
    for (const auto& [html, expected] : cases)
        EXPECT_EQ(read(html), expected) << html;
}

TEST(HTML, ReadsStyles) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"<b>b</b><em>i</em><u>u</u><del>s</del>", "[b: b][i: i][u: u][s: s]"},
        {"x<sup>2</sup><sub>i</sub>", "x[sup: 2][sub: i]"},
        {"<font face=Times size=5 color=red>a</font>", "[Times 18 255,0,0: a]"},
        {"<span style=\"font-family: 'Noto Sans', serif; font-size: 20px; font-weight:700\">a",
         "[Noto Sans 15 b: a]"},
        {"<span style='color:#0f8;background-color:rgba(255, 0, 0, 1)'>a",
         "[0,255,136 on 255,0,0: a]"},
        {"<span style='background:white url(\"a;b:c\")'>a</span>", "a"},
        {"<b>a<span style='font-weight:normal'>b</span></b>", "[b: a]b"},
        {"<u>a<span style='text-decoration:none'>b</span></u>", "[u: ab]"},
        {"<a href=' https://example.com/?a=1&amp;b=2 '>a</a>b",
         "[https://example.com/?a=1&b=2: a]b"},
        {"<a href='JavaScript:no()'>a</a><a href='#top'>b</a>", "ab"},
        {"<p align=center>a</p><p style='text-align: right'>b</p>", "[align2: a\n][align1: b]"},
        {"<h1>a</h1><h6>b</h6>", "[24 b: a\n][8 b: b]"},
        {"<blockquote>a</blockquote>", "[indent36/36: a]"},
        {"<p style='margin-left:1in;text-indent:-18pt'>a</p>", "[indent54/72: a]"},
        {"<img src='data:image/png;base64,YWJj' alt='a.png'><img src='data:,%61%zz'>",
         "[a.png=abc: \uFFFC][image=a%zz: \uFFFC]"},
        {"<img src='https://example.com/x.png' alt='smile'><img src='file:///etc/passwd'>",
         "smile"},
    };
    for (const auto& [html, expected] : cases)
        EXPECT_EQ(read(html), expected) << html;
}

TEST(HTML, FindsTheEncodingAndTheFragment) {
    using namespace std::string_literals;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"\xEF\xBB\xBF\xC3\xA9", "é"},
        {"\xC3\xA9", "é"},
        {"\xE9", "é"},
        {"<meta charset='utf-8'>\xC3\xA9", "é"},
        {"<meta charset=\"windows-1251\">\xE9", "й"},
        {"<META http-equiv=Content-Type content='text/html; charset=Shift_JIS'>\x82\xA0", "あ"},
        {"<meta charset=nonsense>\xC3\xA9", "é"},
        {"\xFF\xFE\xE9\0<\0b\0>\0a\0"s, "é[b: a]"},
        {"\xFE\xFF\0\xE9"s, "é"},
        {"<\0b\0>\0\xE9\0"s, "[b: é]"},
        {"a\0b"s, "ab"},
        {"Version:0.9\r\n<html><body>no<b><!--StartFragment--> <i>a</i><!--EndFragment--></b>no",
         "[b i: a]"},
        {"<!--StartFragment--><p>a</p><!--EndFragment-->\n<p>no</p>", "a"},
    };
    for (const auto& [html, expected] : cases)
        EXPECT_EQ(read(html), expected) << html;
}

TEST(HTML, EndsOnHostileText) {
    const auto repeated = [](const std::string& part, std::size_t count) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i)
            text += part;
        return text;
    };
    EXPECT_EQ(read(repeated("<div>", 100'000) + "a"), "a");
    EXPECT_EQ(read(repeated("<b>", 5'000) + "a" + repeated("</b>", 5'000) + "b"), "[b: a]b");
    // Each end tag looks for its start; the reader gives up, but keeps what came before.
    EXPECT_TRUE(read("a" + repeated("<i>", 50'000) + repeated("</a>", 20'000)).starts_with("a"));
    std::string attributes = "<p ";
    for (int i = 0; i < 50'000; ++i)
        attributes += "a" + std::to_string(i) + " ";
    EXPECT_EQ(read(attributes + ">a"), "unreadable");
    EXPECT_EQ(read("1 <" + repeated(" 2 <", 5'000)).substr(0, 5), "1 < 2");
    EXPECT_EQ(read("<!DOCTYPE x [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;'>]>&b;").find("aaaa&"),
              std::string::npos);
    EXPECT_NE(read("<!DOCTYPE x [<!ENTITY a SYSTEM 'file:///etc/hostname'>]>x&a;").find("x&a;"),
              std::string::npos);
    const std::string large = base64FromBytes(std::string(1'000'000, 'x'));
    EXPECT_EQ(read("<img src='data:image/png;base64," + large + "'>").size(), 1'000'000U + 13U);
    EXPECT_EQ(read("<img src='data:image/png;base64,A'>b<img src='data:"), "b");
    std::string styles;
    for (int i = 0; i < 6'000; ++i)
        styles += "<font color=#" + std::to_string(100'000 + i) + ">a</font>";
    EXPECT_EQ(attributedStringWithHTML(styles)->string(), String(6'000, u'a'));
    EXPECT_EQ(read(std::string(17'000'000, 'a')).substr(0, 20), "unreadable");
}

TEST(HTML, WritesCleanFragmentsAndDocuments) {
    const auto bold = styled([](TextAttributes& a) { a.font->bold = true; });
    AttributedString text(u"a <&> \"b\"  c");
    EXPECT_EQ(htmlData(text),
              "a &lt;&amp;&gt; &quot;b&quot;<span class=\"Apple-converted-space\">&nbsp;</span>"
              "<span class=\"Apple-converted-space\">&nbsp;</span>c");
    text = AttributedString(u"a\n");
    text.appendAttributedString(AttributedString(u"é", bold));
    EXPECT_EQ(htmlString(text),
              u"<p style=\"margin:0;\">a</p>\n<p style=\"margin:0;\"><span style=\"font-family:"
              u"'Helvetica';font-size:12pt;\"><b>é</b></span></p>\n");
    auto excluded = defaultExcludedTags();
    excluded.emplace_back(u"p");
    EXPECT_EQ(htmlData(text, excluded),
              "a<br><span style=\"font-family:'Helvetica';font-size:12pt;\"><b>é</b></span>");
    for (const StringView tag : {u"b", u"span", u"br"})
        excluded.emplace_back(tag);
    EXPECT_EQ(htmlData(text, excluded), "a\né");
    EXPECT_EQ(htmlData(AttributedString(u"a"), {}),
              "<!DOCTYPE html>\n<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; "
              "charset=UTF-8\"></head>\n<body>a</body></html>");
    const auto hostile = styled([](TextAttributes& a) {
        a.font->name = u"x';y:\"url(<";
        a.link = u"\"><script>";
    });
    EXPECT_EQ(htmlData(AttributedString(u"a", hostile)),
              "<a href=\"&quot;&gt;&lt;script&gt;\"><span style=\"font-family:'x;y:&quot;url(&lt;';"
              "font-size:12pt;\">a</span></a>");
    const auto file = styled([](TextAttributes& a) {
        a.attachment = std::make_shared<TextAttachment>(TextAttachment{u"a.gif", "GIF"});
    });
    EXPECT_NE(htmlData(AttributedString(u"\uFFFC", file))
                  .find("<img src=\"data:image/png;base64,R0lG\" alt=\"a.gif\">"),
              std::string::npos);
}

TEST(HTML, ComesBackAsItWasWritten) {
    const auto plain = styled([](TextAttributes&) {});
    const auto rich = styled([](TextAttributes& a) {
        a.font = TextFont{u"Noto Sans", 10.5, true, true};
        a.foregroundColor = TextColor{1, 0, 0};
        a.backgroundColor = TextColor{0, 0, 1};
        a.underlineStyle = a.strikethroughStyle = 1;
        a.superscript = -1;
        a.link = u"https://example.com/?a=\"b\"&c";
    });
    const auto indented = styled([](TextAttributes& a) {
        a.alignment = TextAlignment::Justified;
        a.headIndent = 36;
        a.firstLineHeadIndent = 18;
    });
    const auto picture = styled([](TextAttributes& a) {
        a.attachment = std::make_shared<TextAttachment>(
            TextAttachment{u"pictüre.png", std::string("\x89PNG\0\n", 6)});
    });
    for (const StringView characters : {u"one line", u" a  b ", u"a\n", u"\n\na\n\n b\tc\n\n",
                                        u"\u00A0a\u00A0 \u00A0", u"<é😀&amp;>", u"", u"\n"}) {
        const AttributedString text(characters, plain);
        EXPECT_EQ(describe(attributedStringWithHTML(htmlData(text))), describe(text));
        EXPECT_EQ(describe(attributedStringWithHTML(htmlData(text, {}))), describe(text));
        auto excluded = defaultExcludedTags();
        excluded.emplace_back(u"p");
        EXPECT_EQ(describe(attributedStringWithHTML(htmlData(text, excluded))), describe(text));
    }
    AttributedString text(u"plain ", plain);
    text.appendAttributedString(AttributedString(u"rich", rich));
    text.appendAttributedString(AttributedString(u"\uFFFC", picture));
    text.appendAttributedString(AttributedString(u"\n", plain));
    text.appendAttributedString(AttributedString(u"1.\tindented\n2.\tindented", indented));
    EXPECT_EQ(describe(attributedStringWithHTML(htmlData(text))), describe(text));
    EXPECT_EQ(*attributedStringWithHTML(htmlData(text)), text);
}

} // namespace
} // namespace dresk
