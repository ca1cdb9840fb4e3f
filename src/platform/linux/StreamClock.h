// When the frames of a capture were heard. Sound servers say so with every block, but imprecisely: the first words of a
// new stream are wrong by tens of milliseconds, later ones jitter by as much. The count of frames does not jitter, so
// moments follow the count, and the words of the server only set it on its feet at the beginning and after a hole.
//   Units    seconds on the host clock; frames at the rate of the stream, counted from its first
//   Threads  none of its own: one at a time       Errors  none: every input has an answer
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace platform::linux_desktop {

class StreamClock {
public:
    /// What a new stream says for so long is listened to before it is believed. Seconds of sound.
    static constexpr double settleSeconds = 0.25;
    /// A word that is later than the count by more than this means that sound is missing, if the next ones agree. Seconds.
    static constexpr double gapSeconds = 0.1;
    /// For so long the next ones have to agree. Seconds of sound.
    static constexpr double confirmSeconds = 0.15;
    /// Latencies beyond this are no latencies. Seconds.
    static constexpr double longestLatency = 5.0;

    explicit StreamClock(double sampleRate) : m_sampleRate(sampleRate) {}

    /// A block of `frames` has arrived at `now`; the server says that its first frame is `latency` old (negative: yet to
    /// be heard; nullopt: it says nothing).
    void observe(double now, std::optional<double> latency, std::int64_t frames);
    /// Whether the moments of all frames so far are known. If not, keep the frames and ask again after the next block.
    [[nodiscard]] bool settled() const noexcept { return !m_settling; }
    /// Believes what has been said so far, because no more will come.
    void settle();
    /// The moment of a frame that has been observed. Call it while settled.
    [[nodiscard]] double moment(std::int64_t frame) const noexcept;
    /// The first frame after the latest hole; 0 while there was none.
    [[nodiscard]] std::int64_t resumedAt() const noexcept { return m_resumedAt; }

    [[nodiscard]] std::int64_t frames() const noexcept { return m_frames; }

private:
    struct Settling {
        std::int64_t from = 0;        ///< the first frame whose moment is not known
        std::vector<double> origins;  ///< where frame 0 would lie by each word since
    };

    [[nodiscard]] double origin(double now, std::optional<double> latency, std::int64_t frames) const;
    [[nodiscard]] double seconds(std::int64_t frames) const noexcept { return static_cast<double>(frames) / m_sampleRate; }

    double m_sampleRate;
    std::int64_t m_frames = 0;
    std::optional<double> m_origin;       ///< the moment of frame 0, as the frames since resumedAt() see it
    double m_earlierOrigin = 0;           ///< as those before it did
    std::int64_t m_resumedAt = 0;
    std::optional<Settling> m_settling = Settling{};
};

} // namespace platform::linux_desktop
