#include "desktop/Screenshot.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
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

/// The display named in DISPLAY.
class Screen {
  public:
    Screen() : connection_(xcb_connect(nullptr, nullptr)) {}
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen() { xcb_disconnect(connection_); }

    /// Null when there is no display.
    const xcb_screen_t* screen() {
        if (xcb_connection_has_error(connection_) != 0)
            return nullptr;
        return xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    }
    using Image = std::unique_ptr<xcb_get_image_reply_t, Free>;
    /// Null if it has not four bytes a pixel.
    Image image(int x, int y, int width, int height) {
        Image image(xcb_get_image_reply(connection_,
                                        xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP,
                                                      screen()->root, static_cast<std::int16_t>(x),
                                                      static_cast<std::int16_t>(y),
                                                      static_cast<std::uint16_t>(width),
                                                      static_cast<std::uint16_t>(height), ~0U),
                                        nullptr));
        return image != nullptr && image->depth == 24 ? std::move(image) : nullptr;
    }

  private:
    xcb_connection_t* connection_;
};

} // namespace

bool saveScreenshot(const std::string& path) {
    Screen display;
    const xcb_screen_t* screen = display.screen();
    if (screen == nullptr)
        return false;
    const auto image = display.image(0, 0, screen->width_in_pixels, screen->height_in_pixels);
    return image != nullptr && writePicture(path, xcb_get_image_data(image.get()),
                                            screen->width_in_pixels, screen->height_in_pixels);
}

std::vector<std::uint32_t> pixelsAt(int x, int y, int width, int height) {
    constexpr std::uint32_t Colours = 0xFFFFFF;
    Screen display;
    const auto image =
        display.screen() != nullptr ? display.image(x, y, width, height) : Screen::Image();
    if (image == nullptr)
        return {};
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) *
                                      static_cast<std::size_t>(height));
    std::memcpy(pixels.data(), xcb_get_image_data(image.get()),
                pixels.size() * sizeof(std::uint32_t));
    for (std::uint32_t& pixel : pixels)
        pixel &= Colours;
    return pixels;
}

} // namespace dresk
