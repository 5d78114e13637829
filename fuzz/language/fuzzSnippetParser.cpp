#include <cstdlib>

#include "language/SnippetExpandedContentDescription.h"
#include "language/SnippetFieldVariable.h"
#include "language/SnippetNumericFields.h"
#include "language/SnippetParser.h"
#include "language/SnippetUtils.h"
#include "language/SnippetVariableUtils.h"

// From stored content to expanded content: the input is the clipboard and some snippets that may
// refer to each other, cut at line feeds. The first unit of a snippet picks its content type.
namespace dresk {
namespace {

class FixedClock final : public Clock {
  public:
    Date now() const override { return {791551845}; }
};

void require(bool condition) {
    if (!condition)
        std::abort();
}

// The brackets are rare in random bytes, so two of ASCII stand for them.
String readable(StringView text) {
    String result(text);
    for (char16_t& unit : result)
        unit = unit == u'{' ? TokenOpening : unit == u'}' ? TokenClosing : unit;
    return result;
}

std::vector<String> linesOf(StringView text) {
    std::vector<String> lines;
    while (lines.size() < 8) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        lines.push_back(readable(text.substr(0, end)));
        if (end == text.size())
            break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

SnippetEnvironment makeEnvironment(const String& clipboard) {
    static const FixedClock clock;
    static const auto formats = std::make_shared<DateTimeFormats>(u"Europe/Berlin", u"en_US");
    SnippetEnvironment environment;
    environment.clock = &clock;
    environment.formats = formats;
    auto pasteboard = std::make_shared<InMemoryPasteboard>();
    pasteboard->setString(clipboard);
    pasteboard->setData(PasteboardType::RTF, "any");
    environment.pasteboard = std::move(pasteboard);
    environment.richTextReader = [clipboard](StringView, const std::string&) {
        return AttributedString(clipboard);
    };
    return environment;
}

void checkVariables(const SnippetExpandedContent& content) {
    for (const auto& variable : content.variables()) {
        require(variable->location() <= content.length() ||
                dynamic_cast<SnippetKeyVariable*>(variable.get()) != nullptr);
        if (const auto body = variable->toString())
            require(SnippetVariableUtils::parseVariable(*body) != nullptr);
    }
    describeSnippetExpandedContent(content);
}

void answerFields(SnippetExpandedContent& content) {
    const auto fields = content.fields();
    SnippetNumericFields numbers(u"en_US");
    numbers.onBodyOnLoad(fields);
    for (const auto& field : fields) {
        numbers.onTextInputOnChange(field->name().value_or(String()), u"3");
        if (field->isNumber())
            field->setValue(numbers.formattedValue(field->name().value_or(String())));
    }
}

void expand(const SnippetParser& parser, Snippet& snippet, const SnippetGroupArray& groups) {
    const AttributedString stored = *snippet.richTextContent();
    const AttributedString edit = SnippetVariableUtils::convertToSnippetEditContent(stored);
    require(SnippetVariableUtils::convertFromSnippetEditContent(edit) == stored);
    const auto content = parser.parseSnippet(snippet, groups);
    if (content == nullptr)
        return;
    checkVariables(*content);
    answerFields(*content);
    parser.mergeFields(*content);
    parser.processScripts(*content);
    require(content->abbreviations().empty());
    describeSnippetExpandedContent(*content);
    SnippetUtils::correctSnippetContentCase(*content, u"abC", 0);
    content->copyString();
    parser.convertOldSnippet(snippet);
}

} // namespace
} // namespace dresk

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace dresk;
    const std::vector<String> lines =
        linesOf(fromUTF8({reinterpret_cast<const char*>(data), size}));
    const SnippetParser parser(makeEnvironment(lines.front()));
    const SnippetGroupArray groups{std::make_shared<SnippetGroup>()};
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const String abbreviation(1, static_cast<char16_t>(u'a' + i - 1));
        const StringView line = lines[i];
        auto snippet = Snippet::initWithAbbreviation(
            abbreviation, String(line.substr(std::min<std::size_t>(1, line.size()))));
        snippet->setContentType(line.empty() ? 0 : line.front() % 4);
        groups[0]->addItem(std::move(snippet));
    }
    for (const auto& snippet : groups[0]->items())
        expand(parser, *snippet, groups);
    return 0;
}
