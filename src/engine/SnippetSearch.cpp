#include "engine/SnippetSearch.h"

#include <algorithm>

#include "Foundation/Unicode.h"

namespace dresk {

namespace {

bool isWildcardCharacter(char16_t unit) {
    return unit == u'*' || unit == u'?';
}

/// One filter, ready to be tried on many texts. Keeps its memory from text to text.
class TextTest {
  public:
    TextTest(StringView filter, bool isWildcard) {
        isWildcard_ = isWildcard &&
                      std::any_of(filter.begin(), filter.end(), isWildcardCharacter) &&
                      !std::all_of(filter.begin(), filter.end(), isWildcardCharacter);
        foldCase(filter, filter_);
    }

    bool passes(StringView text) {
        foldCase(text, text_);
        return isWildcard_ ? isLike() : StringView(text_).find(filter_) != StringView::npos;
    }

  private:
    // Behind a star the shortest fit is enough: what a longer one could reach, the next star
    // reaches as well. So only the last star is ever tried again.
    bool isLike() const {
        const StringView text = text_;
        std::size_t position = 0;
        std::size_t wanted = 0;
        std::size_t starAt = StringView::npos;
        std::size_t starEnd = 0;
        while (position < text.size()) {
            if (wanted < filter_.size() && filter_[wanted] == u'*') {
                starAt = wanted++;
                starEnd = position;
            } else if (wanted < filter_.size() && filter_[wanted] == u'?') {
                position += codePointAt(text, position).length;
                ++wanted;
            } else if (wanted < filter_.size() && filter_[wanted] == text[position]) {
                ++position;
                ++wanted;
            } else if (starAt != StringView::npos) {
                wanted = starAt + 1;
                starEnd += codePointAt(text, starEnd).length;
                position = starEnd;
            } else {
                return false;
            }
        }
        return StringView(filter_).find_first_not_of(u'*', wanted) == StringView::npos;
    }

    bool isWildcard_ = false;
    String filter_;
    String text_;
};

class Search {
  public:
    Search(StringView filter, bool isWildcard, std::uint64_t searchBy)
        : test_(filter, isWildcard), searchBy_(searchBy) {}

    bool matches(const SnippetGroup& group, const Snippet& snippet) {
        if ((searchBy_ & SearchBy::Abbreviation) != 0 && snippet.abbreviation().has_value() &&
            matchesAbbreviations(group, snippet))
            return true;
        if ((searchBy_ & SearchBy::Content) != 0 && snippet.hasContent() &&
            passes(snippet.richTextContent()->string()))
            return true;
        return (searchBy_ & SearchBy::Label) != 0 && snippet.label().has_value() &&
               passes(*snippet.label());
    }

  private:
    bool passes(StringView text) { return !text.empty() && test_.passes(text); }

    bool matchesAbbreviations(const SnippetGroup& group, const Snippet& snippet) {
        const auto passesWithPrefix = [&](const String& abbreviation) {
            if (!group.hasAbbreviationPrefix())
                return passes(abbreviation);
            withPrefix_ = *group.abbreviationPrefix();
            return passes(withPrefix_.append(abbreviation));
        };
        if (passesWithPrefix(*snippet.abbreviation()))
            return true;
        const auto& aliases = snippet.aliases();
        return aliases.has_value() &&
               std::any_of(aliases->begin(), aliases->end(), passesWithPrefix);
    }

    TextTest test_;
    std::uint64_t searchBy_;
    String withPrefix_;
};

} // namespace

std::optional<SnippetSearch::Matches> SnippetSearch::filter(StringView filter,
                                                            const SnippetGroupArray& groups,
                                                            bool isWildcard, std::uint64_t searchBy,
                                                            SnippetGroupArray& orderedGroups,
                                                            bool respectSuggestAbbreviations) {
    if (filter.empty())
        return std::nullopt;
    orderedGroups.clear();
    Matches found;
    Search search(filter, isWildcard, searchBy);
    for (const auto& group : groups) {
        if (respectSuggestAbbreviations && !group->suggestAbbreviations())
            continue;
        std::vector<std::shared_ptr<Snippet>> snippets;
        for (const auto& snippet : group->items())
            if (search.matches(*group, *snippet))
                snippets.push_back(snippet);
        if (snippets.empty())
            continue;
        orderedGroups.push_back(group);
        found.emplace(group, std::move(snippets));
    }
    return found;
}

} // namespace dresk
