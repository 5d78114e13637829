#include <algorithm>
#include <array>
#include <cstdio>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unicode/uloc.h>

#include "Foundation/FileStorage.h"
#include "Foundation/KeyedArchiver.h"
#include "input/scripted/KeyNames.h"
#include "play/Player.h"
#include "play/TimeAndLocale.h"
#include "store/SnippetArchive.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

std::string describe(const std::vector<PlayStep>& steps) {
    std::string result;
    for (const PlayStep& step : steps) {
        if (const auto* codePoint = std::get_if<char32_t>(&step)) {
            String text;
            appendCodePoint(text, *codePoint);
            result += toUTF8(text);
        } else if (const auto* press = std::get_if<KeyPress>(&step))
            result += "[" + modifierPrefix(press->flags) + keyName(press->keyCode) + "]";
        else
            result += "[" + std::to_string(std::get<PlayPause>(step).seconds) + "]";
    }
    return result;
}

TEST(KeyNotation, ReadsKeysAndCharacters) {
    struct Row {
        const char* typed;
        const char* steps;
    };
    const Row rows[] = {
        {"", ""},
        {"grüße 😀", "grüße 😀"},
        {"a<Return>b", "a[Return]b"},
        {"a << b>", "a < b>"},
        {"<Control-Shift-Tab><Shift-Control-Tab>", "[Shift-Control-Tab][Shift-Control-Tab]"},
        {"<Command-v><Command-V><Command-->", "[Command-9][Shift-Command-9][Command-27]"},
        {"<Expand><Undo>", "[Control-Space][Control-Delete]"},
        {"<Wait 0.25>", "[0.250000]"},
    };
    for (const Row& row : rows) {
        std::string error;
        const auto steps = parseKeyNotation(row.typed, error);
        ASSERT_TRUE(steps.has_value()) << row.typed << ": " << error;
        EXPECT_EQ(describe(*steps), row.steps) << row.typed;
    }
    for (const char* bad : {"<", "a<Retur>", "<Return", "<>", "<Shift->", "<Wait x>", "<Wait -1>",
                            "<Wait nan>", "<Wait 1e9>", "<Command-é>"}) {
        std::string error;
        EXPECT_FALSE(parseKeyNotation(bad, error).has_value()) << bad;
        EXPECT_NE(error, "") << bad;
    }
}

TEST(PlayOptions, ReadsTheCommandLine) {
    std::string error;
    const auto options = PlayOptions::parse({"--snippet", "a=b=c", "--trigger=swallow", "--trace",
                                             "--snippet=x=", "--layout", "de", "--", "--typed"},
                                            error);
    ASSERT_TRUE(options.has_value()) << error;
    ASSERT_EQ(options->snippets.size(), 2U);
    EXPECT_EQ(options->snippets[0].content, u"b=c");
    EXPECT_EQ(options->snippets[0].expandTrigger, ExpandTrigger::AtDelimiter);
    EXPECT_EQ(options->snippets[1].content, u"");
    EXPECT_EQ(options->snippets[1].expandTrigger, ExpandTrigger::AtSwallowedDelimiter);
    EXPECT_EQ(options->typed, "--typed");
    EXPECT_TRUE(options->trace);
    EXPECT_EQ(PlayOptions::parse({"-"}, error)->typed, std::nullopt);

    const auto world =
        PlayOptions::parse({"--now=2026-01-31T12:30", "--time-zone", "Europe/Berlin", "--locale",
                            "en_GB.UTF-8", "--clipboard=grün", "--data", "a b.dresk"},
                           error);
    ASSERT_TRUE(world.has_value()) << error;
    EXPECT_EQ(world->now, Date{791551800}) << "in the zone that stands behind it";
    EXPECT_EQ(world->locale, u"en_GB");
    EXPECT_EQ(world->clipboard, u"grün");
    EXPECT_EQ(world->data, "a b.dresk");

    const std::vector<std::string> bad[] = {{"--unknown"},         {"-x"},
                                            {"--snippet"},         {"--snippet", "abc"},
                                            {"--snippet", "=abc"}, {"--trigger", "later"},
                                            {"--layout=xx"},       {"one", "two"},
                                            {"--data="},           {"--clipboard"},
                                            {"--now", "noon"},     {"--time-zone=Europe/Nowhere"},
                                            {"--time-zone="},      {"--locale="},
                                            {"--locale=xx"},       {"--locale=fr é"}};
    for (const auto& arguments : bad) {
        error.clear();
        EXPECT_FALSE(PlayOptions::parse(arguments, error).has_value()) << arguments.front();
        EXPECT_NE(error, "") << arguments.front();
    }
}

TEST(TimeAndLocale, ReadsLocalTimesThatExist) {
    struct Row {
        const char* text;
        StringView timeZone;
        std::optional<Date> date;
    };
    const Row rows[] = {
        {"2001-01-01T00:00", u"UTC", Date{0}},
        {"2001-01-01T00:00:59", u"UTC", Date{59}},
        {"2001-01-01T00:00", u"America/New_York", Date{18000}},
        {"2000-02-29T00:00", u"UTC", Date{-26524800}},
        {"2001-02-29T00:00", u"UTC", std::nullopt},
        {"2001-01-01T24:00", u"UTC", std::nullopt},
        {"2001-13-01T00:00", u"UTC", std::nullopt},
        {"0000-01-01T00:00", u"UTC", std::nullopt},
        // The clocks go forward at two.
        {"2026-03-29T02:30", u"UTC", Date{796444200}},
        {"2026-03-29T02:30", u"Europe/Berlin", std::nullopt},
        {"2001-01-01 00:00", u"UTC", std::nullopt},
        {"2001-01-01T00:00Z", u"UTC", std::nullopt},
        {"2001-01-01", u"UTC", std::nullopt},
        {"2001-01-01T+0:00", u"UTC", std::nullopt},
        {"", u"UTC", std::nullopt},
    };
    const std::string machineLocale = uloc_getDefault();
    UErrorCode status = U_ZERO_ERROR;
    // The second has another calendar, which must not count.
    for (const char* locale : {"en_US", "th_TH"}) {
        uloc_setDefault(locale, &status);
        for (const Row& row : rows)
            EXPECT_EQ(dateFromLocalTime(row.text, String(row.timeZone)), row.date)
                << row.text << " in " << locale;
    }
    uloc_setDefault(machineLocale.c_str(), &status);
}

struct Played {
    std::string text;
    std::string trace;
    /// Why nothing was played.
    std::string error;
};

Played play(const std::vector<std::string>& arguments) {
    Played played;
    const auto options = PlayOptions::parse(arguments, played.error);
    if (!options.has_value())
        return played;
    const auto steps = parseKeyNotation(options->typed.value_or(""), played.error);
    Player player(*options);
    if (!steps.has_value() ||
        (options->data.has_value() && !player.addData(*options->data, played.error)))
        return played;
    player.play(*steps);
    player.finish();
    played.text = toUTF8(player.text());
    for (const std::string& line : player.trace())
        played.trace += (played.trace.empty() ? "" : " | ") + line;
    return played;
}

TEST(Player, TypesAndExpands) {
    struct Row {
        const char* name;
        std::vector<std::string> arguments;
        std::string text;
        const char* trace;
    };
    const std::string longText(450, 'x');
    const Row rows[] = {
        {"delimiter that stays",
         {"--snippet", "sig=Kind regards", "Bye, sig. sig"},
         "Bye, Kind regards. sig",
         "0.80 Delete x3, \"Kind regards\""},
        {"a script's output, with the delimiter",
         {"--script", "two=echo $((1+1))", "is two. two two "},
         "is 2. 2 2 ",
         "0.60 Delete x3, \"2.\" | 1.10 Delete x3, \"2 \" | 1.50 Delete x3, \"2 \""},
        {"a script inside a text",
         {"--script", "two=echo 2", "--snippet", "xx=<【snippet:two】>", "xx.-"},
         "<2>.-",
         nullptr},
        {"a form with what it shows at first",
         {"--snippet", "xx=Dear 【field:name value:Bob】", "xx.-"},
         "Dear Bob.-",
         nullptr},
        {"nothing matches", {"--snippet", "sig=Kind regards", "design "}, "design ", ""},
        {"delimiter that goes",
         {"--trigger", "swallow", "--snippet", "sig=Kind regards", "sig -"},
         "Kind regards-",
         "0.30 Delete x3, \"Kind regards\""},
        {"at once",
         {"--trigger", "immediate", "--snippet", "(c)=©", "(c) (c)"},
         "© ©",
         "0.20 Delete x2, \"©\" | 0.60 Delete x2, \"©\""},
        {"hot key",
         {"--trigger", "hotkey", "--snippet", "br=Best regards", "br br<Expand>!"},
         "br Best regards!",
         "0.50 Delete x2, \"Best regards\""},
        {"long text carries its delimiter",
         {"--snippet", "xx=" + longText, "xx."},
         longText + ".",
         nullptr},
        {"taken back", {"--snippet", "sig=Kind regards", "sig <Undo>"}, "sig", nullptr},
        {"German keyboard",
         {"--layout", "de", "--snippet", "mfg=Grüße", "zymfg mfg "},
         "zymfg Grüße ",
         nullptr},
        {"long text is pasted and the clipboard comes back",
         {"--clipboard=mine", "--snippet", "xx=" + longText, "xx <Wait 1><Command-v>"},
         longText + " mine",
         nullptr},
        {"moving on forgets", {"--snippet", "sig=no", "si<LeftArrow><RightArrow>g "}, "sig ", ""},
    };
    for (const Row& row : rows) {
        const Played played = play(row.arguments);
        EXPECT_EQ(played.error, "") << row.name;
        EXPECT_EQ(played.text, row.text) << row.name;
        if (row.trace != nullptr) {
            EXPECT_EQ(played.trace, row.trace) << row.name;
        }
    }
}

TEST(Player, ShowsSnippetsTheWorldOfTheCommandLine) {
    struct Row {
        const char* name;
        std::vector<std::string> arguments;
        const char* content;
        const char* typed;
        const char* text;
    };
    const Row rows[] = {
        {"locale", {"--locale=fr"}, "【date:long】", "xx.", "31 janvier 2026."},
        {"other locale", {"--locale=en_GB"}, "【date:long】", "xx.", "31 January 2026."},
        {"locale with another calendar", {"--locale=th"}, "【date:yyyy】", "xx.", "2569."},
        {"month's end", {"--locale=fr"}, "【date:yyyy-MM-dd day:1】", "xx.", "2026-02-01."},
        {"time zone", {}, "【time:\"HH:mm z\" locale:en_GB】", "xx.", "23:59 CET."},
        {"time goes on past midnight",
         {},
         "【date:dd】【time:\" HH:mm\"】",
         "xx <Wait 90>xx.",
         "31 23:59 01 00:00."},
        {"clipboard", {"--clipboard", "grün 😀"}, "[【clipboard】]", "xx.", "[grün 😀]."},
        {"empty clipboard", {"--clipboard="}, "[【clipboard】]", "xx.", "[]."},
        {"no clipboard", {}, "[【clipboard】]", "xx.", "[]."},
    };
    for (const Row& row : rows) {
        std::vector<std::string> arguments = {"--now=2026-01-31T23:59", "--time-zone=Europe/Berlin",
                                              "--snippet", std::string("xx=") + row.content};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        arguments.emplace_back(row.typed);
        const Played played = play(arguments);
        EXPECT_EQ(played.error, "") << row.name;
        EXPECT_EQ(played.text, row.text) << row.name;
    }
}

/// An archive with a group that has a prefix, and one that is off.
std::string archivedGroups() {
    const VirtualTime time;
    const auto prefixed = std::make_shared<SnippetGroup>(time);
    prefixed->setExpandTrigger(ExpandTrigger::AtDelimiter);
    prefixed->setAbbreviationPrefix(u"/");
    prefixed->addItem(Snippet::initWithAbbreviation(u"name", u"Ada", time));
    const auto off = std::make_shared<SnippetGroup>(time);
    off->setExpandTrigger(ExpandTrigger::AtSwallowedDelimiter);
    off->availability().setAvailability(3);
    off->addItem(Snippet::initWithAbbreviation(u"off", u"no", time));
    SnippetArchive archive;
    archive.version = u"1";
    archive.groups = SnippetGroupArray{prefixed, off};
    return archive.archiveAllData().binaryData();
}

TEST(Player, PlaysTheSnippetsOfAnArchive) {
    const test::TemporaryFolder folder;
    const std::string file = folder / "a b.dresk";
    ASSERT_FALSE(writeFile(file, archivedGroups()));
    struct Row {
        const char* name;
        std::string data;
        std::vector<std::string> arguments;
        const char* text;
    };
    const Row rows[] = {
        {"groups keep their settings", file, {"/name. name. off "}, "Ada. name. off "},
        {"snippets besides are in no group of the file",
         file,
         {"--snippet=hi=Hello", "--trigger=swallow", "--snippet=go=Went", "hi, /name. go "},
         "Hello, Ada. Went"},
        {"snippets besides refer to the file's",
         file,
         {"--snippet=hi=Hello 【snippet:/name】", "hi!"},
         "Hello Ada!"},
        {"default data",
         DRESK_DEFAULT_DATA,
         {"--now=2026-01-31T12:30", "tyvm. ;iso "},
         "Thank you very much!. 2026-01-31 "},
    };
    for (const Row& row : rows) {
        std::vector<std::string> arguments = {"--data", row.data};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        const Played played = play(arguments);
        EXPECT_EQ(played.error, "") << row.name;
        EXPECT_EQ(played.text, row.text) << row.name;
    }
}

/// An archive of which one group is none.
std::string archiveDamagedInPart() {
    KeyedArchiver archiver;
    const auto groups =
        archiver.addArray({archiver.addName(u"no group")}, KeyedArchiver::Mutability::Mutable);
    const auto root = archiver.addDictionary({{archiver.addName(u"Snippets"), groups}},
                                             KeyedArchiver::Mutability::Mutable);
    return archiver.finishEncoding(root).binaryData();
}

/// The exit status of the program, and what it says on standard error.
std::pair<int, std::string> runProgram(const std::string& arguments) {
    const std::string command = "'" DRESK_PLAY "' " + arguments + " 2>&1 >/dev/null </dev/null";
    FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return {-1, "it does not start"};
    std::array<char, 4096> buffer{};
    const std::size_t length = std::fread(buffer.data(), 1, buffer.size(), pipe);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, std::string(buffer.data(), length)};
}

TEST(Program, SaysInOneLineWhatIsWrong) {
    const test::TemporaryFolder folder;
    const std::string whole = archivedGroups();
    ASSERT_FALSE(writeFile(folder / "whole", whole));
    ASSERT_FALSE(writeFile(folder / "cut", whole.substr(0, whole.size() / 2)));
    ASSERT_FALSE(writeFile(folder / "empty", ""));
    ASSERT_FALSE(writeFile(folder / "part", archiveDamagedInPart()));
    ASSERT_FALSE(writeFile(folder / "groupless", SnippetArchive().archiveAllData().binaryData()));
    struct Row {
        const char* arguments;
        int status;
        const char* says;
    };
    const Row rows[] = {
        {"--data whole", 0, ""},
        {"--data missing", 1, "missing: there is no such file"},
        {"--data .", 1, "Is a directory"},
        {"--data cut", 1, "cut: damaged"},
        {"--data empty", 1, "empty: damaged"},
        {"--data part", 1, "part: damaged in part"},
        {"--data groupless", 1, "groupless: damaged, or no archive"},
        {"--now tomorrow", 2, "tomorrow"},
        {"'<Nokey>'", 2, "<Nokey>"},
        {"--nothing", 2, "--nothing"},
    };
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    for (const Row& row : rows) {
        const auto [status, line] = runProgram(row.arguments);
        EXPECT_EQ(status, row.status) << row.arguments;
        EXPECT_NE(line.find(row.says), line.npos) << row.arguments << ": " << line;
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), row.status == 0 ? 0 : 1) << line;
    }
    std::filesystem::current_path(before);
}

} // namespace
} // namespace dresk
