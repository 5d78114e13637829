#include <gtest/gtest.h>

#include "input/scripted/KeyNames.h"
#include "play/Player.h"

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

    const std::vector<std::string> bad[] = {{"--unknown"},         {"-x"},
                                            {"--snippet"},         {"--snippet", "abc"},
                                            {"--snippet", "=abc"}, {"--trigger", "later"},
                                            {"--layout=xx"},       {"one", "two"}};
    for (const auto& arguments : bad)
        EXPECT_FALSE(PlayOptions::parse(arguments, error).has_value()) << arguments.front();
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
        {"moving on forgets", {"--snippet", "sig=no", "si<LeftArrow><RightArrow>g "}, "sig ", ""},
    };
    for (const Row& row : rows) {
        std::string error;
        const auto options = PlayOptions::parse(row.arguments, error);
        ASSERT_TRUE(options.has_value()) << error;
        const auto steps = parseKeyNotation(*options->typed, error);
        ASSERT_TRUE(steps.has_value()) << error;
        Player player(*options);
        player.play(*steps);
        player.finish();
        std::string trace;
        for (const std::string& line : player.trace())
            trace += (trace.empty() ? "" : " | ") + line;
        EXPECT_EQ(toUTF8(player.text()), row.text) << row.name;
        if (row.trace != nullptr) {
            EXPECT_EQ(trace, row.trace) << row.name;
        }
    }
}

} // namespace
} // namespace dresk
