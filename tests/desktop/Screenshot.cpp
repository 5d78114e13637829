#include "desktop/Screenshot.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <png.h>

#include <xcb/xcb.h>

namespace dresk {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

bool writePicture(const std::string& path, std::uint8_t* pixels, std::uint32_t width,
                  std::uint32_t height) {
    constexpr std::size_t BytesPerPixel = 4;
    // The server leaves the fourth byte of a pixel open; it is the opacity of the picture.
    for (std::size_t i = 0; i < std::size_t{width} * height; i++) {
        pixels[i * BytesPerPixel + 3] = 0xFF;
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_BGRA;
    return png_image_write_to_file(&image, path.c_str(), 0, pixels, 0, nullptr) != 0;
}

} // namespace

bool saveScreenshot(const std::string& path) {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    bool saved = false;
    if (xcb_connection_has_error(connection) == 0) {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        const std::unique_ptr<xcb_get_image_reply_t, Free> image(xcb_get_image_reply(
            connection,
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, 0,
                          screen->width_in_pixels, screen->height_in_pixels, ~0U),
            nullptr));
        saved = image != nullptr && image->depth == 24 &&
                writePicture(path, xcb_get_image_data(image.get()), screen->width_in_pixels,
                             screen->height_in_pixels);
    }
    xcb_disconnect(connection);
    return saved;
}

} // namespace dresk
