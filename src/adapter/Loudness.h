// Where in a track somebody may be speaking, and where there is only a long silence.
//   Units    seconds; decibels relative to full scale
//   Threads  any; pure
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace adapter {

/// A stretch of a track.
struct Range {
    double start = 0;
    double end = 0;
    bool operator==(const Range&) const = default;

    [[nodiscard]] double length() const { return end - start; }
};

namespace Loudness {

inline constexpr double frameSeconds = 0.02;
/// Only a silence longer than this is cut. Seconds.
inline constexpr double longSilence = 2.0;
/// What stays of it on either side, so that no soft beginning or end of a word is lost. Seconds.
inline constexpr double padding = 0.5;
/// Sound counts from so much above the track's own noise on.
inline constexpr double aboveNoiseDB = 8.0;
/// Bounds of that threshold: below the first there is nothing to understand; what is above the second is never cut,
/// however loud the noise is.
inline constexpr double leastThresholdDB = -60.0;
inline constexpr double mostThresholdDB = -38.0;

/// The level of one frame of samples.
[[nodiscard]] float levelDB(std::span<const float> samples);
/// From what level on a frame of this track counts as sound.
[[nodiscard]] double threshold(std::span<const float> levels);
/// The stretches to keep of a track with these levels, one per frame: in order, apart, each at least a frame long.
[[nodiscard]] std::vector<Range> speech(std::span<const float> levels);

} // namespace Loudness
} // namespace adapter
