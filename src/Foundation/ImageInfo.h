#pragma once

#include "Foundation/String.h"

namespace dresk {

enum class ImageFormat { Unknown, PNG, JPEG, GIF, TIFF, BMP, WebP, PDF };

/// What the first bytes of a picture say of it.
struct ImageInfo {
    ImageFormat format = ImageFormat::Unknown;
    /// Pixels, as PNG and JPEG give them; 0 where unknown.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

ImageInfo imageInfo(std::string_view bytes);

/// The customary path extension, "png" for instance; empty for an unknown format.
StringView pathExtensionOfImageFormat(ImageFormat format);

} // namespace dresk
