// Pitch of speech by the YIN method: the lag at which a window of sound repeats itself best.
//   Units    samples of mono floats in -1 to 1 at 16000 Hz; a frame every 160 samples over a window of 640
//   Memory   12 bytes per frame (1.2 KB a second) and a buffer of some frames: the samples are not kept
//   Threads  one at a time
//   Errors   none
//   Source   A. de Cheveigne and H. Kawahara, "YIN, a fundamental frequency estimator for speech and music",
//            J. Acoust. Soc. Am. 111 (2002): difference function, cumulative mean normalisation, absolute threshold,
//            parabolic interpolation. The autocorrelation of a window is the sum of those of its four hops, so each
//            hop is correlated once.
#pragma once

#include "practice/BlockCorrelation.h"
#include "practice/PitchFrame.h"

#include <span>
#include <vector>

namespace practice {

class YinTracker {
public:
    explicit YinTracker(BlockCorrelation correlate = bestBlockCorrelation());

    /// Takes the samples as they are decoded, in pieces of any length.
    void append(std::span<const float> samples);
    /// The frames of all that was appended. Frames much quieter than the loud parts are unvoiced, and how loud those
    /// are is known only at the end. Call it once.
    [[nodiscard]] std::vector<PitchAnalyzer::Frame> finish();

    [[nodiscard]] long long samplesSeen() const { return m_samplesSeen; }

private:
    void trackBuffered();
    void trackFrame(std::size_t first);
    void correlateBlock(std::size_t first);
    [[nodiscard]] double trackPitch(std::size_t first);
    void computeDifference(std::size_t first);

    BlockCorrelation m_correlate;
    std::vector<float> m_buffer;    ///< from the first sample of the next frame on
    std::vector<double> m_squares;  ///< prefix sums of squares of m_buffer
    std::vector<float> m_blockSums; ///< correlations of the last four hops, as a ring
    long long m_correlatedHops = 0; ///< index behind the last hop in the ring
    long long m_firstFrame = 0;     ///< index of the frame at the head of m_buffer
    long long m_samplesSeen = 0;
    std::vector<float> m_energies; ///< root mean square of each frame
    std::vector<double> m_pitches; ///< Hz, 0 where there is none, whatever the energy
    std::vector<double> m_difference;
    std::vector<double> m_running;
};

} // namespace practice
