#include "capture/ShotSize.h"

#include <algorithm>
#include <cmath>

namespace capture::ShotSize {

PixelSize fit(int width, int height, int edgeLimit) {
    if (width < 1 || height < 1) {
        return {.width = 1, .height = 1};
    }
    const int longest = std::max(width, height);
    if (edgeLimit >= longest) {
        return {.width = width, .height = height};
    }
    const double scale = static_cast<double>(edgeLimit) / static_cast<double>(longest);
    const auto scaled = [scale](int side) { return std::max(static_cast<int>(std::round(side * scale)), 1); };
    return {.width = scaled(width), .height = scaled(height)};
}

} // namespace capture::ShotSize
