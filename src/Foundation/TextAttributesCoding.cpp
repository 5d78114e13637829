#include <array>
#include <charconv>
#include <cmath>

#include "Foundation/AttributedStringCoding.h"
#include "Foundation/FileWrapper.h"

namespace dresk {

namespace {

using UID = KeyedArchiver::UID;

constexpr std::array<StringView, 2> FontClass{u"NSFont", u"NSObject"};
constexpr std::array<StringView, 2> ColorClass{u"NSColor", u"NSObject"};
constexpr std::array<StringView, 2> ParagraphStyleClass{u"NSParagraphStyle", u"NSObject"};
constexpr std::array<StringView, 2> URLClass{u"NSURL", u"NSObject"};
constexpr std::array<StringView, 2> AttachmentClass{u"NSTextAttachment", u"NSObject"};
constexpr std::array<StringView, 2> FileWrapperClass{u"NSFileWrapper", u"NSObject"};

constexpr std::int64_t CalibratedWhite = 3;
constexpr std::int64_t DeviceWhite = 4;
constexpr std::int64_t CatalogColor = 6;
constexpr std::int64_t FontFlags = 16;
constexpr unsigned MaximumColorDepth = 4;

std::optional<TextFont> decodeFont(const ArchivedObject& object) {
    auto name = object.object(u"NSName").string();
    if (!object.isKindOfClass(u"NSFont") || !name.has_value())
        return std::nullopt;
    TextFont font;
    font.bold = fontNameIsBold(*name);
    font.italic = fontNameIsItalic(*name);
    font.name = std::move(*name);
    font.size = object.real(u"NSSize");
    return font;
}

/// Up to four numbers, separated by blanks, with or without a closing zero byte.
std::vector<double> components(const ArchivedObject& object) {
    std::string text = object.bytes().value_or(std::string());
    if (auto written = object.string())
        text = toUTF8(*written);
    std::vector<double> numbers;
    const char* position = text.data();
    const char* end = position + text.size();
    while (position < end && numbers.size() < 4) {
        double number = 0;
        const auto [next, error] = std::from_chars(position, end, number);
        if (error == std::errc())
            numbers.push_back(number);
        position = error == std::errc() ? next : position + 1;
    }
    return numbers;
}

std::optional<TextColor> decodeColor(const ArchivedObject& object, unsigned depth = 0) {
    if (!object.isKindOfClass(u"NSColor") || depth > MaximumColorDepth)
        return std::nullopt;
    const std::int64_t space = object.integer(u"NSColorSpace");
    if (space == CatalogColor) {
        // A named colour usually carries its value; the names without one are text in black.
        const ArchivedObject value = object.object(u"NSColor");
        return value.isNull() ? TextColor() : decodeColor(value, depth + 1).value_or(TextColor());
    }
    if (space == CalibratedWhite || space == DeviceWhite) {
        const std::vector<double> numbers = components(object.object(u"NSWhite"));
        if (numbers.empty())
            return std::nullopt;
        return TextColor{numbers[0], numbers[0], numbers[0], numbers.size() > 1 ? numbers[1] : 1.0};
    }
    const std::vector<double> numbers = components(object.object(u"NSRGB"));
    if (numbers.size() < 3)
        return std::nullopt;
    return TextColor{numbers[0], numbers[1], numbers[2], numbers.size() > 3 ? numbers[3] : 1.0};
}

/// The address, if nothing but its text matters.
std::optional<String> decodeLink(const ArchivedObject& object) {
    if (object.isKindOfClass(u"NSURL"))
        return object.object(u"NS.base").isNull() ? object.object(u"NS.relative").string()
                                                  : std::nullopt;
    return object.string();
}

std::optional<TextAttachment> decodeAttachment(const ArchivedObject& object) {
    if (!object.isKindOfClass(u"NSTextAttachment"))
        return std::nullopt;
    TextAttachment attachment;
    const auto flat = object.object(u"NSFileWrapper").object(u"NSFileWrapperData").bytes();
    if (flat.has_value())
        if (auto wrapper = FileWrapper::fileWrapperWithSerializedRepresentation(*flat)) {
            attachment.preferredFilename = std::move(wrapper->preferredFilename);
            attachment.contents = std::move(wrapper->contents);
        }
    return attachment;
}

double points(const ArchivedObject& object, StringView key) {
    const double value = object.real(key);
    return std::isfinite(value) ? value : 0;
}

struct NumberAttribute {
    StringView name;
    std::int64_t TextAttributes::*member;
};
constexpr std::array<NumberAttribute, 3> NumberAttributes{
    {{u"NSUnderline", &TextAttributes::underlineStyle},
     {u"NSStrikethrough", &TextAttributes::strikethroughStyle},
     {u"NSSuperScript", &TextAttributes::superscript}}};

/// Decodes one attribute; false leaves it to be kept as it is.
bool decodeAttribute(TextAttributes& attributes, StringView name, const ArchivedObject& value) {
    if (name == u"NSFont") {
        if ((attributes.font = decodeFont(value)).has_value())
            attributes.font->archived = value.archived();
        return attributes.font.has_value();
    }
    if (name == u"NSColor" || name == u"NSBackgroundColor") {
        auto& color = name == u"NSColor" ? attributes.foregroundColor : attributes.backgroundColor;
        if ((color = decodeColor(value)).has_value())
            color->archived = value.archived();
        return color.has_value();
    }
    if (name == u"NSParagraphStyle" && value.isKindOfClass(u"NSParagraphStyle")) {
        const std::int64_t alignment =
            value.containsValue(u"NSAlignment") ? value.integer(u"NSAlignment") : 4;
        attributes.alignment = alignment >= 0 && alignment <= 4
                                   ? static_cast<TextAlignment>(alignment)
                                   : TextAlignment::Natural;
        attributes.firstLineHeadIndent = points(value, u"NSFirstLineHeadIndent");
        attributes.headIndent = points(value, u"NSHeadIndent");
        attributes.paragraphStyle = value.archived();
        return true;
    }
    for (const NumberAttribute& number : NumberAttributes)
        if (name == number.name && value.integer().has_value()) {
            attributes.*number.member = *value.integer();
            return *value.integer() != 0;
        }
    if (name == u"NSLink")
        return (attributes.link = decodeLink(value)).has_value();
    if (name == u"NSToolTip")
        return (attributes.toolTip = value.string()).has_value();
    if (name == u"NSAttachment") {
        attributes.attachment = value.unarchiver().once<TextAttachment>(value, [&] {
            std::shared_ptr<TextAttachment> result;
            if (auto attachment = decodeAttachment(value)) {
                attachment->archived = value.archived();
                result = std::make_shared<TextAttachment>(std::move(*attachment));
            }
            return result;
        });
        return attributes.attachment != nullptr;
    }
    return false;
}

/// Whether what was read still says the same as the value in memory.
template <class Value, class Decode>
bool isUnchanged(const Value& value, Decode decode) {
    if (!value.archived)
        return false;
    KeyedUnarchiver unarchiver(*value.archived.graph());
    auto read = decode(unarchiver.objectWithNumber(value.archived.index()));
    if (!read.has_value())
        return false;
    read->archived = value.archived;
    return *read == value;
}

UID encodeFont(KeyedArchiver& archiver, const TextFont& font) {
    if (isUnchanged(font, decodeFont))
        return archiver.addArchived(font.archived);
    // The name alone carries the style in the archive.
    String name = font.name;
    const bool addBold = font.bold && !fontNameIsBold(name);
    const bool addItalic = font.italic && !fontNameIsItalic(name);
    if ((addBold || addItalic) && name.find(u'-') == String::npos)
        name.push_back(u'-');
    if (addBold)
        name.append(u"Bold");
    if (addItalic)
        name.append(u"Italic");
    KeyedArchiver::Object object(archiver, FontClass);
    object.encodeReal(font.size, u"NSSize");
    object.encodeInteger(FontFlags, u"NSfFlags");
    object.encodeObject(archiver.addString(StringView(name)), u"NSName");
    return object.finish();
}

void appendComponent(std::string& text, double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    if (!text.empty())
        text.push_back(' ');
    text.append(buffer, result.ptr);
}

UID encodeColor(KeyedArchiver& archiver, const TextColor& color) {
    if (isUnchanged(color, [](const ArchivedObject& object) { return decodeColor(object); }))
        return archiver.addArchived(color.archived);
    std::string text;
    appendComponent(text, color.red);
    appendComponent(text, color.green);
    appendComponent(text, color.blue);
    if (color.alpha != 1)
        appendComponent(text, color.alpha);
    text.push_back('\0');
    KeyedArchiver::Object object(archiver, ColorClass);
    object.encodeInteger(1, u"NSColorSpace");
    object.encodeValue(PropertyList(std::move(text)), u"NSRGB");
    return object.finish();
}

UID encodeParagraphStyle(KeyedArchiver& archiver, const TextAttributes& attributes) {
    const TextAlignment alignment = attributes.alignment.value_or(TextAlignment::Natural);
    const PropertyList value = alignment == TextAlignment::Natural
                                   ? PropertyList()
                                   : PropertyList(static_cast<std::int64_t>(alignment));
    const auto indent = [](double points) {
        return points == 0 ? PropertyList() : PropertyList(points);
    };
    const PropertyList firstLine = indent(attributes.firstLineHeadIndent);
    const PropertyList head = indent(attributes.headIndent);
    if (attributes.paragraphStyle) {
        const ArchivedValue& style = attributes.paragraphStyle;
        KeyedUnarchiver unarchiver(*style.graph());
        const ArchivedObject object = unarchiver.objectWithNumber(style.index());
        const std::int64_t written =
            object.containsValue(u"NSAlignment") ? object.integer(u"NSAlignment") : 4;
        if (written == static_cast<std::int64_t>(alignment) &&
            points(object, u"NSFirstLineHeadIndent") == attributes.firstLineHeadIndent &&
            points(object, u"NSHeadIndent") == attributes.headIndent)
            return archiver.addArchived(style);
        return archiver.addArchived(style, {{StringView(u"NSAlignment"), value},
                                            {StringView(u"NSFirstLineHeadIndent"), firstLine},
                                            {StringView(u"NSHeadIndent"), head}});
    }
    KeyedArchiver::Object object(archiver, ParagraphStyleClass);
    if (!value.isNull())
        object.encodeValue(value, u"NSAlignment");
    if (!firstLine.isNull())
        object.encodeValue(firstLine, u"NSFirstLineHeadIndent");
    if (!head.isNull())
        object.encodeValue(head, u"NSHeadIndent");
    return object.finish();
}

UID encodeLink(KeyedArchiver& archiver, const String& link) {
    KeyedArchiver::Object object(archiver, URLClass);
    object.encodeObject({}, u"NS.base");
    object.encodeObject(archiver.addString(StringView(link)), u"NS.relative");
    return object.finish();
}

UID encodeAttachment(KeyedArchiver& archiver, const TextAttachment& attachment) {
    if (isUnchanged(attachment, decodeAttachment))
        return archiver.addArchived(attachment.archived);
    FileWrapper file;
    file.preferredFilename = attachment.preferredFilename;
    file.contents = attachment.contents;
    KeyedArchiver::Object object(archiver, AttachmentClass);
    KeyedArchiver::Object wrapper(archiver, FileWrapperClass);
    wrapper.encodeObject(archiver.addBytes(file.serializedRepresentation()), u"NSFileWrapperData");
    object.encodeObject(wrapper.finish(), u"NSFileWrapper");
    return object.finish();
}

std::vector<std::pair<UID, UID>> encodeMembers(KeyedArchiver& archiver,
                                               const TextAttributes& attributes) {
    std::vector<std::pair<UID, UID>> members;
    const auto add = [&](StringView name, UID value) {
        members.emplace_back(archiver.addName(name), value);
    };
    if (attributes.font.has_value())
        add(u"NSFont", encodeFont(archiver, *attributes.font));
    if (attributes.foregroundColor.has_value())
        add(u"NSColor", encodeColor(archiver, *attributes.foregroundColor));
    if (attributes.backgroundColor.has_value())
        add(u"NSBackgroundColor", encodeColor(archiver, *attributes.backgroundColor));
    if (attributes.alignment.has_value() || attributes.paragraphStyle ||
        attributes.firstLineHeadIndent != 0 || attributes.headIndent != 0)
        add(u"NSParagraphStyle", encodeParagraphStyle(archiver, attributes));
    for (const NumberAttribute& number : NumberAttributes)
        if (attributes.*number.member != 0)
            add(number.name, archiver.addInteger(attributes.*number.member));
    if (attributes.link.has_value())
        add(u"NSLink", encodeLink(archiver, *attributes.link));
    if (attributes.toolTip.has_value())
        add(u"NSToolTip", archiver.addString(attributes.toolTip));
    if (attributes.attachment != nullptr)
        add(u"NSAttachment", archiver.once(attributes.attachment.get(), [&] {
            return encodeAttachment(archiver, *attributes.attachment);
        }));
    for (const auto& [name, value] : attributes.others)
        add(name, archiver.addArchived(value));
    return members;
}

} // namespace

bool fontNameIsBold(StringView name) {
    for (const StringView word : {u"Bold", u"bold", u"Heavy", u"Black"})
        if (name.find(word) != StringView::npos)
            return true;
    return false;
}

bool fontNameIsItalic(StringView name) {
    return name.find(u"Italic") != StringView::npos || name.find(u"Oblique") != StringView::npos;
}

KeyedArchiver::UID encodeTextAttributes(KeyedArchiver& archiver,
                                        const AttributedString::Attributes& attributes) {
    return archiver.once(attributes.get(), [&] {
        return archiver.addDictionary(attributes != nullptr ? encodeMembers(archiver, *attributes)
                                                            : std::vector<std::pair<UID, UID>>(),
                                      KeyedArchiver::Mutability::Immutable);
    });
}

std::shared_ptr<TextAttributes> decodeTextAttributes(const ArchivedObject& dictionary) {
    if (dictionary.isNull())
        return nullptr;
    return dictionary.unarchiver().once<TextAttributes>(dictionary, [&] {
        std::shared_ptr<TextAttributes> result;
        const auto entries = dictionary.dictionary();
        if (!entries.has_value() || entries->empty())
            return result;
        result = std::make_shared<TextAttributes>();
        for (const auto& [key, value] : *entries) {
            auto name = key.string();
            if (!name.has_value() || value.isNull())
                continue;
            if (!decodeAttribute(*result, *name, value))
                result->others.emplace(std::move(*name), value.archived());
        }
        return result;
    });
}

} // namespace dresk
