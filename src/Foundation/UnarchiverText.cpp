#include <map>

#include "Foundation/AttributedStringCoding.h"
#include "Foundation/FileWrapper.h"
#include "Foundation/Unarchiver.h"

namespace dresk {

namespace {

using Value = Unarchiver::Value;

const Value* member(const Unarchiver::Object* object, std::size_t index) {
    return object != nullptr && index < object->values.size() ? &object->values[index] : nullptr;
}

std::optional<double> numberAt(const Unarchiver& archive, const Unarchiver::Object* object,
                               std::size_t index) {
    const Value* value = member(object, index);
    return value != nullptr ? archive.number(*value) : std::nullopt;
}

/// The name stands as UTF-16 behind a byte order mark, or as plain characters.
String fontName(const std::string& bytes) {
    const std::size_t mark = bytes.find("\xFF\xFE");
    String name;
    if (mark == std::string::npos) {
        for (const char c : bytes)
            if (static_cast<std::uint8_t>(c) > 0x20)
                name.push_back(static_cast<std::uint8_t>(c));
        return name;
    }
    for (std::size_t i = mark + 2; i + 1 < bytes.size(); i += 2) {
        const auto unit = static_cast<char16_t>(static_cast<std::uint8_t>(bytes[i]) |
                                                static_cast<std::uint8_t>(bytes[i + 1]) << 8);
        if (unit == 0)
            break;
        name.push_back(unit);
    }
    return name;
}

std::optional<TextFont> font(const Unarchiver& archive, const Unarchiver::Object* object) {
    const Value* name = member(object, 0);
    const auto* bytes = name != nullptr ? std::get_if<std::string>(&name->content) : nullptr;
    if (bytes == nullptr)
        return std::nullopt;
    TextFont result;
    result.name = fontName(*bytes);
    result.size = numberAt(archive, object, 1).value_or(12);
    result.bold = fontNameIsBold(result.name);
    result.italic = fontNameIsItalic(result.name);
    return result;
}

std::optional<TextColor> color(const Unarchiver& archive, const Unarchiver::Object* object) {
    const auto space = numberAt(archive, object, 0);
    const auto first = numberAt(archive, object, 1);
    if (!space.has_value() || !first.has_value())
        return std::nullopt;
    if (*space == 3 || *space == 4)
        return TextColor{*first, *first, *first, numberAt(archive, object, 2).value_or(1)};
    const auto green = numberAt(archive, object, 2);
    const auto blue = numberAt(archive, object, 3);
    if (!green.has_value() || !blue.has_value())
        return std::nullopt;
    return TextColor{*first, *green, *blue, numberAt(archive, object, 4).value_or(1)};
}

std::shared_ptr<const TextAttachment> attachment(const Unarchiver& archive,
                                                 const Unarchiver::Object& object) {
    for (const Value& part : object.values) {
        const Unarchiver::Object* holder = archive.object(part);
        const Value* data = member(holder, 0);
        const auto flat = data != nullptr ? archive.bytes(*data) : std::nullopt;
        if (!flat.has_value())
            continue;
        auto file = FileWrapper::fileWrapperWithSerializedRepresentation(*flat);
        if (!file.has_value())
            continue;
        auto result = std::make_shared<TextAttachment>();
        result->preferredFilename = std::move(file->preferredFilename);
        result->contents = std::move(file->contents);
        return result;
    }
    return nullptr;
}

std::optional<String> link(const Unarchiver& archive, const Value& value) {
    if (auto text = archive.string(value))
        return text;
    if (const Unarchiver::Object* url = archive.object(value))
        for (const Value& part : url->values)
            if (auto text = archive.string(part))
                return text;
    return std::nullopt;
}

/// Reads one text. Dictionaries and attachments that the archive shares are read once, so that a
/// small archive cannot unfold to a large text.
class TextReader {
  public:
    explicit TextReader(const Unarchiver& archive) : archive_(archive) {}

    /// Behind the string come, run by run, the number of its attributes and its length; the
    /// attributes themselves follow where a number is new.
    AttributedString read(const Unarchiver::Object& object) {
        const auto& values = object.values;
        String characters;
        if (!values.empty())
            characters = archive_.string(values.front()).value_or(String());
        std::map<std::int64_t, AttributedString::Attributes> known;
        std::vector<AttributedString::Run> runs;
        for (std::size_t i = 1; i + 1 < values.size(); i += 2) {
            const auto* number = std::get_if<std::int64_t>(&values[i].content);
            const auto* length = std::get_if<std::int64_t>(&values[i + 1].content);
            if (number == nullptr || length == nullptr || *length < 0)
                break;
            if (known.count(*number) == 0 && i + 2 < values.size() &&
                std::holds_alternative<Unarchiver::Reference>(values[i + 2].content)) {
                known[*number] = attributes(values[i + 2]);
                ++i;
            }
            const auto found = known.find(*number);
            runs.push_back({static_cast<std::uint64_t>(*length),
                            found != known.end() ? found->second : nullptr});
        }
        return AttributedString(std::move(characters), std::move(runs));
    }

  private:
    AttributedString::Attributes attributes(const Value& value) {
        const Unarchiver::Object* object = archive_.object(value);
        const auto [known, isNew] = attributes_.try_emplace(object);
        if (!isNew)
            return known->second;
        const auto entries = archive_.dictionary(value);
        if (entries.has_value() && !entries->empty()) {
            auto result = std::make_shared<TextAttributes>();
            for (const auto& [key, entry] : *entries)
                readAttribute(*result, archive_.string(key).value_or(String()), entry);
            known->second = std::move(result);
        }
        return known->second;
    }

    void readAttribute(TextAttributes& result, StringView name, const Value& value) {
        const Unarchiver::Object* object = archive_.object(value);
        if (name == u"NSFont") {
            result.font = font(archive_, object);
        } else if (name == u"NSColor") {
            result.foregroundColor = color(archive_, object);
        } else if (name == u"NSBackgroundColor") {
            result.backgroundColor = color(archive_, object);
        } else if (name == u"NSUnderline") {
            result.underlineStyle = archive_.number(value).value_or(0) != 0 ? 1 : 0;
        } else if (name == u"NSStrikethrough") {
            result.strikethroughStyle = archive_.number(value).value_or(0) != 0 ? 1 : 0;
        } else if (name == u"NSSuperScript") {
            const double steps = archive_.number(value).value_or(0);
            result.superscript = steps > 0 ? 1 : steps < 0 ? -1 : 0;
        } else if (name == u"NSLink") {
            result.link = link(archive_, value);
        } else if (name == u"NSToolTip") {
            result.toolTip = archive_.string(value);
        } else if (name == u"NSAttachment" && object != nullptr) {
            const auto [known, isNew] = attachments_.try_emplace(object);
            if (isNew)
                known->second = attachment(archive_, *object);
            result.attachment = known->second;
        } else if (name == u"NSParagraphStyle") {
            const double alignment = numberAt(archive_, object, 0).value_or(4);
            if (alignment >= 0 && alignment <= 4)
                result.alignment = static_cast<TextAlignment>(static_cast<int>(alignment));
        }
    }

    const Unarchiver& archive_;
    std::map<const Unarchiver::Object*, AttributedString::Attributes> attributes_;
    std::map<const Unarchiver::Object*, std::shared_ptr<const TextAttachment>> attachments_;
};

} // namespace

std::optional<AttributedString> Unarchiver::attributedString() const {
    for (const Value& value : values_)
        if (isKind(value, "NSAttributedString"))
            return TextReader(*this).read(*object(value));
    return std::nullopt;
}

} // namespace dresk
