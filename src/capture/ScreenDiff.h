// Whether a screen looks different enough from the last picture kept of it.
//   Data     a thumbnail is 64 x 40 bytes of gray, row by row from the top left, without padding: the whole picture
//            squeezed into that size, whatever its shape
//   Threads  any; no state                     Errors  none: a picture that can't be read is black
#pragma once

#include <QImage>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace capture::ScreenDiff {

inline constexpr int thumbWidth = 64;
inline constexpr int thumbHeight = 40;
/// A pixel counts as changed when its gray differs by more than this, of 0 to 255.
inline constexpr int pixelThreshold = 24;
/// A picture counts as changed when more than this share of its pixels has changed.
inline constexpr double changedShare = 0.03;

using Thumbnail = std::vector<std::uint8_t>;

/// Each byte is the mean gray of the pixels it stands for, every pixel counted once; a picture with fewer pixels than
/// the thumbnail has some of them counted again. Transparent parts are black.
[[nodiscard]] Thumbnail thumbnail(const QImage& picture);

/// Lists of different lengths, and empty ones, always differ.
[[nodiscard]] bool changed(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after) noexcept;

} // namespace capture::ScreenDiff
