#include "platform/linux/X11Pixels.h"

#include <array>
#include <bit>

namespace platform::linux_desktop {

namespace {

struct KnownFormat {
    int bitsPerPixel;
    std::uint32_t redMask;
    std::uint32_t greenMask;
    std::uint32_t blueMask;
    QImage::Format format;
};

constexpr std::array<KnownFormat, 5> knownFormats{{
    {32, 0x00FF0000, 0x0000FF00, 0x000000FF, QImage::Format_RGB32},
    {32, 0x3FF00000, 0x000FFC00, 0x000003FF, QImage::Format_RGB30},
    {32, 0x000003FF, 0x000FFC00, 0x3FF00000, QImage::Format_BGR30},
    {16, 0x0000F800, 0x000007E0, 0x0000001F, QImage::Format_RGB16},
    {16, 0x00007C00, 0x000003E0, 0x0000001F, QImage::Format_RGB555},
}};

const xcb_visualtype_t* visualOf(const xcb_screen_t& screen) {
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths)) {
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == screen.root_visual) {
                return visuals.data;
            }
        }
    }
    return nullptr;
}

} // namespace

std::size_t X11Pixels::bytesPerRow(int width) const noexcept {
    if (scanlinePad < 1 || width < 1) {
        return 0;
    }
    const auto bits = static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel);
    const auto pad = static_cast<std::size_t>(scanlinePad);
    return (bits + pad - 1) / pad * pad / 8;
}

std::optional<QImage::Format> X11Pixels::imageFormat() const noexcept {
    if (!nativeByteOrder) {
        return std::nullopt;
    }
    for (const KnownFormat& known : knownFormats) {
        if (bitsPerPixel == known.bitsPerPixel && redMask == known.redMask && greenMask == known.greenMask &&
            blueMask == known.blueMask) {
            return known.format;
        }
    }
    return std::nullopt;
}

X11Pixels pixelsOf(const xcb_setup_t& setup, const xcb_screen_t& screen) {
    X11Pixels pixels;
    pixels.nativeByteOrder =
        (setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST) == (std::endian::native == std::endian::little);
    for (auto formats = xcb_setup_pixmap_formats_iterator(&setup); formats.rem > 0; xcb_format_next(&formats)) {
        if (formats.data->depth == screen.root_depth) {
            pixels.bitsPerPixel = formats.data->bits_per_pixel;
            pixels.scanlinePad = formats.data->scanline_pad;
        }
    }
    const auto* visual = visualOf(screen);
    const bool direct = visual != nullptr && (visual->_class == XCB_VISUAL_CLASS_TRUE_COLOR ||
                                              visual->_class == XCB_VISUAL_CLASS_DIRECT_COLOR);
    if (direct) {
        pixels.redMask = visual->red_mask;
        pixels.greenMask = visual->green_mask;
        pixels.blueMask = visual->blue_mask;
    }
    return pixels;
}

} // namespace platform::linux_desktop
