#include "Foundation/ImageInfo.h"
#include "Foundation/RTFReader.h"
#include "Foundation/StringNumbers.h"

namespace dresk {

namespace {

String trimmed(StringView text) {
    const auto isSpace = [](char16_t c) { return c == u' ' || c == u'\n' || c == u'\t'; };
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return String(text);
}

} // namespace

void RTFReader::byte(char c) {
    if (skip_ > 0) {
        --skip_;
        return;
    }
    if (attachmentFollows_ && state().destination == Destination::Text) {
        emitGraphic(); // one raw byte stands for it, in any code page
        return;
    }
    if (state().destination == Destination::Picture) {
        const int digit = hexDigitValue(c);
        if (digit >= 0 && pictureDigit_ >= 0)
            picture_.push_back(static_cast<char>(pictureDigit_ << 4 | digit));
        if (digit >= 0)
            pictureDigit_ = pictureDigit_ >= 0 ? -1 : digit;
        return;
    }
    if (state().destination != Destination::Skipped)
        pendingBytes_.push_back(c);
}

void RTFReader::unit(char16_t c) {
    flushBytes();
    if (attachmentFollows_ && c == AttachmentCharacter)
        emitGraphic();
    else
        emit(StringView(&c, 1));
}

void RTFReader::flushBytes() {
    if (pendingBytes_.empty())
        return;
    const String text = decoder_.decode(pendingBytes_, codePage());
    pendingBytes_.clear();
    emit(text);
}

unsigned RTFReader::codePage() const {
    const int number = groups_.back().font >= 0 ? groups_.back().font : defaultFont_;
    const auto font = fonts_.find(number);
    return font != fonts_.end() && font->second.codePage != 0 ? font->second.codePage
                                                              : documentCodePage_;
}

void RTFReader::emit(StringView text) {
    switch (state().destination) {
    case Destination::Skipped:
    case Destination::Picture:
        return;
    case Destination::FontTable:
    case Destination::ColorTable:
        tableText(text);
        return;
    case Destination::Instruction:
        instruction_.append(text);
        return;
    case Destination::Graphic:
        graphicName_.append(text);
        return;
    case Destination::Text:
        break;
    }
    text_.append(text);
    const AttributedString::Attributes current = attributes();
    if (!runs_.empty() && runs_.back().attributes == current)
        runs_.back().length += text.size();
    else
        runs_.push_back({text.size(), current});
}

void RTFReader::tableText(StringView text) {
    for (const char16_t c : text) {
        if (state().destination == Destination::ColorTable) {
            if (c == u';') {
                colors_.push_back(color_);
                color_.reset();
            }
        } else if (c != u';') {
            fonts_[state().font].name.push_back(c);
        }
    }
}

void RTFReader::emitGraphic() {
    attachmentFollows_ = false;
    if (graphicName_.ends_with(u' '))
        graphicName_.pop_back(); // stands between the name and the next word
    const FileWrapper* file = files_ != nullptr ? files_->child(graphicName_) : nullptr;
    if (file == nullptr) {
        emit(StringView(&AttachmentCharacter, 1));
        return;
    }
    auto attachment = std::make_shared<TextAttachment>();
    attachment->preferredFilename = file->preferredFilename;
    attachment->contents = file->contents;
    emitAttachment(std::move(attachment));
}

void RTFReader::emitAttachment(std::shared_ptr<const TextAttachment> attachment) {
    if (state().destination != Destination::Text)
        return;
    auto result = std::make_shared<TextAttributes>();
    fillAttributes(*result);
    result->attachment = std::move(attachment);
    text_.push_back(AttachmentCharacter);
    runs_.push_back({1, std::move(result)});
}

// Pictures of other kinds cannot be shown and leave no trace.
void RTFReader::endPicture() {
    const ImageFormat format = imageInfo(picture_).format;
    if (format != ImageFormat::PNG && format != ImageFormat::JPEG)
        return;
    auto attachment = std::make_shared<TextAttachment>();
    attachment->preferredFilename = String(u"image.").append(pathExtensionOfImageFormat(format));
    attachment->contents = std::move(picture_);
    picture_.clear();
    emitAttachment(std::move(attachment));
}

// The address is the first word behind the field's name, in quotes or not.
void RTFReader::endInstruction() {
    const String instruction = trimmed(instruction_);
    constexpr StringView Hyperlink = u"HYPERLINK";
    if (!StringView(instruction).starts_with(Hyperlink) || state().fieldGroup == 0 ||
        state().fieldGroup >= groups_.size())
        return;
    String address = trimmed(StringView(instruction).substr(Hyperlink.size()));
    if (address.starts_with(u'"'))
        address = address.substr(1, address.find(u'"', 1) - 1);
    else
        address = address.substr(0, address.find(u' '));
    links_.push_back(std::move(address));
    groups_[state().fieldGroup].link = links_.size() - 1;
}

AttributedString::Attributes RTFReader::attributes() {
    AttributedString::Attributes& known = knownAttributes_[state()];
    if (known == nullptr) {
        auto result = std::make_shared<TextAttributes>();
        fillAttributes(*result);
        known = std::move(result);
    }
    return known;
}

void RTFReader::fillAttributes(TextAttributes& result) const {
    const State& current = groups_.back();
    const auto font = fonts_.find(current.font >= 0 ? current.font : defaultFont_);
    TextFont& written = result.font.emplace();
    written.name = font != fonts_.end() ? trimmed(font->second.name) : String(u"Helvetica");
    written.size = current.halfPoints / 2.0;
    written.bold = current.bold;
    written.italic = current.italic;
    const auto color = [&](int index) -> std::optional<TextColor> {
        if (index < 1 || static_cast<std::size_t>(index) >= colors_.size())
            return std::nullopt;
        return colors_[static_cast<std::size_t>(index)];
    };
    result.foregroundColor = color(current.foreground);
    result.backgroundColor = color(current.background);
    result.alignment = current.alignment;
    result.headIndent = current.indent / 20.0;
    result.firstLineHeadIndent = (current.indent + current.firstLineIndent) / 20.0;
    result.underlineStyle = current.underline;
    result.strikethroughStyle = current.strikethrough;
    result.superscript = current.superscript;
    if (current.link != 0)
        result.link = links_[current.link];
}

} // namespace dresk
