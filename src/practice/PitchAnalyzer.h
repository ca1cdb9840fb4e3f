// How much a voice moves: from a recording to the numbers behind "pitch variety".
//   Units    Hz; semitones are 12 * log2 of a ratio; seconds from the start of the recording
//   Threads  any; no state
//   Errors   what can't be read gives nullopt; silence gives numbers without a pitch
#pragma once

#include "ai/Transcript.h"
#include "base/Files.h"
#include "practice/PitchFrame.h"
#include "practice/PitchStats.h"

#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace practice::PitchAnalyzer {

inline constexpr double sampleRate = 16000.0;    ///< Hz, of everything here
inline constexpr std::size_t windowLength = 640; ///< samples
inline constexpr std::size_t hopLength = 160;    ///< samples from one frame to the next
inline constexpr double hopSeconds = static_cast<double>(hopLength) / sampleRate;
inline constexpr double minHz = 75.0;
inline constexpr double maxHz = 400.0;
inline constexpr std::size_t minLag = 40;  ///< sampleRate / maxHz
inline constexpr std::size_t maxLag = 214; ///< sampleRate / minHz, rounded up
inline constexpr double yinThreshold = 0.15;
inline constexpr float absoluteFloorRMS = 0.002F;
inline constexpr float relativeFloorDB = 35.0F;
inline constexpr double octaveJumpSemitones = 9.0;
inline constexpr int neighbourFrames = 25; ///< to each side

/// The numbers of a recording; decodes and tracks side by side, without holding the samples.
[[nodiscard]] std::optional<PitchStats> analyze(const base::fs::path& file,
                                                const std::vector<ai::Transcript::Segment>& segments);
/// The whole recording as mono floats at `sampleRate`.
[[nodiscard]] std::optional<std::vector<float>> readMono(const base::fs::path& file);
[[nodiscard]] std::vector<Frame> track(std::span<const float> samples);
/// `duration` in seconds; the times of `frames` ascend.
[[nodiscard]] PitchStats stats(const std::vector<Frame>& frames, double duration,
                               const std::vector<ai::Transcript::Segment>& segments);

/// The curve: a stretch for each 30 seconds begun, from values at ascending times.
[[nodiscard]] std::vector<PitchStats::Window> windows(const std::vector<double>& times,
                                                      const std::vector<double>& values, double duration);
/// What was said in a stretch where the voice moved least: the text and its segment's start.
[[nodiscard]] std::optional<std::pair<QString, double>> sentence(const PitchStats::Window& window,
                                                                 const std::vector<ai::Transcript::Segment>& segments,
                                                                 const std::vector<double>& times,
                                                                 const std::vector<double>& values);

[[nodiscard]] double semitones(double hz, double reference);
/// The mean of the two middle values for an even count; nullopt for none.
[[nodiscard]] std::optional<double> median(std::vector<double> values);
/// Of ascending values, by linear interpolation; 0 for none. `q` from 0 to 1.
[[nodiscard]] double quantile(const std::vector<double>& sorted, double q);
/// Of the whole population (divided by n); nullopt for fewer than two values.
[[nodiscard]] std::optional<double> standardDeviation(std::span<const double> values);
/// round(x * 10) / 10, halves away from zero.
[[nodiscard]] double oneDecimal(double x);

} // namespace practice::PitchAnalyzer
