#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "Foundation/CHCSVWriter.h"
#include "Foundation/CSVParser.h"

namespace dresk {
namespace {

// Rows as "[a|b][c]"; a missing column shows as "-", null as "null".
std::string describe(CSVParser& parser) {
    const auto rows = parser.arrayOfParsedRows();
    if (!rows.has_value())
        return "null";
    std::string text;
    for (const auto& row : *rows) {
        text += "[";
        for (const String& name : parser.fieldNames()) {
            const auto field = row.find(name);
            text += (&name == &parser.fieldNames().front() ? "" : "|") +
                    (field == row.end() ? "-" : toUTF8(field->second));
        }
        text += "]";
    }
    return text;
}

struct ParseCase {
    const char16_t* text = nullptr;
    const char* expected = nullptr;
    const char16_t* separator = u",";
    bool hasHeader = false;
};

TEST(CSVParser, ReadsRowsAndStopsAtWhatItCannotRead) {
    const ParseCase cases[] = {
        {u"a,b\nc,d\n", "[a|b][c|d]"},
        {u"a,,c", "[a||c]"},
        {u"a,", "[a|]"},
        {u"a", "[a|-]"},
        {u"a\r\n\r\nb\n", "[a|-][b|-]"},
        {u"", "null"},
        {u"\na,b", "null"},
        {u"\"x,\n\"\"y\",b", "[x,\n\"y|b]"},
        {u"\"\",b", "[|b]"},
        {u"1,2,3,4\n5", "[1|2|3|4][5|-|-|-]"},
        {u"a\"b,c\nd,e", "[a|-]"},
        {u"\"a\"b,c\nd,e", "[a|-]"},
        {u"\"open,b\nc", "[|-]"},
        {u" a , b", "[ a | b]"},
        {u"a::b:c", "[a|b:c]", u"::"},
        {u"a:\n:b", "[a:|-][:b|-]", u"::"},
        {u"\"a::b\"::c:::", "[a::b|c|:]", u"::"},
        {u"n,m\n1,2", "[1|2]", u",", true},
        {u"n,m", "null", u",", true},
        {u"", "null", u",", true},
    };
    for (const auto& c : cases) {
        CSVParser parser(c.text, c.separator, std::nullopt, c.hasHeader, {u"Name", u"Value"});
        EXPECT_EQ(describe(parser), c.expected) << toUTF8(c.text);
    }
}

TEST(CSVParser, NamesFurtherColumnsForLaterRows) {
    CSVParser parser(u"1,2,3,4", u",", std::nullopt, false, {u"a", u"b", u"c"});
    std::vector<CSVParser::Row> rows;
    parser.parseRowsForReceiver([&rows](CSVParser::Row row) { rows.push_back(std::move(row)); });
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].at(u"FIELD_4"), u"4");
    EXPECT_EQ(parser.fieldNames().back(), u"FIELD_4");
    EXPECT_DEATH(CSVParser(u"", u"a\"", std::nullopt, false, {}), "must not contain");
    EXPECT_DEATH(CSVParser(u"", u"", std::nullopt, false, {}), "must not be empty");
}

TEST(CSVParser, ReadsFilesOfOtherPrograms) {
    const std::filesystem::path folder = std::filesystem::path(DRESK_FIXTURES) / "snippets/csv";
    if (!std::filesystem::exists(folder))
        GTEST_SKIP() << "no fixtures here";
    const std::pair<const char*, const char*> cases[] = {
        {"spectrum_comma_in_quotes.csv", "[John|Doe|120 any st.|Anytown, WW|08123]"},
        {"spectrum_empty_crlf.csv", "[1||][2|3|4]"},
        {"spectrum_json.csv", "[1|{\"type\": \"Point\", \"coordinates\": [102.0, 0.5]}]"},
        {"spectrum_newlines.csv", "[1|2|3][Once upon \na time|5|6][7|8|9]"},
        {"spectrum_quotes_and_newlines.csv", "[1|ha \n\"ha\" \nha][3|4]"},
        {"spectrum_simple_crlf.csv", "[1|2|3]"},
    };
    for (const auto& [name, expected] : cases) {
        std::ifstream file(folder / name, std::ios::binary);
        std::stringstream bytes;
        bytes << file.rdbuf();
        String text = fromUTF8(bytes.str());
        std::erase(text, u'\r');
        CSVParser parser(text, u",", std::nullopt, true, {});
        EXPECT_EQ(describe(parser), expected) << name;
    }
}

std::string written(const std::string& encoding,
                    const std::function<void(CHCSVWriter&, std::ostream&)>& write) {
    auto stream = std::make_unique<std::ostringstream>();
    std::ostringstream& text = *stream;
    CHCSVWriter writer(std::move(stream), encoding, u',');
    write(writer, text);
    return text.str();
}

TEST(CHCSVWriter, QuotesWhatNeedsItAndReadsBack) {
    const std::vector<std::optional<String>> fields = {
        u"plain", u"a,b", u"say \"x\"", std::nullopt, u" ", u"l\nm", u"c\rd", u"ü😀"};
    const std::string text = written("UTF-8", [&](CHCSVWriter& writer, std::ostream&) {
        writer.writeField(u"open");
        writer.writeLineOfFields(fields);
        writer.writeField(u"x");
        writer.writeComment(u"one\r\ntwo");
    });
    EXPECT_EQ(text, "open\nplain,\"a,b\",\"say \"\"x\"\"\",, ,\"l\nm\",\"c\rd\",ü😀\nx\n#one\n"
                    "#two\n");
    CSVParser parser(fromUTF8(text), u",", std::nullopt, true, {});
    EXPECT_EQ(parser.arrayOfParsedRows()->front().at(u"FIELD_3"), u"say \"x\"");
}

TEST(CHCSVWriter, WritesTheByteOrderMarkOnce) {
    const auto write = [](CHCSVWriter& writer, std::ostream&) {
        writer.writeField(u"a");
        writer.writeField(u"b");
    };
    EXPECT_EQ(written("UTF-16LE", write), std::string("a\0,\0b\0", 6));
    const std::string marked = written("UTF-16", write);
    ASSERT_EQ(marked.size(), 8U);
    EXPECT_TRUE(marked.substr(0, 2) == "\xFF\xFE" || marked.substr(0, 2) == "\xFE\xFF");
    EXPECT_EQ(written("no such encoding", write), "a,b");
}

TEST(CHCSVWriter, TellsOfAFailedStreamAtTheEnd) {
    const auto path = std::filesystem::path(testing::TempDir()) / "CHCSVWriter.csv";
    auto writer = CHCSVWriter::initForWritingToCSVFile(path);
    writer->writeField(u"a");
    EXPECT_TRUE(writer->closeStream());
    writer->writeField(u"after the end");
    EXPECT_EQ(std::filesystem::file_size(path), 1U);
    EXPECT_FALSE(CHCSVWriter::initForWritingToCSVFile(path / "below a file")->closeStream());
    std::filesystem::remove(path);
}

} // namespace
} // namespace dresk
