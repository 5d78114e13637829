#include <gtest/gtest.h>

#include "Foundation/RTF.h"
#include "Foundation/TextAttributes.h"
#include "Foundation/Unarchiver.h"
#include "support/Fixtures.h"

namespace dresk {
namespace {

using test::fixture;

std::string rtf(const std::string& body) {
    const auto text = attributedStringWithRTF("{\\rtf1\\ansi\\ansicpg1252" + body + "}");
    return text.has_value() ? toUTF8(text->string()) : "unreadable";
}

/// Lines without blanks at their ends, empty ones left out: where independent readers agree.
std::string normalized(const std::string& text) {
    std::string result;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line = text.substr(start, end - start);
        line.erase(0, line.find_first_not_of(" \t"));
        line.erase(line.find_last_not_of(" \t") + 1);
        if (!line.empty())
            result += (result.empty() ? "" : "\n") + line;
        start = end + 1;
    }
    return result;
}

TEST(RTF, ReadsDocumentsOfOtherWriters) {
    DRESK_SKIP_WITHOUT_FIXTURES();
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"clip_third.rtf", "\"ABCD🥶🫥\""},
        {"pyth_cjk.rtf", "協議"},
        {"stripr_french.rtf", "10‘000\na 10'000  b.\na 10‘000 b c!\na a a 10´000 d?"},
        {"stripr_hyperlink.rtf", "google.com"},
        {"stripr_issue_28.rtf",
         "印刷情况反映：\n201-003-00155 (Multiple)\n市政府情况反映：\n022-021-00768 (Multiple)"},
        {"stripr_issue_55.rtf", "ü"},
        {"stripr_issue_63.rtf", "Trade and other receivables"},
        {"stripr_mac_textedit_hyperlink.rtf",
         "macOS text edit hyperlink\nFirst one is: striprtf.dev (plain)\nSecond one is: github "
         "(real)"},
        {"stripr_unicode.rtf", "柔道"},
    };
    for (const auto& [name, expected] : cases) {
        const auto text = attributedStringWithRTF(fixture(std::string("rtf/") + name));
        ASSERT_TRUE(text.has_value()) << name;
        EXPECT_EQ(normalized(toUTF8(text->string())), expected) << name;
    }
    const auto code = attributedStringWithRTF(fixture("rtf/clip_first.rtf"));
    EXPECT_EQ(toUTF8(code->string()),
              "#if canImport(Darwin)\n\t\t// Make sure we request access to the fileURL resource "
              "before attempting to access it.\n\t\tguard "
              "fileURL.startAccessingSecurityScopedResource() else {\n\t\t\tthrow "
              "PAL.CommonError.unableToLoadFile\n\t\t}\n\t\tdefer { fileURL");
    EXPECT_EQ(attributedStringWithRTFD(fixture("rtf/rtfd/km_example1.rtfd.bin"))->string(),
              u"ExampleRTFText1\n");
    EXPECT_EQ(attributedStringWithRTFD(fixture("rtf/rtfd/km_example2.rtfd.bin"))->string(),
              u"ExampleRTFText2");
}

TEST(RTF, ReadsCharactersOfEveryNotation) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {" a\\\nb\\par c\\line d\\tab e", "a\nb\nc\u2028d\te"},
        {" a\r\nb", "ab"},
        {" \\'e9\\~\\_\\-\\{\\}\\\\", "é\u00A0\u2011\u00AD{}\\"},
        {"\\uc0\\u55357 \\u56832 ", "😀"},
        {"\\uc0\\u-10179\\u-8704 ", "😀"},
        {"\\uc1\\u233?x\\uc2\\u233\\'41\\'42y", "éxéy"},
        {"{\\fonttbl{\\f0\\fcharset77 A;}{\\f1\\fcharset128 B;}}\\f0 \\'8e{\\f1 \\'82\\'a0}",
         "éあ"},
        {"{\\*\\unknown gone}{\\info{\\author gone}}kept", "kept"},
        {"\\emdash\\lquote\\rquote\\bullet", "—‘’•"},
        {" open{group", "opengroup"},
        {" one}two", "one"},
    };
    for (const auto& [body, expected] : cases)
        EXPECT_EQ(rtf(body), expected) << body;
    EXPECT_EQ(rtf(std::string("a\\bin4 }{\\x") + "b"), "ab");
    EXPECT_FALSE(attributedStringWithRTF("plain").has_value());
    EXPECT_EQ(rtf(std::string(100'000, '{') + "x"), "x");
}

TEST(RTF, WritesWhatItReads) {
    auto plain = std::make_shared<TextAttributes>();
    plain->font = TextFont{u"Times New Roman", 12};
    auto styled = std::make_shared<TextAttributes>();
    styled->font = TextFont{u"Ünï", 10.5, true, true};
    styled->foregroundColor = TextColor{1, 0, 0};
    styled->backgroundColor = TextColor{0, 0, 1};
    styled->underlineStyle = 1;
    styled->strikethroughStyle = 9;
    styled->superscript = -1;
    styled->headIndent = 36;
    styled->firstLineHeadIndent = 18;
    styled->alignment = TextAlignment::Center;
    styled->link = u"https://example.com/?a=b";
    AttributedString text(u"plain \\{} \n\ttext\u2028é😀\r\u0003", plain);
    text.appendAttributedString(AttributedString(u"styled", styled));
    for (const auto& read : {attributedStringWithRTF(RTFFromAttributedString(text)),
                             attributedStringWithRTFD(RTFDFromAttributedString(text))}) {
        ASSERT_TRUE(read.has_value());
        EXPECT_EQ(read->string(), text.string());
        EXPECT_EQ(*read, text);
    }
    EXPECT_EQ(attributedStringWithRTFD(RTFDFromAttributedString(AttributedString()))->length(), 0U);
}

TEST(RTF, KeepsAttachmentsInRTFD) {
    AttributedString text(u"before ");
    for (const char* contents : {"one", "two"}) {
        auto attributes = std::make_shared<TextAttributes>();
        auto attachment = std::make_shared<TextAttachment>();
        attachment->preferredFilename = u"pictüre; 1.png"; // twice the same name
        attachment->contents = contents;
        attributes->attachment = attachment;
        text.appendAttributedString(AttributedString(u"\uFFFC", attributes));
    }
    text.appendAttributedString(AttributedString(u" behind"));
    const auto read = attributedStringWithRTFD(RTFDFromAttributedString(text));
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->string(), text.string());
    EXPECT_EQ(read->attributesAtIndex(7)->attachment->preferredFilename, u"pictüre; 1.png");
    EXPECT_EQ(read->attributesAtIndex(7)->attachment->contents, "one");
    EXPECT_EQ(read->attributesAtIndex(8)->attachment->contents, "two");
    EXPECT_EQ(attributedStringWithRTF(RTFFromAttributedString(text))->string(), text.string());
}

TEST(RTF, EmbedsPicturesInPlainDocuments) {
    const std::string png("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0\x10\0\0\0\x08more", 28);
    auto attributes = std::make_shared<TextAttributes>();
    attributes->attachment =
        std::make_shared<TextAttachment>(TextAttachment{u"other name.png", png});
    AttributedString text(u"a\uFFFC", attributes);
    text.appendAttributedString(AttributedString(u"b"));
    const std::string written = RTFFromAttributedString(text, u"Ti}tle");
    EXPECT_NE(written.find("{\\info{\\title Ti\\}tle}}"), std::string::npos);
    EXPECT_NE(written.find("\\pngblip\\picw16\\picwgoal240\\pich8\\pichgoal120\n89504e"),
              std::string::npos);
    const auto read = attributedStringWithRTF(written);
    ASSERT_EQ(read->string(), u"a\uFFFCb");
    EXPECT_EQ(read->attributesAtIndex(1)->attachment->contents, png);
    EXPECT_EQ(read->attributesAtIndex(1)->attachment->preferredFilename, u"image.png");
    EXPECT_EQ(read->attributesAtIndex(2)->attachment, nullptr);

    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a{\\pict\\jpegblip {\\*\\blipuid 00ff}FF d8\nff\\'41 e0}b", "a\uFFFCb"},
        {"a{\\pict\\jpegblip\\bin4 \xFF\xD8\xFF}}b", "a\uFFFCb"},
        {"a{\\pict\\wmetafile8 0100}b", "ab"},
        {"a{\\*\\shppict{\\pict\\jpegblip ffd8ff}}{\\nonshppict{\\pict\\jpegblip ffd8ff}}b",
         "a\uFFFCb"},
        {"a{\\pict\\pngblip 8", "a"},
        {"\\strike a\\plain\\super b\\nosupersub\\li720\\fi-360 c", "abc"},
    };
    for (const auto& [body, expected] : cases)
        EXPECT_EQ(rtf(body), expected) << body;
}

TEST(FileWrapper, KeepsFilesAndFoldersAndRefusesDamage) {
    FileWrapper file;
    file.preferredFilename = u"ä.txt";
    file.contents = std::string("\0\1", 2);
    FileWrapper folder;
    folder.isDirectory = true;
    folder.preferredFilename = u"folder";
    folder.children = {file};
    FileWrapper document;
    document.isDirectory = true;
    document.children = {folder, file};
    const std::string flat = document.serializedRepresentation();
    const auto read = FileWrapper::fileWrapperWithSerializedRepresentation(flat);
    ASSERT_TRUE(read.has_value());
    ASSERT_EQ(read->children.size(), 2U);
    EXPECT_EQ(read->child(u"folder")->child(u"ä.txt")->contents, file.contents);
    const auto single =
        FileWrapper::fileWrapperWithSerializedRepresentation(file.serializedRepresentation());
    EXPECT_FALSE(single->isDirectory);
    EXPECT_EQ(single->preferredFilename, file.preferredFilename);
    EXPECT_EQ(single->contents, file.contents);
    for (std::size_t length = 0; length < flat.size(); ++length)
        EXPECT_FALSE(FileWrapper::fileWrapperWithSerializedRepresentation(flat.substr(0, length)))
            << length;
}

TEST(Unarchiver, ReadsWhatThePlatformWrote) {
    DRESK_SKIP_WITHOUT_FIXTURES();
    const auto open = [](const char* name) {
        return Unarchiver::unarchiverForReadingWithData(fixture(std::string("typedstream/") + name))
            .value();
    };
    const std::vector<std::pair<const char*, double>> numbers = {
        {"u_NSNumberWith2digits", 22},
        {"u_NSNumberWith4digits", 4444},
        {"u_NSNumberWithFloat", 0.1358},
        {"u_NSNumberWithMinus5digits", -55555},
    };
    for (const auto& [name, expected] : numbers) {
        const Unarchiver archive = open(name);
        EXPECT_NEAR(archive.number(archive.values().at(0)).value(), expected, 1e-6) << name;
    }
    const Unarchiver text = open("u_NSString");
    EXPECT_EQ(text.string(text.values().at(0)), u"abcdefgABCDEFG!?@[]/+*^&-_");
    const Unarchiver empty = open("u_NSArrayEmpty");
    EXPECT_TRUE(empty.array(empty.values().at(0)).value().empty());
    const Unarchiver strings = open("u_NSArrayWithNSString");
    const auto elements = strings.array(strings.values().at(0)).value();
    ASSERT_EQ(elements.size(), 3U);
    EXPECT_EQ(strings.string(elements[2]), u"012");
    const Unarchiver mixed = open("u_NSArrayWithMixedType");
    const auto kinds = mixed.array(mixed.values().at(0)).value();
    ASSERT_EQ(kinds.size(), 4U);
    EXPECT_EQ(mixed.number(kinds[1]), 123);
    EXPECT_EQ(mixed.number(kinds[2]), 0.5);
    EXPECT_EQ(mixed.number(kinds[3]), 1);
    const Unarchiver dictionary = open("u_NSDictionary");
    const auto entries = dictionary.dictionary(dictionary.values().at(0)).value();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(dictionary.string(entries[0].first), u"key");
    EXPECT_EQ(dictionary.number(entries[0].second), 123);

    const auto smile = open("te_smile").attributedString();
    ASSERT_TRUE(smile.has_value());
    EXPECT_EQ(smile->string(), u"\uFFFC");
    const auto attributes = smile->attributesAtIndex(0);
    EXPECT_EQ(attributes->alignment, TextAlignment::Natural);
    EXPECT_EQ(attributes->attachment->preferredFilename, u"smile.png");
    EXPECT_EQ(attributes->attachment->contents.size(), 6215U);
    EXPECT_TRUE(attributes->attachment->contents.starts_with("\x89PNG"));

    const std::string bytes = fixture("typedstream/te_smile");
    for (std::size_t length = 0; length < 1000; ++length)
        (void)Unarchiver::unarchiverForReadingWithData(bytes.substr(0, length));
}

} // namespace
} // namespace dresk
