#include "desktop/ExpansionScript.h"

#include <iterator>

#include "desktop/LineText.h"

namespace dresk {
namespace {

constexpr StringView Sentences[] = {
    u"Kind regards, the whole team at No. 7",
    u"if (a[0] == '{' && b != \"}\") { return x->y * 100 % ~z; }",
    u"Mit freundlichen Grüßen aus Köln, Ihr Jürgen Großmann",
    u"Über den Ärger, Öl und Maß: 5 € für süße Äpfel",
    u"С наилучшими пожеланиями, Ваша Юлия",
    u"Съешь ещё этих мягких булок",
    u"Thanks \U0001F600 see you \U0001F44D\U0001F3FD",
    u"first line\nsecond line",
    u"MiXeD CaSe AND 123",
    u"ok",
};

} // namespace

std::string tableOf(const std::vector<Abbreviation>& abbreviations) {
    constexpr const char* Modes[] = {"immediate", "delimiter", "swallow"};
    std::string table;
    for (const Abbreviation& row : abbreviations) {
        table += escapeToLine(toUTF8(row.letters)) + '\t' +
                 Modes[static_cast<std::size_t>(row.mode)] + '\t' +
                 escapeToLine(toUTF8(row.expansion)) + (row.isHTML ? "\thtml\n" : "\n");
    }
    return table;
}

void ExpansionScript::abbreviate(const Abbreviation& abbreviation, StringView delimiter) {
    keys += abbreviation.letters;
    keys += delimiter;
    expected += abbreviation.expansion;
    if (abbreviation.mode != Abbreviation::Mode::Swallow) {
        expected += delimiter;
    }
}

std::vector<Abbreviation> sampleAbbreviations(std::size_t count) {
    constexpr StringView First = u"zxj";
    constexpr StringView Middle = u"aeioubdnrst";
    constexpr StringView Last = u"wkmfghlpcv";
    std::vector<Abbreviation> abbreviations;
    for (std::size_t i = 0; i < count; i++) {
        const std::size_t serial = i / First.size();
        const std::size_t middle = serial / Last.size() % Middle.size();
        const String letters{First[i % First.size()], Middle[middle], Last[serial % Last.size()]};
        // A number tells neighbours apart when characters go astray.
        const String number = fromUTF8(std::to_string(i));
        abbreviations.push_back({letters, static_cast<Abbreviation::Mode>(i % First.size()),
                                 String(Sentences[i % std::size(Sentences)]) + u'#' + number});
    }
    return abbreviations;
}

StringView ordinaryWord(std::size_t index) {
    constexpr StringView Words[] = {u"the",  u"we", u"letter", u"and",   u"so",  u"hello",
                                    u"from", u"to", u"it",     u"quick", u"off", u"all"};
    return Words[index % std::size(Words)];
}

} // namespace dresk
