#include "adapter/Loudness.h"

#include <algorithm>
#include <cmath>

namespace adapter::Loudness {
namespace {

constexpr float silenceDB = -120.0F;
/// The track's noise is what this share of its frames stays below.
constexpr double noiseShare = 0.1;

} // namespace

float levelDB(std::span<const float> samples) {
    double squares = 0;
    for (const float sample : samples) {
        squares += static_cast<double>(sample) * sample;
    }
    const double mean = samples.empty() ? 0.0 : squares / static_cast<double>(samples.size());
    // A sample that is no number must not make the whole frame vanish.
    return std::isfinite(mean) ? static_cast<float>(std::max(10.0 * std::log10(mean), double{silenceDB})) : 0.0F;
}

double threshold(std::span<const float> levels) {
    if (levels.empty()) {
        return leastThresholdDB;
    }
    std::vector<float> sorted(levels.begin(), levels.end());
    const auto place =
        sorted.begin() + static_cast<std::ptrdiff_t>(noiseShare * static_cast<double>(sorted.size() - 1));
    std::ranges::nth_element(sorted, place);
    return std::clamp(*place + aboveNoiseDB, leastThresholdDB, mostThresholdDB);
}

std::vector<Range> speech(std::span<const float> levels) {
    const double limit = threshold(levels);
    const double total = frameSeconds * static_cast<double>(levels.size());
    std::vector<Range> ranges;
    for (std::size_t frame = 0; frame < levels.size(); ++frame) {
        if (levels[frame] < limit) {
            continue;
        }
        const double start = frameSeconds * static_cast<double>(frame);
        const double end = frameSeconds * static_cast<double>(frame + 1);
        if (!ranges.empty() && start - ranges.back().end <= longSilence) {
            ranges.back().end = end;
        } else {
            ranges.push_back({start, end});
        }
    }
    for (auto& range : ranges) {
        range = {std::max(range.start - padding, 0.0), std::min(range.end + padding, total)};
    }
    return ranges;
}

} // namespace adapter::Loudness
