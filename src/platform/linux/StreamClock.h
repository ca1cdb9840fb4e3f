// When the frames of a capture were heard. The count of frames never jitters, so moments follow the count; the server's
// word about how old the next frame is sets the count on its feet at the beginning and tells a hole from a delay.
//   Units    seconds on the host clock; frames at the rate of the stream, counted from its first
//   Threads  none of its own: one at a time       Errors  none: every input has an answer
//   Source   docs/sound-stamps.md (why the library's own interpolated latency is not used)
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace platform::linux_desktop {

class StreamClock {
public:
    /// Words that a new stream needs before it is believed.
    static constexpr std::size_t settleWords = 10;
    /// Sound missing for longer than this is a hole; the rest is jitter. Seconds.
    static constexpr double gapSeconds = 0.1;
    /// Words that have to agree on a hole.
    static constexpr std::size_t gapWords = 3;
    /// So long enough words are waited for; then sound is placed by its arrival. Seconds.
    static constexpr double patienceSeconds = 0.5;
    /// Between two words while nothing is in doubt. Seconds of sound.
    static constexpr double wordInterval = 1.0;
    /// Latencies beyond this are no latencies. Seconds.
    static constexpr double longestLatency = 5.0;

    explicit StreamClock(double sampleRate) : m_sampleRate(sampleRate) {}

    /// So many frames have arrived at `now`.
    void arrived(double now, std::int64_t frames);
    /// The server's word at `now`: the frame that follows those that have arrived is `latency` old (negative: it is yet
    /// to be heard).
    void told(double now, double latency);
    [[nodiscard]] bool wantsWord() const noexcept;

    /// Whether the moments of all frames so far are known. If not, keep the frames and ask again later.
    [[nodiscard]] bool settled() const noexcept { return !m_doubt; }

    /// Ends the doubt with what has been said so far, because no more will come.
    void settle();
    /// The moment of a frame that has arrived. Call it while settled.
    [[nodiscard]] double moment(std::int64_t frame) const noexcept;

    [[nodiscard]] std::int64_t frames() const noexcept { return m_frames; }

private:
    struct Doubt {
        std::int64_t from = 0;             ///< the first frame whose moment is not known
        std::optional<double> since;       ///< when the first of these frames was heard, if it had come without delay
        std::vector<double> words;         ///< where frame 0 lies by each word since
        std::optional<double> byArrival{}; ///< the same if the frames had arrived without any delay
    };

    [[nodiscard]] double seconds(std::int64_t frames) const noexcept {
        return static_cast<double>(frames) / m_sampleRate;
    }

    [[nodiscard]] bool isHole(double origin) const noexcept;

    double m_sampleRate;
    std::int64_t m_frames = 0;
    std::int64_t m_lastWord = 0;    ///< frames at that moment
    std::optional<double> m_origin; ///< where frame 0 lies, as the frames since m_resumedAt see it
    double m_earlierOrigin = 0;     ///< as those before it did
    std::int64_t m_resumedAt = 0;   ///< the first frame after the latest hole
    double m_byArrival = 0;         ///< the earliest that arrivals have put frame 0 since the last doubt
    std::optional<Doubt> m_doubt = Doubt{};
};

} // namespace platform::linux_desktop
