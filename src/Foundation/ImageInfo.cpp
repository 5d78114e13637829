#include "Foundation/ImageInfo.h"

#include <array>

namespace dresk {

namespace {

using namespace std::string_view_literals;

struct Signature {
    ImageFormat format;
    std::size_t offset;
    std::string_view bytes;
};
constexpr std::array<Signature, 8> Signatures{{{ImageFormat::PNG, 0, "\x89PNG\r\n\x1A\n"sv},
                                               {ImageFormat::JPEG, 0, "\xFF\xD8\xFF"sv},
                                               {ImageFormat::GIF, 0, "GIF8"sv},
                                               {ImageFormat::TIFF, 0, "II*\0"sv},
                                               {ImageFormat::TIFF, 0, "MM\0*"sv},
                                               {ImageFormat::WebP, 8, "WEBP"sv},
                                               {ImageFormat::PDF, 0, "%PDF-"sv},
                                               {ImageFormat::BMP, 0, "BM"sv}}};

std::uint32_t bigEndian(std::string_view bytes, std::size_t offset, std::size_t length) {
    std::uint32_t value = 0;
    for (std::size_t i = offset; i < offset + length && i < bytes.size(); ++i)
        value = value << 8 | static_cast<std::uint8_t>(bytes[i]);
    return value;
}

/// The size stands in the first frame header.
void readJPEGSize(std::string_view bytes, ImageInfo& info) {
    for (std::size_t i = 2; i + 9 < bytes.size() && bytes[i] == '\xFF';) {
        const std::uint32_t marker = bigEndian(bytes, i + 1, 1);
        if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 &&
            marker != 0xCC) {
            info.height = bigEndian(bytes, i + 5, 2);
            info.width = bigEndian(bytes, i + 7, 2);
            return;
        }
        i += marker == 0xFF ? 1 : 2 + bigEndian(bytes, i + 2, 2);
    }
}

} // namespace

ImageInfo imageInfo(std::string_view bytes) {
    ImageInfo info;
    for (const Signature& signature : Signatures)
        if (bytes.size() >= signature.offset &&
            bytes.substr(signature.offset).starts_with(signature.bytes)) {
            info.format = signature.format;
            break;
        }
    if (info.format == ImageFormat::PNG && bytes.size() >= 24) {
        info.width = bigEndian(bytes, 16, 4);
        info.height = bigEndian(bytes, 20, 4);
    } else if (info.format == ImageFormat::JPEG) {
        readJPEGSize(bytes, info);
    }
    return info;
}

StringView pathExtensionOfImageFormat(ImageFormat format) {
    switch (format) {
    case ImageFormat::PNG:
        return u"png";
    case ImageFormat::JPEG:
        return u"jpg";
    case ImageFormat::GIF:
        return u"gif";
    case ImageFormat::TIFF:
        return u"tiff";
    case ImageFormat::BMP:
        return u"bmp";
    case ImageFormat::WebP:
        return u"webp";
    case ImageFormat::PDF:
        return u"pdf";
    case ImageFormat::Unknown:
        break;
    }
    return {};
}

} // namespace dresk
