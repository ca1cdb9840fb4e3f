// Finds clicks in a track of a recording and compares them with the moments at which they were heard.
#pragma once

#include "platform/ClickPlayer.h"

#include <filesystem>
#include <vector>

namespace platform::linux_desktop::TrackListener {

/// How far the clicks of a track lie from their place: seconds, positive: too late in the track.
struct Offsets {
    std::vector<double> seconds; ///< of each expected click that was found, in order
    std::size_t expected = 0;

    [[nodiscard]] bool allFound() const { return seconds.size() == expected; }

    [[nodiscard]] double median() const; ///< 0 when there is none
    [[nodiscard]] double worst() const;  ///< the largest, by amount
};

/// Where clicks begin in a 16-bit mono CAF. Seconds from its first frame.
[[nodiscard]] std::vector<double> clicksIn(const std::filesystem::path& track);
/// Compares with those of `clicks` that were heard between two moments; `start` is the moment of the track's first
/// frame.
[[nodiscard]] Offsets compare(const std::vector<double>& found, const Clicks& clicks, double start, double from,
                              double until);

} // namespace platform::linux_desktop::TrackListener
