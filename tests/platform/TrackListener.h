// Finds clicks in a track of a recording and compares them with the moments at which they were heard.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace platform::linux_desktop::TrackListener {

/// How far the clicks of a track lie from their place: seconds, positive: too late in the track.
struct Offsets {
    std::vector<double> seconds; ///< of each expected click that was found, in order
    std::size_t expected = 0;

    [[nodiscard]] double median() const; ///< 0 when there is none
    [[nodiscard]] double worst() const;  ///< the largest, by amount
};

/// Where clicks begin in a 16-bit mono CAF. Seconds from its first frame.
[[nodiscard]] std::vector<double> clicksIn(const std::filesystem::path& track);
/// Compares with the moments of `heard` that lie within the track; `startSeconds` is the moment of its first frame.
[[nodiscard]] Offsets compare(const std::vector<double>& found, const std::vector<double>& heard, double startSeconds,
                              double fromSeconds, double untilSeconds);

} // namespace platform::linux_desktop::TrackListener
