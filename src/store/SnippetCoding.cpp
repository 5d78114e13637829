#include "store/SnippetCoding.h"

#include <array>
#include <limits>

#include "Foundation/AttributedStringCoding.h"
#include "Foundation/CharacterSetCoding.h"
#include "Foundation/RTF.h"

namespace dresk {

namespace {

constexpr std::array<StringView, 2> SnippetClass{u"Snippet", u"NSObject"};
constexpr std::array<StringView, 2> SnippetGroupClass{u"SnippetGroup", u"NSObject"};

/// A null value where something stood that cannot be read.
template <class T>
std::optional<T> read(const ArchivedObject& object, std::optional<T> value) {
    if (!object.isNull() && !value.has_value())
        object.unarchiver().noteLoss();
    return value;
}

std::optional<String> readString(const ArchivedObject& object, StringView key) {
    const ArchivedObject text = object.object(key);
    return read(text, text.string());
}

std::optional<Date> readDate(const ArchivedObject& object, StringView key) {
    const ArchivedObject date = object.object(key);
    return read(date, date.date());
}

DRFunctionAvailability::List readList(const ArchivedObject& object, StringView key) {
    const ArchivedObject list = object.object(key);
    return read(list, list.strings());
}

std::optional<CharacterSet> readDelimiters(const ArchivedObject& object, StringView key) {
    const ArchivedObject set = object.object(key);
    return SnippetGroup::replaceNewlineCharacterByCarriageReturnCharacter(
        read(set, decodeCharacterSet(set)));
}

/// An absent key keeps what `identity` holds; a malformed text leaves null.
void readIdentity(std::optional<XCDUUID>& identity, const ArchivedObject& object) {
    if (!object.containsValue(u"UUID"))
        return;
    const auto text = object.object(u"UUID").string();
    identity = text.has_value() ? XCDUUID::initWithUUIDString(*text) : std::nullopt;
}

bool listIsWritten(std::int64_t mode, const DRFunctionAvailability::List& list) {
    return (mode == 1 || mode == 2) && list.has_value();
}

} // namespace

KeyedArchiver::UID SnippetCoding::encodeSnippet(KeyedArchiver& archiver, const Snippet& snippet) {
    return archiver.once(&snippet, [&] {
        KeyedArchiver::Object object(archiver, SnippetClass);
        object.encodeObject(archiver.addString(snippet.UUIDString()), u"UUID");
        object.encodeObject(archiver.addString(snippet.abbreviation()), u"Abbreviation");
        object.encodeObject(archiver.addStrings(snippet.aliases()), u"Aliases");
        object.encodeObject(archiver.addString(snippet.label()), u"Label");
        object.encodeInteger(snippet.contentType(), u"ContentType");
        object.encodeInteger(snippet.caseSensitivity(), u"CaseSensitivity");
        object.encodeObject(archiver.addDate(snippet.dateCreated()), u"DateCreated");
        object.encodeObject(archiver.addDate(snippet.dateModified()), u"DateModified");
        object.encodeObject(archiver.addDate(snippet.lastTimeUsed()), u"LastTimeUsed");
        object.encodeObject(archiver.addString(snippet.note()), u"Note");
        KeyedArchiver::UID content;
        if (const auto& text = snippet.richTextContent())
            content = snippet.contentType() == SnippetContentType::PlainText
                          ? archiver.addString(StringView(text->string()))
                          : encodeAttributedString(archiver, *text);
        object.encodeObject(content, u"Content");
        return object.finish();
    });
}

KeyedArchiver::UID SnippetCoding::encodeSnippetGroup(KeyedArchiver& archiver,
                                                     const SnippetGroup& group) {
    return archiver.once(&group, [&] {
        KeyedArchiver::Object object(archiver, SnippetGroupClass);
        object.encodeObject(archiver.addString(group.UUIDString()), u"UUID");
        object.encodeObject(archiver.addDate(group.dateCreated()), u"DateCreated");
        object.encodeObject(archiver.addString(group.name()), u"Name");
        if (!group.excludeItemsWhenEncoding()) {
            std::vector<KeyedArchiver::UID> items;
            items.reserve(group.items().size());
            for (const auto& item : group.items())
                items.push_back(encodeSnippet(archiver, *item));
            object.encodeObject(archiver.addArray(items, KeyedArchiver::Mutability::Mutable),
                                u"Items");
        }
        object.encodeInteger(group.expandAfter(), u"ExpandAfter");
        if (group.expandAfterDelimiters().has_value())
            object.encodeObject(encodeCharacterSet(archiver, *group.expandAfterDelimiters()),
                                u"ExpandAfterDelimiters");
        object.encodeInteger(group.expandTrigger(), u"ExpandTrigger");
        if (group.delimiters().has_value())
            object.encodeObject(encodeCharacterSet(archiver, *group.delimiters()), u"Delimiters");
        object.encodeInteger(group.caseSensitivity(), u"CaseSensitivity");
        object.encodeBool(group.showInMenuBar(), u"ShowInMenuBar");
        object.encodeBool(group.showInMenuBarAtFirstLevel(), u"ShowInMenuBarAtFirstLevel");
        object.encodeBool(group.suggestAbbreviations(), u"SuggestAbbreviations");
        if (group.abbreviationPrefix().has_value())
            object.encodeObject(archiver.addString(group.abbreviationPrefix()),
                                u"AbbreviationPrefix");
        const DRFunctionAvailability& rule = group.availability();
        object.encodeInteger(rule.availability(), u"EnabledIn");
        if (listIsWritten(rule.availability(), rule.applications()))
            object.encodeObject(archiver.addStrings(rule.applications()), u"Applications");
        object.encodeInteger(rule.inputMethodsOption(), u"InputMethodsOption");
        if (listIsWritten(rule.inputMethodsOption(), rule.inputMethods()))
            object.encodeObject(archiver.addStrings(rule.inputMethods()), u"InputMethods");
        object.encodeBool(group.resetFormatting(), u"ResetFormatting");
        return object.finish();
    });
}

std::shared_ptr<Snippet> SnippetCoding::decodeSnippet(const ArchivedObject& object,
                                                      const Clock& clock) {
    if (!object.isKindOfClass(u"Snippet"))
        return nullptr;
    return object.unarchiver().once<Snippet>(object, [&] {
        auto snippet = std::make_shared<Snippet>(clock);
        readSnippet(*snippet, object);
        return snippet;
    });
}

void SnippetCoding::readSnippet(Snippet& snippet, const ArchivedObject& object) {
    snippet.initialized_ = false; // so that no setter moves the date of modification
    readIdentity(snippet.uuid_, object);
    snippet.setAbbreviation(readString(object, u"Abbreviation"));
    const ArchivedObject aliases = object.object(u"Aliases");
    snippet.setAliases(read(aliases, aliases.strings()));
    snippet.setLabel(readString(object, u"Label"));
    snippet.setContentType(object.integer(u"ContentType"));
    snippet.caseSensitivity_ = object.integer(u"CaseSensitivity");
    readContent(snippet, object.object(u"Content"));
    snippet.dateCreated_ = readDate(object, u"DateCreated");
    snippet.dateModified_ = readDate(object, u"DateModified");
    const auto lastTimeUsed = readDate(object, u"LastTimeUsed");
    snippet.lastTimeUsed_ =
        lastTimeUsed.has_value() ? lastTimeUsed->seconds : std::numeric_limits<double>::quiet_NaN();
    snippet.setNote(readString(object, u"Note"));
    snippet.initialized_ = true;
}

void SnippetCoding::readContent(Snippet& snippet, const ArchivedObject& content) {
    if (const auto bytes = content.bytes())
        snippet.richTextContent_ = read(content, attributedStringWithRTFD(*bytes));
    else if (const auto text = content.string())
        snippet.richTextContent_ = AttributedString(*text);
    else
        snippet.richTextContent_ = read(content, decodeAttributedString(content));
}

std::shared_ptr<SnippetGroup> SnippetCoding::decodeSnippetGroup(const ArchivedObject& object,
                                                                const Clock& clock) {
    if (!object.isKindOfClass(u"SnippetGroup"))
        return nullptr;
    return object.unarchiver().once<SnippetGroup>(object, [&] {
        auto group = std::make_shared<SnippetGroup>(clock);
        readSnippetGroup(*group, object, clock);
        return group;
    });
}

void SnippetCoding::readSnippetGroup(SnippetGroup& group, const ArchivedObject& object,
                                     const Clock& clock) {
    readIdentity(group.uuid_, object);
    if (const auto date = readDate(object, u"DateCreated"))
        group.dateCreated_ = *date;
    group.setName(readString(object, u"Name"));
    readItems(group, object.object(u"Items"), clock);
    group.setExpandAfter(static_cast<std::int32_t>(object.integer(u"ExpandAfter")));
    group.setExpandAfterDelimiters(readDelimiters(object, u"ExpandAfterDelimiters"));
    group.setExpandTrigger(static_cast<std::int32_t>(object.integer(u"ExpandTrigger")));
    group.setDelimiters(readDelimiters(object, u"Delimiters"));
    group.setCaseSensitivity(object.integer(u"CaseSensitivity"));
    if (object.containsValue(u"ShowInMenuBar"))
        group.setShowInMenuBar(object.boolean(u"ShowInMenuBar"));
    if (object.containsValue(u"ShowInMenuBarAtFirstLevel"))
        group.setShowInMenuBarAtFirstLevel(object.boolean(u"ShowInMenuBarAtFirstLevel"));
    // Meant so: an archive without the key gives false, although a new group starts with true.
    group.setSuggestAbbreviations(object.boolean(u"SuggestAbbreviations"));
    group.setAbbreviationPrefix(readString(object, u"AbbreviationPrefix"));
    DRFunctionAvailability& rule = group.availability();
    rule.setAvailability(object.integer(u"EnabledIn"));
    rule.setApplications(readList(object, u"Applications"));
    rule.setInputMethodsOption(object.integer(u"InputMethodsOption"));
    rule.setInputMethods(readList(object, u"InputMethods"));
    group.setResetFormatting(object.boolean(u"ResetFormatting"));
}

void SnippetCoding::readItems(SnippetGroup& group, const ArchivedObject& items,
                              const Clock& clock) {
    const auto elements = read(items, items.array());
    if (!elements.has_value())
        return;
    SnippetGroup::Items snippets;
    snippets.reserve(elements->size());
    for (const ArchivedObject& element : *elements) {
        if (auto snippet = decodeSnippet(element, clock))
            snippets.push_back(std::move(snippet));
        else
            items.unarchiver().noteLoss();
    }
    group.setItems(std::move(snippets));
}

} // namespace dresk
