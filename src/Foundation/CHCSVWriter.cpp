#include "Foundation/CHCSVWriter.h"

#include <algorithm>
#include <fstream>
#include <vector>

#include <unicode/ucnv.h>

namespace dresk {

void CHCSVWriter::ConverterCloser::operator()(UConverter* converter) const {
    ucnv_close(converter);
}

std::unique_ptr<CHCSVWriter>
CHCSVWriter::initForWritingToCSVFile(const std::filesystem::path& path) {
    auto stream = std::make_unique<std::ofstream>(path, std::ios::binary | std::ios::trunc);
    return std::make_unique<CHCSVWriter>(std::move(stream), "UTF-8", u',');
}

CHCSVWriter::CHCSVWriter(std::unique_ptr<std::ostream> stream, const std::string& encoding,
                         char16_t delimiter)
    : stream_(std::move(stream)), delimiter_(1, delimiter),
      illegalCharacters_(CharacterSet::newlineCharacterSet()) {
    UErrorCode status = U_ZERO_ERROR;
    converter_.reset(ucnv_open(encoding.c_str(), &status));
    illegalCharacters_.add(delimiter);
    illegalCharacters_.add(u'"');

    // What both texts share beyond their letters is the byte-order mark.
    const std::string one = encode(u"a");
    const std::size_t letterLength = encode(u"aa").size() - one.size();
    bom_ = one.substr(0, one.size() - std::min(letterLength, one.size()));
    stream_->write(bom_.data(), static_cast<std::streamsize>(bom_.size()));
}

CHCSVWriter::~CHCSVWriter() {
    closeStream();
}

std::string CHCSVWriter::encode(StringView text) const {
    if (converter_ == nullptr)
        return toUTF8(text);
    ucnv_resetFromUnicode(converter_.get());
    std::string bytes;
    char buffer[1024];
    const UChar* source = text.data();
    const UChar* const end = text.data() + text.size();
    UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
    while (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        char* target = buffer;
        ucnv_fromUnicode(converter_.get(), &target, buffer + sizeof buffer, &source, end, nullptr,
                         1, &status);
        bytes.append(buffer, target);
    }
    return bytes;
}

void CHCSVWriter::writeText(StringView text) {
    if (stream_ == nullptr)
        return;
    std::string bytes = encode(text);
    if (!bom_.empty() && bytes.starts_with(bom_))
        bytes.erase(0, bom_.size());
    stream_->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void CHCSVWriter::writeField(const std::optional<String>& field) {
    if (currentField_ > 0)
        writeText(delimiter_);
    ++currentField_;
    if (!field.has_value())
        return;
    const auto isIllegal = [this](char16_t unit) { return illegalCharacters_.contains(unit); };
    if (std::none_of(field->begin(), field->end(), isIllegal)) {
        writeText(*field);
        return;
    }
    String quoted = u"\"";
    for (const char16_t unit : *field)
        quoted.append(unit == u'"' ? 2 : 1, unit);
    quoted.push_back(u'"');
    writeText(quoted);
}

void CHCSVWriter::finishLine() {
    writeText(u"\n");
    currentField_ = 0;
}

void CHCSVWriter::finishOpenLine() {
    if (currentField_ > 0)
        finishLine();
}

void CHCSVWriter::writeLineOfFields(std::span<const std::optional<String>> fields) {
    finishOpenLine();
    for (const auto& field : fields)
        writeField(field);
    finishLine();
}

void CHCSVWriter::writeComment(StringView comment) {
    finishOpenLine();
    const CharacterSet& newlines = CharacterSet::newlineCharacterSet();
    for (;;) {
        const auto lineEnd = std::find_if(comment.begin(), comment.end(),
                                          [&](char16_t unit) { return newlines.contains(unit); });
        auto length = static_cast<std::size_t>(lineEnd - comment.begin());
        writeText(u"#" + String(comment.substr(0, length)) + u"\n");
        if (length == comment.size())
            return;
        length += comment.substr(length).starts_with(u"\r\n") ? 2 : 1;
        comment.remove_prefix(length);
    }
}

bool CHCSVWriter::closeStream() {
    if (stream_ == nullptr)
        return false;
    stream_->flush();
    const bool written = stream_->good();
    stream_.reset();
    return written;
}

} // namespace dresk
