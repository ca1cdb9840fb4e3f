// How the X server lays out the pixels of a picture.
//   Threads  any; no state
#pragma once

#include <QImage>
#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace platform::linux_desktop {

struct X11Pixels {
    int bitsPerPixel = 0;
    int scanlinePad = 0; ///< bits that a row is a multiple of
    bool nativeByteOrder = true;
    std::uint32_t redMask = 0; ///< all three are 0 where a pixel is the number of a colour
    std::uint32_t greenMask = 0;
    std::uint32_t blueMask = 0;
    bool operator==(const X11Pixels&) const = default;

    /// Bytes from one row of a picture to the next.
    [[nodiscard]] std::size_t bytesPerRow(int width) const noexcept;
    /// The format under which QImage reads such pixels in place; nullopt when it has none.
    [[nodiscard]] std::optional<QImage::Format> imageFormat() const noexcept;
};

/// Of the root window of `screen`.
[[nodiscard]] X11Pixels pixelsOf(const xcb_setup_t& setup, const xcb_screen_t& screen);

} // namespace platform::linux_desktop
