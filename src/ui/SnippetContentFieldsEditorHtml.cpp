// The page of the fields form: the text of the content with an input for each field.

#include "Foundation/AttributedStringConversion.h"
#include "Foundation/FileStorage.h"
#include "Foundation/Log.h"
#include "language/SnippetAbbreviationVariable.h"
#include "language/SnippetFieldVariable.h"
#include "store/Snippet.h"
#include "ui/SnippetContentFieldsEditorController.h"

namespace dresk {

namespace {

String escaped(StringView text) {
    String result;
    result.reserve(text.size());
    for (const char16_t unit : text) {
        switch (unit) {
        case u'&':
            result += u"&amp;";
            break;
        case u'<':
            result += u"&lt;";
            break;
        case u'>':
            result += u"&gt;";
            break;
        case u'"':
            result += u"&quot;";
            break;
        case u'\'':
            result += u"&#39;";
            break;
        default:
            result += unit;
        }
    }
    return result;
}

String escaped(const std::optional<String>& text) {
    return text.has_value() ? escaped(StringView(*text)) : String();
}

String decimal(std::int64_t number) {
    return fromUTF8(std::to_string(number));
}

String attribute(StringView name, StringView escapedValue) {
    return u" " + String(name) + u"=\"" + String(escapedValue) + u"\"";
}

const std::vector<String>& excludedTags() {
    static const std::vector<String> tags = {u"doctype", u"html", u"head", u"body", u"xml", u"p"};
    return tags;
}

/// Builds the page's text from the content, piece by piece.
class Walk {
  public:
    explicit Walk(const AttributedString& text) : text_(text) {}

    void addTextUpTo(std::uint64_t location) {
        if (location <= position_)
            return;
        html_ += htmlString(text_.attributedSubstring({position_, location - position_}),
                            excludedTags());
        position_ = location;
    }
    void addField(const SnippetFieldVariable& field) {
        html_ += SnippetContentFieldsEditorController::generateHtmlTextInput(field, fieldIndex_++);
        // Inside the source of a script this leads back, and the rest of the source shows. That is
        // meant.
        position_ = field.location();
    }
    /// The name stands for the source.
    void addScript(const SnippetAbbreviationVariable& variable) {
        const auto& snippet = variable.snippet();
        const String label = snippet == nullptr ? String() : snippet->label().value_or(String());
        html_ += u"<img src=\"Script.png\" alt=\"Script\">";
        html_ += htmlString(
            AttributedString(label.empty() ? variable.abbreviation().value_or(String()) : label,
                             variable.attributes()),
            excludedTags());
        position_ = variable.end();
    }
    String finish() {
        addTextUpTo(text_.length());
        return std::move(html_);
    }

  private:
    const AttributedString& text_;
    String html_;
    std::uint64_t position_ = 0;
    std::size_t fieldIndex_ = 0;
};

String selectOptions(StringView items) {
    String html;
    for (;;) {
        const auto end = items.find(u'\n');
        const String item = escaped(items.substr(0, end));
        html += u"<option value=\"" + item + u"\">" + item + u"</option>";
        if (end == StringView::npos)
            return html;
        items.remove_prefix(end + 1);
    }
}

/// The input itself; null for a field that shows none.
std::optional<String> inputHtml(const SnippetFieldVariable& field, std::size_t fieldIndex) {
    String attributes = u"id=\"" + decimal(static_cast<std::int64_t>(fieldIndex)) + u"\"";
    if (fieldIndex == 0)
        attributes += attribute(u"autofocus", u"autofocus");
    const String value = escaped(field.value());
    if (field.canSetReadonly() && field.isReadonly())
        return u"<span " + attributes + u" >" + value + u"</span>";

    attributes += attribute(u"placeholder", escaped(field.name()));
    attributes += attribute(u"name", escaped(field.name()));
    switch (field.type()) {
    case SnippetFieldVariable::Singleline:
        attributes += attribute(u"type", u"text");
        if (!value.empty())
            attributes += attribute(u"value", value);
        attributes += attribute(u"size", decimal(field.width()));
        return u"<input " + attributes + u" onkeypress=\"return handleKeyUpEvent(event);\" />";
    case SnippetFieldVariable::Multiline:
        attributes += attribute(u"cols", decimal(field.width()));
        attributes += attribute(u"rows", decimal(field.height()));
        return u"<textarea " + attributes + u" onkeypress=\"return handleKeyUpEventAlt(event);\">" +
               value + u"</textarea>";
    case SnippetFieldVariable::PopupMenu:
        if (value.empty())
            return std::nullopt;
        return u"<select " + attributes +
               u" onchange=\"window.SnippetController.onTextInputOnChange_(event.target.id);\""
               u" onkeyup=\"return handleKeyUpEvent(event);\"> " +
               selectOptions(*field.value()) + u" </select>";
    case SnippetFieldVariable::Number:
        attributes += attribute(u"type", u"number");
        attributes += attribute(u"onchange",
                                u"window.SnippetController.onTextInputOnChange_(event.target.id);");
        attributes += attribute(u"size", decimal(field.width()));
        return u"<input " + attributes + u" onkeypress=\"return handleKeyUpEvent(event);\" />";
    default:
        return std::nullopt;
    }
}

} // namespace

String
SnippetContentFieldsEditorController::generateHtmlTextInput(const SnippetFieldVariable& field,
                                                            std::size_t fieldIndex) {
    const auto input = inputHtml(field, fieldIndex);
    if (!field.isOptional())
        return input.value_or(String());

    const String id = u"optional" + decimal(static_cast<std::int64_t>(fieldIndex));
    String html =
        u"<input type=\"checkbox\" onchange=\"optionalFieldCheckboxOnChange(event);\" id=\"" + id +
        u"\" " + (field.isSelected() ? u"checked" : u"") + u"> <label for=\"" + id + u"\"> " +
        escaped(field.name()) + u" </label> ";
    const String colour = field.isSelected() ? u"limegreen" : u"crimson";
    const String content = input.value_or(u"(null)");
    if (field.isMultiline())
        html += u"<div style=\"background-color: " + colour + u";\"> " + content + u" </div>";
    else
        html += u"<span style=\"background-color: " + colour +
                u"; margin-top:50px; margin-bottom:50px; padding: 5px\"> " + content + u" </span>";
    return html;
}

String SnippetContentFieldsEditorController::generateHtmlWithString(
    const String& string, const Variables& variables,
    const std::filesystem::path& resourceDirectory) {
    return generateHtmlWithAttributedString(AttributedString(string), variables, resourceDirectory);
}

String SnippetContentFieldsEditorController::generateHtmlWithAttributedString(
    const AttributedString& attributedString, const Variables& variables,
    const std::filesystem::path& resourceDirectory) {
    Walk walk(attributedString);
    for (const auto& variable : variables) {
        const auto* field = dynamic_cast<const SnippetFieldVariable*>(variable.get());
        const auto* reference = dynamic_cast<const SnippetAbbreviationVariable*>(variable.get());
        if (field == nullptr && reference == nullptr)
            continue;
        walk.addTextUpTo(variable->location());
        if (field != nullptr)
            walk.addField(*field);
        else if (reference->scriptLength() > 0)
            walk.addScript(*reference);
    }
    return generateHtmlWithDivContent(walk.finish(), resourceDirectory);
}

String SnippetContentFieldsEditorController::generateHtmlWithDivContent(
    StringView divContent, const std::filesystem::path& resourceDirectory) {
    const auto path = resourceDirectory / "index.html";
    std::error_code error;
    String page = fromUTF8(readFile(path, error).value_or(std::string()));
    constexpr StringView mark = u"<div>";
    const auto at = page.find(mark);
    if (at == String::npos) {
        logLine("The fields form has no page: " + path.string() + " cannot be read.");
        return {};
    }
    return page.insert(at + mark.size(), divContent);
}

} // namespace dresk
