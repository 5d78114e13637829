#pragma once

#include <string>
#include <vector>

#include "Foundation/TextAttributes.h"
#include "language/SnippetExpandedContentDescription.h"
#include "language/SnippetFieldVariable.h"
#include "language/SnippetParser.h"
#include "language/SnippetVariableUtils.h"

namespace dresk {

class FixedClock final : public Clock {
  public:
    explicit FixedClock(Date now) : now_(now) {}
    Date now() const override { return now_; }

  private:
    Date now_;
};

inline AttributedString::Attributes fontAttributes(StringView name) {
    auto attributes = std::make_shared<TextAttributes>();
    attributes->font = TextFont{.name = String(name)};
    return attributes;
}

/// Snippets, a pasteboard and a moment: Saturday, 31 January 2026, 12:30:45 in Berlin.
struct ParserFixture {
    static constexpr double Now = 791551845;

    FixedClock clock{{Now}};
    std::shared_ptr<InMemoryPasteboard> pasteboard = std::make_shared<InMemoryPasteboard>();
    SnippetGroupArray groups{std::make_shared<SnippetGroup>(clock)};
    SnippetParser parser{environment()};

    SnippetEnvironment environment(const char16_t* locale = u"en_US",
                                   const char16_t* timeZone = u"Europe/Berlin") {
        SnippetEnvironment result;
        result.clock = &clock;
        result.formats = std::make_shared<DateTimeFormats>(timeZone, locale);
        result.pasteboard = pasteboard;
        // Rich pasteboard data of the tests are "font:text" runs, each ended by a semicolon.
        result.richTextReader = [](StringView, const std::string& data) {
            return readRichText(fromUTF8(data));
        };
        return result;
    }

    static std::optional<AttributedString> readRichText(StringView text) {
        AttributedString result;
        while (!text.empty()) {
            const std::size_t colon = text.find(u':');
            const std::size_t end = text.find(u';');
            if (colon == StringView::npos || end == StringView::npos)
                return std::nullopt;
            result.appendAttributedString(AttributedString(text.substr(colon + 1, end - colon - 1),
                                                           fontAttributes(text.substr(0, colon))));
            text.remove_prefix(end + 1);
        }
        return result;
    }

    std::shared_ptr<Snippet> add(const char16_t* abbreviation, StringView content,
                                 std::int64_t contentType = SnippetContentType::PlainText,
                                 std::size_t group = 0) {
        auto snippet = Snippet::initWithAbbreviation(abbreviation, String(content), clock);
        snippet->setContentType(contentType);
        groups[group]->addItem(snippet);
        return snippet;
    }

    std::shared_ptr<Snippet> addRich(const char16_t* abbreviation, StringView runs) {
        auto snippet = add(abbreviation, u"", SnippetContentType::RichText);
        snippet->setRichTextContent(readRichText(runs));
        return snippet;
    }

    std::string expand(const Snippet& snippet) {
        const auto expanded = parser.parseSnippet(snippet, groups);
        return expanded != nullptr ? toUTF8(describeSnippetExpandedContent(*expanded)) : "null";
    }

    /// Expands a plain snippet with this content, which stands in the first group.
    std::string expand(StringView content) { return expand(*add(u"under test", content)); }
};

} // namespace dresk
