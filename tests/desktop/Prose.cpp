#include "desktop/Prose.h"

#include <map>
#include <vector>

namespace dresk {
namespace {

/// Words hold what the layout of their language types directly, by level choosers and by dead keys.
const std::vector<String>& wordsOf(StringView language) {
    static const std::map<StringView, std::vector<String>> words{
        {u"en", {u"the",        u"Letters", u"we",          u"write,",     u"happily",
                 u"go",         u"off",     u"(soon)",      u"to",         u"every",
                 u"committee.", u"It's",    u"Well;",       u"done",       u"at",
                 u"9",          u"o'clock", u"and",         u"still",      u"balloon",
                 u"x=y+2",      u"a@b.org", u"Mississippi", u"\"quoted\"", u"100%"}},
        {u"de", {u"Über",   u"die",   u"Straße",      u"fährt,", u"schön", u"langsam", u"ein",
                 u"Käfer.", u"zwölf", u"Bäume",       u"@",      u"{x}",   u"[y]",     u"kostet",
                 u"5",      u"€;",    u"Größe",       u"müssen", u"Ärger", u"Öl",      u"Zypern",
                 u"café",   u"naß",   u"Schifffahrt", u"|"}},
        {u"fr",
         {u"L'été", u"où",  u"ça",    u"va,",  u"très",   u"bien.", u"garçon", u"élève", u"quiz",
          u"à",     u"la",  u"forêt", u"naïf", u"Noël",   u"12",    u"zéro",   u"@",     u"#",
          u"hôtel", u"sûr", u"ù",     u"Azur", u"Quand;", u"wagon", u"!"}},
        {u"ru", {u"Съешь", u"ещё",  u"этих",   u"мягких", u"французских", u"булок,", u"да",
                 u"выпей", u"чаю.", u"and",    u"Then",   u"снова",       u"Москва", u"hello",
                 u"5",     u"№",    u"объект", u"жизнь",  u"wow",         u"эхо",    u"Юла;",
                 u"ссора", u"ok",   u"мы",     u"я"}},
        {u"intl", {u"café",   u"naïve",    u"piñata", u"Über",   u"don't", u"say",   u"\"yes\"",
                   u"résumé", u"à",        u"la",     u"carte,", u"fête.", u"plain", u"words",
                   u"too",    u"Ångström", u"€",      u"straße", u"it's",  u"ok",    u"señor",
                   u"ça",     u"öl",       u"`tick`", u"x^2"}},
    };
    return words.at(language);
}

} // namespace

String proseOf(StringView language, std::size_t count) {
    const std::vector<String>& words = wordsOf(language);
    String prose;
    for (std::size_t i = 0; i < count; i++) {
        // A stride that is prime to the number of words gives other neighbours each round.
        prose += words[(i * (7 + 2 * (i / words.size() % 2))) % words.size()];
        if (i + 1 < count) {
            prose += i % 23 == 22 ? u'\n' : u' ';
        }
    }
    return prose;
}

} // namespace dresk
