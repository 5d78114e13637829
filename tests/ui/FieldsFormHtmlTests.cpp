#include <gtest/gtest.h>

#include "Foundation/FileStorage.h"
#include "language/SnippetAbbreviationVariable.h"
#include "language/SnippetFieldVariable.h"
#include "language/SnippetParser.h"
#include "store/Snippet.h"
#include "support/TemporaryFolder.h"
#include "ui/SnippetContentFieldsEditorController.h"

namespace dresk {
namespace {

using Controller = SnippetContentFieldsEditorController;

std::shared_ptr<SnippetExpandedContent> parsed(StringView content) {
    const auto snippet = Snippet::initWithAbbreviation(u"a", String(content));
    return SnippetParser().parseSnippet(*snippet, {});
}

/// The inputs of all fields, one behind the other.
std::string inputs(StringView content) {
    const auto expanded = parsed(content);
    String html;
    std::size_t index = 0;
    for (const auto& field : expanded->fields())
        html += Controller::generateHtmlTextInput(*field, index++);
    return toUTF8(html);
}

struct InputCase {
    const char* name;
    StringView content;
    const char* html;
};

void PrintTo(const InputCase& test, std::ostream* stream) {
    *stream << test.name;
}

class InputHtml : public testing::TestWithParam<InputCase> {};

TEST_P(InputHtml, IsAsLaidDown) {
    EXPECT_EQ(inputs(GetParam().content), GetParam().html);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, InputHtml,
    testing::Values(
        InputCase{"single", u"【field:\"na\"\"me\" value:<b>&'】",
                  R"(<input id="0" autofocus="autofocus" placeholder="na&quot;me" )"
                  R"(name="na&quot;me" type="text" value="&lt;b&gt;&amp;&#39;" size="30")"
                  R"( onkeypress="return handleKeyUpEvent(event);" />)"},
        InputCase{"nameless", u"【field】",
                  R"(<input id="0" autofocus="autofocus" placeholder="" name="" type="text")"
                  R"( size="30" onkeypress="return handleKeyUpEvent(event);" />)"},
        InputCase{"multi", u"【field:m type:1 value:</textarea> width:40 height:3】",
                  R"(<textarea id="0" autofocus="autofocus" placeholder="m" name="m" cols="40")"
                  R"( rows="3" onkeypress="return handleKeyUpEventAlt(event);">)"
                  R"(&lt;/textarea&gt;</textarea>)"},
        InputCase{"menu", u"【field:p type:2 value:\"one\ntwo \"\"2\"\"\"】",
                  R"(<select id="0" autofocus="autofocus" placeholder="p" name="p")"
                  R"( onchange="window.SnippetController.onTextInputOnChange_(event.target.id);")"
                  R"( onkeyup="return handleKeyUpEvent(event);"> )"
                  R"(<option value="one">one</option>)"
                  R"(<option value="two &quot;2&quot;">two &quot;2&quot;</option> </select>)"},
        InputCase{"number", u"【field:n type:3 value:10】",
                  R"(<input id="0" autofocus="autofocus" placeholder="n" name="n" type="number")"
                  R"( onchange="window.SnippetController.onTextInputOnChange_(event.target.id);")"
                  R"( size="30" onkeypress="return handleKeyUpEvent(event);" />)"},
        InputCase{"readonly", u"【field:r value:a<b readonly:yes】",
                  R"(<span id="0" autofocus="autofocus" >a&lt;b</span>)"},
        InputCase{"emptyMenu", u"【field:p type:2】", ""},
        InputCase{"unknownType", u"【field:p type:7】", ""},
        InputCase{"optionalUnknown", u"【field:p type:7 optional:yes】",
                  R"(<input type="checkbox" onchange="optionalFieldCheckboxOnChange(event);")"
                  R"( id="optional0" > <label for="optional0"> p </label> )"
                  R"(<span style="background-color: crimson; margin-top:50px; )"
                  R"(margin-bottom:50px; padding: 5px"> (null) </span>)"}),
    [](const auto& info) { return info.param.name; });

TEST(InputHtml, OptionalFieldsAreWrapped) {
    SnippetFieldVariable field;
    field.setName(u"a&b");
    field.setType(SnippetFieldVariable::Multiline);
    field.setIsOptional(true);
    field.setIsSelected(true);
    EXPECT_EQ(toUTF8(Controller::generateHtmlTextInput(field, 12)),
              R"(<input type="checkbox" onchange="optionalFieldCheckboxOnChange(event);")"
              R"( id="optional12" checked> <label for="optional12"> a&amp;b </label> )"
              R"(<div style="background-color: limegreen;"> )"
              R"(<textarea id="12" placeholder="a&amp;b" name="a&amp;b" cols="0" rows="0")"
              R"( onkeypress="return handleKeyUpEventAlt(event);"></textarea> </div>)");
    field.setType(SnippetFieldVariable::PopupMenu);
    field.setIsSelected(false);
    field.setValue(u"x");
    const String html = Controller::generateHtmlTextInput(field, 3);
    EXPECT_NE(html.find(u"<span style=\"background-color: crimson; margin-top:50px; "
                        u"margin-bottom:50px; padding: 5px\"> <select id=\"3\""),
              String::npos);
}

class FormPageHtml : public testing::Test {
  protected:
    void writeTemplate(std::string_view text) { writeFile(folder_ / "index.html", text); }
    /// With plain blanks.
    std::string page(const SnippetExpandedContent& content) {
        std::string html = toUTF8(Controller::generateHtmlWithString(
            content.string(), content.variables(), folder_.path()));
        const std::string blank = "<span class=\"Apple-converted-space\">&nbsp;</span>";
        for (std::size_t at; (at = html.find(blank)) != std::string::npos;)
            html.replace(at, blank.size(), " ");
        return html;
    }
    test::TemporaryFolder folder_;
};

TEST_F(FormPageHtml, TextStandsAroundInputsBehindTheFirstDiv) {
    writeTemplate("<p>\xC3\xA9<div>|</div><div></div>");
    const auto content = parsed(u"Dear <x> 【field:a】, 【field:b】 <script>bye()</script>");
    const std::string html = page(*content);
    EXPECT_EQ(html.find("<p>\xC3\xA9<div>Dear &lt;x&gt; <input id=\"0\""), 0U);
    EXPECT_NE(html.find("/>, <input id=\"1\""), std::string::npos);
    EXPECT_NE(html.find("&lt;script&gt;bye()&lt;/script&gt;"), std::string::npos);
    EXPECT_EQ(html.find("<script"), std::string::npos);
    EXPECT_TRUE(html.ends_with("|</div><div></div>"));
}

TEST_F(FormPageHtml, ScriptShowsItsNameAndNotItsSource) {
    writeTemplate("<div></div>");
    SnippetExpandedContent content;
    content.setContent(String(u"a echo 1 b"));
    const auto reference = std::make_shared<SnippetAbbreviationVariable>();
    reference->setLocation(2);
    reference->setScriptLength(6);
    reference->setAbbreviation(u"run<");
    content.setVariables({reference});
    EXPECT_EQ(page(content).find("<div>a <img src=\"Script.png\" alt=\"Script\">run&lt;"), 0U);
    EXPECT_EQ(page(content).find("echo"), std::string::npos);

    const auto snippet = std::make_shared<Snippet>();
    snippet->setLabel(u"Counts");
    reference->setSnippet(snippet);
    EXPECT_NE(page(content).find("alt=\"Script\">Counts"), std::string::npos);

    // A field inside the source leads back into it.
    const auto field = std::make_shared<SnippetFieldVariable>();
    field->setLocation(6);
    content.setVariables({reference, field});
    EXPECT_NE(page(content).find("/> 1 b"), std::string::npos);
}

TEST_F(FormPageHtml, NoTemplateGivesAnEmptyPage) {
    EXPECT_EQ(page(*parsed(u"【field:a】")), "");
}

// What the page holds can do nothing before its policy, and the script is there before the inputs.
TEST(FormTemplate, ContentComesBehindPolicyAndScript) {
    std::error_code error;
    const std::string page =
        readFile(std::filesystem::path(DRESK_RESOURCES) / "index.html", error).value_or("");
    EXPECT_LT(page.find("Content-Security-Policy"), page.find("<script>"));
    EXPECT_LT(page.find("</script>"), page.find("<div>"));
    EXPECT_NE(page.find("<div></div>"), std::string::npos);
}

} // namespace
} // namespace dresk
