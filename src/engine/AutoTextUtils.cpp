#include "engine/AutoTextUtils.h"

namespace dresk {

const CharacterSet& AutoTextUtils::newSentenceCharacterSet() {
    static const CharacterSet set = [] {
        constexpr char16_t keypadEnter = 3;
        CharacterSet result = CharacterSet::whitespaceAndNewlineCharacterSet();
        result.remove(u' ');
        result.add(keypadEnter);
        return result;
    }();
    return set;
}

const CharacterSet& AutoTextUtils::endSentenceCharacterSet() {
    static const CharacterSet set = [] {
        CharacterSet result = newSentenceCharacterSet();
        result.formUnion(CharacterSet(u".?!"));
        return result;
    }();
    return set;
}

bool AutoTextUtils::shouldCapitalize(StringView text) {
    if (text.size() < 3)
        return false;
    bool sawSpace = false;
    for (std::size_t i = text.size() - 2; i-- > 0;) {
        const char16_t unit = text[i];
        if (newSentenceCharacterSet().contains(unit))
            return true;
        if (unit != u' ')
            return sawSpace && endSentenceCharacterSet().contains(unit);
        sawSpace = true;
    }
    return false;
}

} // namespace dresk
