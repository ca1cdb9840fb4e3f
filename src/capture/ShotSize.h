// How large a shot of a screen is at most.
//   Units    pixels
//   Threads  any; no state                     Errors  none: every input has an answer
#pragma once

namespace capture {

struct PixelSize {
    int width = 0;
    int height = 0;
    bool operator==(const PixelSize&) const = default;
};

namespace ShotSize {

/// The longest edge of a shot.
inline constexpr int maxEdge = 2048;

/// The size scaled down so that its longer side is `edgeLimit`, keeping its shape; a size that fits already is
/// unchanged. No side falls below 1. (1, 1) for a size that is none.
[[nodiscard]] PixelSize fit(int width, int height, int edgeLimit);

} // namespace ShotSize
} // namespace capture
