#include "Foundation/TextDecoder.h"

#include <unicode/ucnv.h>

namespace dresk {

namespace {

std::string converterName(unsigned codePage) {
    if (codePage == TextDecoder::MacRoman)
        return "macintosh";
    if (codePage == 65001)
        return "UTF-8";
    if (codePage < 1000 && codePage != 874 && codePage != 932 && codePage != 936 &&
        codePage != 949 && codePage != 950)
        return "ibm-" + std::to_string(codePage);
    return "windows-" + std::to_string(codePage);
}

} // namespace

struct TextDecoder::Converter {
    UConverter* handle = nullptr;

    explicit Converter(const std::string& encoding) {
        UErrorCode status = U_ZERO_ERROR;
        if (!encoding.empty()) // which would mean that of the system
            handle = ucnv_open(encoding.c_str(), &status);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() { ucnv_close(handle); }
};

TextDecoder::TextDecoder() = default;
TextDecoder::~TextDecoder() = default;

String TextDecoder::decode(std::string_view bytes, unsigned codePage) {
    auto text = decode(bytes, converterName(codePage));
    if (!text.has_value())
        text = decode(bytes, "windows-1252");
    return text.has_value() ? std::move(*text) : String(bytes.size(), u'\uFFFD');
}

std::optional<String> TextDecoder::decode(std::string_view bytes, const std::string& encoding) {
    auto& converter = converters_[encoding];
    if (converter == nullptr)
        converter = std::make_unique<Converter>(encoding);
    if (converter->handle == nullptr)
        return std::nullopt;
    if (bytes.size() > INT32_MAX / 4)
        return String(bytes.size(), u'\uFFFD');
    String text(2 * bytes.size() + 2, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t length =
        ucnv_toUChars(converter->handle, text.data(), static_cast<std::int32_t>(text.size()),
                      bytes.data(), static_cast<std::int32_t>(bytes.size()), &status);
    text.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return text;
}

} // namespace dresk
