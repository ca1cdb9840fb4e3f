// Where a block of sound belongs on the common time line of a recording, and how much silence goes before it.
//   Units    frames at `sampleRate`; seconds are doubles on the host clock
//   Threads  any; no state
//   Errors   none: every input has an answer; results beyond 2^53 frames are cut to that
#pragma once

#include <cstdint>

namespace capture::TrackTimeline {

/// A hole up to this long is ordinary jitter and stays as it is. Seconds.
inline constexpr double gapToleranceSeconds = 0.1;
/// Stamps further away from the host clock than this run on another clock. Seconds.
inline constexpr double clockDifferenceLimit = 5.0;
/// A place further ahead of the host clock than this is a broken stamp: silence up to it would fill the disk. Far
/// above what any source can be ahead of the clock or a clock can drift in a recording. Seconds.
inline constexpr double farthestAheadSeconds = 3600.0;

/// Frames of silence due before a block that begins at `expectedFrame` when `written` are in the file. 0 when the hole
/// is tolerable or there is none, else the whole hole: the track would lag by the tolerance otherwise.
[[nodiscard]] std::int64_t silenceBefore(std::int64_t expectedFrame, std::int64_t written, double sampleRate) noexcept;
/// Frames missing at the end of a track that is to be `totalSeconds` long; 0 when it is longer.
[[nodiscard]] std::int64_t tailPadding(double totalSeconds, std::int64_t written, double sampleRate) noexcept;
/// Seconds to add to a source's stamps to have them on the host clock: exactly 0 when they are there already.
[[nodiscard]] double clockOffset(double hostNow, double firstStamp) noexcept;

/// `seconds` as whole frames, to the nearest, halves away from zero; 0 for what is no number.
[[nodiscard]] std::int64_t framesIn(double seconds, double sampleRate) noexcept;
/// `place`, seconds after the start, unless it lies further ahead of `arrived`, what the host clock says, than
/// `farthestAheadSeconds`: then `arrived`.
[[nodiscard]] double plausibleSeconds(double place, double arrived) noexcept;
/// The frame where a block with this stamp begins; below 0 when it began before `startSeconds`. A stamp that is not
/// plausible counts as that of a block which begins now.
[[nodiscard]] std::int64_t expectedFrame(double stampSeconds, double offsetSeconds, double startSeconds, double hostNow,
                                         double sampleRate) noexcept;

} // namespace capture::TrackTimeline
