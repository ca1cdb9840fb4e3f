// Turns what a capture stream of the sound server gives into blocks with true stamps: contiguous, joined without a hole
// and without a doubled frame to the stream that this one replaces. The monitor of loudspeakers has them before they
// are heard, so that stamps may be ahead of now by what loudspeakers keep.
//   Units    seconds on the host clock
//   Threads  none of its own: one at a time
//   Errors   none
//   Memory   what arrives before start() is kept, up to `longestKept`, and what arrives before its moment is known: no
//            more than the server had in store after a standstill
#pragma once

#include "capture/AudioBlock.h"
#include "platform/linux/StreamClock.h"

#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace platform::linux_desktop {

class SoundFeed {
public:
    /// Sound is made to begin so much earlier, by silence, when nothing was delivered just before. A track takes a hole
    /// of up to 0.1 seconds for jitter and leaves it out, also the one between its own beginning and the first sound,
    /// which would put all that follows so much too early. Seconds.
    static constexpr double leadInSeconds = 0.2;
    /// The lead-in comes in pieces, so that what lies before the beginning of a track can be dropped. Seconds.
    static constexpr double leadInPieceSeconds = 0.002;
    /// Of what arrives before start() the newest is kept. Seconds.
    static constexpr double longestKept = 2.0;

    using OnBlock = std::function<void(const capture::AudioBlock&)>;

    SoundFeed(capture::AudioFormat format, OnBlock onBlock);

    /// A block has arrived. Fewer `samples` than `frames`: the server has lost the rest.
    void arrived(double now, std::span<const std::byte> samples, std::int64_t frames);
    /// See StreamClock.
    void told(double now, double latency);

    [[nodiscard]] bool wantsWord() const noexcept { return m_clock.wantsWord(); }

    /// Whether the stream stands on its feet: its blocks may be larger from now on.
    [[nodiscard]] bool settled() const noexcept { return m_clock.settled(); }

    /// Blocks flow from now on. `deliveredUntil`: the end of what the replaced stream has delivered, if there was one.
    void start(std::optional<double> deliveredUntil);
    /// Delivers what waits for its moment. The stream is about to end.
    void finish();

    /// The end of the last frame delivered.
    [[nodiscard]] std::optional<double> deliveredUntil() const noexcept { return m_deliveredUntil; }

private:
    struct Kept {
        std::int64_t firstFrame;
        std::vector<std::byte> samples;
    };

    void dropOldest();
    void deliverKept();
    void deliver(std::int64_t firstFrame, std::span<const std::byte> samples);
    void join(double firstMoment);
    void pass(std::span<const std::byte> samples, double moment);
    [[nodiscard]] std::size_t frameBytes() const noexcept;
    [[nodiscard]] double seconds(std::size_t bytes) const noexcept;

    capture::AudioFormat m_format;
    OnBlock m_onBlock;
    StreamClock m_clock;
    bool m_started = false;
    bool m_joined = false;
    std::deque<Kept> m_kept;
    std::optional<double> m_deliveredUntil;
};

} // namespace platform::linux_desktop
