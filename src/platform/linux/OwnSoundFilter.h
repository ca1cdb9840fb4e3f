// Keeps the sound that this program plays out of what the loudspeakers play. While it plays nothing, what the monitor
// hears passes as it is. While it plays, the monitor only beats the time, and its frames are replaced by the sum of
// what all others play, which is tapped from each of them.
//   Units    16-bit frames at the rate of the format; seconds on the host clock
//   Threads  none of its own: one at a time
//   Errors   none; what no tap has delivered in time is silence
//   Memory   a second or two of sound while anything is withheld, nothing otherwise
#pragma once

#include "capture/AudioBlock.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace platform::linux_desktop {

class OwnSoundFilter {
public:
    /// A replaced frame waits so long for the taps, which deliver in large blocks and begin late. Seconds of sound.
    static constexpr double tapDelay = 0.4;
    /// Sound is withheld so long at most while it is not known whose it is; then it counts as ours. Seconds.
    static constexpr double longestDoubt = 2.0;

    using OnBlock = std::function<void(const capture::AudioBlock&)>;

    /// `format` has 16-bit samples. Nothing passes before the first known().
    OwnSoundFilter(capture::AudioFormat format, OnBlock onBlock);

    /// What is played may be ours from now on: withhold it.
    void doubt();
    /// Whether what has come since doubt(), and what comes from now on, holds sound of ours.
    void known(bool ours);

    void monitor(const capture::AudioBlock& block);
    void tap(const capture::AudioBlock& block);
    /// Whether taps are still needed.
    [[nodiscard]] bool needsTaps() const noexcept;
    /// Passes everything that is withheld. No more will come.
    void finish();

private:
    enum class Whose { Unknown, Others, Ours };

    struct Withheld {
        double moment;
        std::vector<std::byte> samples;
        Whose whose;
    };

    void passReady();
    void limitDoubt();
    void pass(const Withheld& block);
    [[nodiscard]] std::int64_t frameAt(double moment) const;
    [[nodiscard]] std::vector<std::byte> foreign(std::int64_t firstFrame, std::size_t frames);
    [[nodiscard]] double withheldSeconds() const;

    capture::AudioFormat m_format;
    OnBlock m_onBlock;
    Whose m_now = Whose::Unknown;
    std::deque<Withheld> m_withheld;

    // The sum of the taps, sample by sample, from frame m_mixFrom on.
    std::deque<std::int32_t> m_mix;
    std::int64_t m_mixFrom = 0;
};

} // namespace platform::linux_desktop
