// Holds sound back until it is heard. A monitor has what loudspeakers will play before they play it; a recording that
// ends now must not hold what would have been heard after it.
//   Units    seconds on the host clock
//   Threads  none of its own: one at a time
//   Errors   none
//   Memory   what loudspeakers keep, at most `mostAheadOfNow` of sound; nothing for a microphone
#pragma once

#include "base/HostClock.h"
#include "capture/AudioBlock.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace platform::linux_desktop {

class UntilHeard {
public:
    /// What loudspeakers keep at most before it is heard. A stamp further ahead is none, and becomes now. Seconds.
    static constexpr double mostAheadOfNow = 2.0;

    using OnBlock = std::function<void(const capture::AudioBlock&)>;

    /// `clock` outlives it.
    UntilHeard(const base::HostClock& clock, OnBlock onBlock);

    /// Passes on what has been heard by now, of this block and of those before it.
    void pass(const capture::AudioBlock& block);
    /// Passes on all that is held. No more will come.
    void finish();

private:
    [[nodiscard]] bool continuesHeld(const capture::AudioBlock& block) const;
    [[nodiscard]] double heldUntil() const;
    void passHeld(double until);

    const base::HostClock& m_clock;
    OnBlock m_onBlock;
    capture::AudioFormat m_format;
    std::vector<std::byte> m_held;
    double m_heldFrom = 0; ///< moment of the first frame held
};

} // namespace platform::linux_desktop
