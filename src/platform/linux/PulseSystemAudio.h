// What the computer plays: the monitor of the default output, at 48000 Hz with two channels, followed from one default
// output to the next without an end of the stream.
//   Threads  as SystemAudioSource says; each stream works on a thread of its own, which sleeps while nothing changes
//   Idle     without a stream no thread of this wakes up
//   Source   docs/system-audio.md (how the program's own sound stays out, and what that costs)
#pragma once

#include "capture/SystemAudioSource.h"
#include "platform/linux/PulseLoop.h"

#include <memory>

namespace platform::linux_desktop {

class PulseSystemAudio final : public capture::SystemAudioSource {
public:
    /// For one answer of the server. Seconds.
    static constexpr double answerLimit = 5.0;
    /// How long a lost output is looked for again before the stream counts as ended. Seconds.
    static constexpr double followLimit = 2.0;
    /// Between two looks. Seconds.
    static constexpr double followDelay = 0.05;

    explicit PulseSystemAudio(std::shared_ptr<PulseLoop> loop);

    [[nodiscard]] std::expected<std::shared_ptr<Stream>, QString>
    makeStream(const capture::Display& display, const Settings& settings, Handlers handlers) override;

private:
    std::shared_ptr<PulseLoop> m_loop;
};

} // namespace platform::linux_desktop
