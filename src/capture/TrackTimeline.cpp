#include "capture/TrackTimeline.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace capture::TrackTimeline {

namespace {

/// A double is exact to the frame up to here, and sums of two such numbers stay far within 64 bits.
constexpr double mostFrames = 9007199254740992.0; // 2^53

/// `frames` where it can become a whole number, 0 where it is none.
double limited(double frames) {
    return std::isnan(frames) ? 0.0 : std::clamp(frames, -mostFrames, mostFrames);
}

std::int64_t difference(std::int64_t left, std::int64_t right) {
    std::int64_t result = 0;
    if (__builtin_sub_overflow(left, right, &result)) {
        return left < right ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    }
    return result;
}

} // namespace

std::int64_t silenceBefore(std::int64_t expectedFrame, std::int64_t written, double sampleRate) noexcept {
    const auto tolerated = static_cast<std::int64_t>(limited(sampleRate * gapToleranceSeconds));
    const std::int64_t gap = difference(expectedFrame, written);
    return gap > tolerated ? gap : 0;
}

std::int64_t tailPadding(double totalSeconds, std::int64_t written, double sampleRate) noexcept {
    return std::max<std::int64_t>(difference(framesIn(totalSeconds, sampleRate), written), 0);
}

double clockOffset(double hostNow, double firstStamp) noexcept {
    const double difference = hostNow - firstStamp;
    return std::abs(difference) > clockDifferenceLimit ? difference : 0.0;
}

std::int64_t framesIn(double seconds, double sampleRate) noexcept {
    return static_cast<std::int64_t>(limited(std::round(seconds * sampleRate)));
}

double plausibleSeconds(double place, double arrived) noexcept {
    return place > arrived + farthestAheadSeconds ? arrived : place;
}

std::int64_t expectedFrame(double stampSeconds, double offsetSeconds, double startSeconds, double hostNow,
                           double sampleRate) noexcept {
    const double place = stampSeconds + offsetSeconds - startSeconds;
    return framesIn(plausibleSeconds(place, hostNow - startSeconds), sampleRate);
}

} // namespace capture::TrackTimeline
