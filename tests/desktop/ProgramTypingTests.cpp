// What the program does to what is typed, by its preferences and kinds of snippets.

#include "Foundation/TextAttributes.h"
#include "desktop/ProgramTest.h"

namespace dresk {
namespace {

using ProgramTyping = ProgramTest;

TEST_F(ProgramTyping, Corrects) {
    preferences_->setBool(true, PreferenceKey::CapitalizeNewSentences);
    preferences_->setBool(true, PreferenceKey::CorrectDoubleCapitals);
    ASSERT_NO_FATAL_FAILURE(launch());
    type(u"Well. hello THere, e.g. this. i am");
    EXPECT_TRUE(holds(*target_, u"Well. Hello There, e.g. this. I am"));
}

/// Has the clipboard hold a text that another program owns.
void copy(const std::string& text) {
    ASSERT_EQ(ChildProcess::run(
                  {"sh", "-c", "printf %s \"$0\" | xclip -selection clipboard -i >&-", text}),
              0);
}

std::string pasted() {
    const auto program = ChildProcess::start({"sh", "-c", "xclip -selection clipboard -o; echo"});
    return program != nullptr ? program->readLine(5).value_or("") : "";
}

TEST_F(ProgramTyping, ScriptsClipboardAndRichText) {
    preferences_->setString(u"There is no such sound", PreferenceKey::FeedbackSound);
    SnippetGroup& group = addGroup(u"Texts");
    addSnippet(group, u"calc", u"printf %s $((6 * 7))")
        ->setContentType(SnippetContentType::ShellScript);
    addSnippet(group, u"bad", u"exit 3")->setContentType(SnippetContentType::ShellScript);
    addSnippet(group, u"clip", u"<【clipboard】>");
    const auto rich = addSnippet(group, u"rich", u"");
    rich->setContentType(SnippetContentType::RichText);
    auto attributes = std::make_shared<TextAttributes>();
    attributes->underlineStyle = 1;
    rich->setRichTextContent(AttributedString(u"underlined", attributes));
    setHotKey(PreferenceKey::UndoHotKey, F);
    ASSERT_NO_FATAL_FAILURE(launch());

    type(u"calc ");
    EXPECT_TRUE(holds(*target_, u"42 "));
    type(u"bad ");
    EXPECT_TRUE(holds(*target_, u"42 "));
    ASSERT_NO_FATAL_FAILURE(copy("from elsewhere"));
    target_->clear();
    type(u"clip ");
    EXPECT_TRUE(holds(*target_, u"<from elsewhere> "));
    target_->clear();
    type(u"rich ");
    EXPECT_TRUE(holds(*target_, u"underlined "));
    EXPECT_TRUE(awaitSight(5, [] { return pasted() == "from elsewhere"; }));

    target_->clear();
    type(u"clip ");
    EXPECT_TRUE(holds(*target_, u"<from elsewhere> "));
    chord(F);
    EXPECT_TRUE(holds(*target_, u"clip "));
}

} // namespace
} // namespace dresk
