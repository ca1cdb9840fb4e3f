#include "practice/YinTracker.h"

#include "practice/PitchAnalyzer.h"

#include <algorithm>
#include <cmath>

namespace practice {

using namespace PitchAnalyzer;

namespace {

constexpr std::size_t frameInput = windowLength + maxLag;
constexpr std::size_t hopsPerWindow = windowLength / hopLength;
static_assert(hopLength == blockLength && windowLength % hopLength == 0 && maxLag < blockLags);

/// What a pass works on: long enough that moving the rest to the front costs nothing.
constexpr std::size_t bufferedFrames = 128;
constexpr std::size_t bufferTarget = bufferedFrames * hopLength + frameInput;
/// The unused last lag reaches one sample beyond a frame.
constexpr std::size_t padding = blockLags - maxLag;

constexpr double loudQuantile = 0.95;

float gateFor(const std::vector<float>& energies) {
    std::vector<float> sorted = energies;
    const auto last = sorted.size() - 1;
    const auto loudIndex = std::min(last, static_cast<std::size_t>(static_cast<double>(last) * loudQuantile));
    std::ranges::nth_element(sorted, sorted.begin() + static_cast<std::ptrdiff_t>(loudIndex));
    const float relativeFloor = std::pow(10.0F, -relativeFloorDB / 20.0F);
    return std::max(sorted[loudIndex] * relativeFloor, absoluteFloorRMS);
}

} // namespace

YinTracker::YinTracker(BlockCorrelation correlate)
    : m_correlate(correlate)
    , m_blockSums(hopsPerWindow * blockLags)
    , m_difference(maxLag + 1)
    , m_running(maxLag + 1) {
    m_buffer.reserve(bufferTarget + padding);
}

void YinTracker::append(std::span<const float> samples) {
    m_samplesSeen += static_cast<long long>(samples.size());
    while (!samples.empty()) {
        const auto taken = std::min(samples.size(), bufferTarget - m_buffer.size());
        m_buffer.insert(m_buffer.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(taken));
        samples = samples.subspan(taken);
        if (m_buffer.size() == bufferTarget) {
            trackBuffered();
        }
    }
}

void YinTracker::trackBuffered() {
    if (m_buffer.size() < frameInput) {
        return;
    }
    m_squares.resize(m_buffer.size() + 1);
    m_squares[0] = 0;
    for (std::size_t i = 0; i < m_buffer.size(); ++i) {
        const double sample = m_buffer[i];
        m_squares[i + 1] = m_squares[i] + sample * sample;
    }
    const auto samples = m_buffer.size();
    m_buffer.resize(samples + padding);

    const auto frames = (samples - frameInput) / hopLength + 1;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        trackFrame(frame * hopLength);
    }
    m_buffer.resize(samples);
    m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(frames * hopLength));
    m_firstFrame += static_cast<long long>(frames);
}

void YinTracker::trackFrame(std::size_t first) {
    const double meanSquare = (m_squares[first + windowLength] - m_squares[first]) / windowLength;
    m_energies.push_back(static_cast<float>(std::sqrt(meanSquare)));
    // Whatever the loud parts turn out to be, a frame this quiet stays unvoiced.
    m_pitches.push_back(m_energies.back() < absoluteFloorRMS ? 0 : trackPitch(first));
}

void YinTracker::correlateBlock(std::size_t first) {
    const auto hop = m_firstFrame + static_cast<long long>(first / hopLength);
    m_correlate(m_buffer.data() + first,
                m_blockSums.data() + static_cast<std::size_t>(hop % hopsPerWindow) * blockLags);
}

double YinTracker::trackPitch(std::size_t first) {
    const auto hop = m_firstFrame + static_cast<long long>(first / hopLength);
    const auto end = hop + static_cast<long long>(hopsPerWindow);
    for (m_correlatedHops = std::max(m_correlatedHops, hop); m_correlatedHops < end; ++m_correlatedHops) {
        correlateBlock(first + static_cast<std::size_t>(m_correlatedHops - hop) * hopLength);
    }
    computeDifference(first);

    // d(tau) * tau / sum, and 1 where nothing has been summed up.
    const auto normalised = [this](std::size_t lag) {
        return m_running[lag] > 0 ? m_difference[lag] * static_cast<double>(lag) / m_running[lag] : 1.0;
    };
    std::size_t lag = minLag;
    while (lag <= maxLag && !(normalised(lag) < yinThreshold)) {
        ++lag;
    }
    if (lag > maxLag) {
        return 0;
    }
    while (lag < maxLag && normalised(lag + 1) < normalised(lag)) {
        ++lag;
    }
    auto refined = static_cast<double>(lag);
    if (lag < maxLag) {
        const double before = normalised(lag - 1);
        const double after = normalised(lag + 1);
        const double curvature = after + before - 2 * normalised(lag);
        if (curvature > 0) {
            refined += (before - after) * 0.5 / curvature;
        }
    }
    const double hz = sampleRate / refined;
    return hz >= minHz && hz <= maxHz ? hz : 0;
}

void YinTracker::computeDifference(std::size_t first) {
    const float* sums = m_blockSums.data();
    const double* squares = m_squares.data() + first;
    const double energy = squares[windowLength] - squares[0];
    for (std::size_t lag = 1; lag <= maxLag; ++lag) {
        const float correlation =
            (sums[lag] + sums[blockLags + lag]) + (sums[2 * blockLags + lag] + sums[3 * blockLags + lag]);
        const double difference =
            energy + (squares[windowLength + lag] - squares[lag]) - 2.0 * static_cast<double>(correlation);
        m_difference[lag] = std::max(difference, 0.0); // below 0 only by rounding
    }
    double running = 0;
    for (std::size_t lag = 1; lag <= maxLag; ++lag) {
        running += m_difference[lag];
        m_running[lag] = running;
    }
}

std::vector<Frame> YinTracker::finish() {
    trackBuffered();
    std::vector<Frame> frames(m_energies.size());
    if (frames.empty()) {
        return frames;
    }
    const float gate = gateFor(m_energies);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        frames[i].time = (static_cast<double>(i) * hopLength + windowLength / 2.0) / sampleRate;
        if (m_energies[i] >= gate && m_pitches[i] > 0) {
            frames[i].hz = m_pitches[i];
        }
    }
    return frames;
}

} // namespace practice
