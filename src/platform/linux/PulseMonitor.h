// The monitor of one output, or of what one program plays into it, and the blocks that come from there.
//   Threads  made, opened and ended on any but the loop's; onBlock and onEnded come on the loop's, or with its lock
//   held Owns     its stream; must end before its connection Errors   open() says why; a later end by itself comes
//   once, through onEnded
#pragma once

#include "capture/AudioBlock.h"
#include "platform/linux/PulseRecording.h"
#include "platform/linux/SoundFeed.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace platform::linux_desktop {

class PulseMonitor {
public:
    PulseMonitor(PulseConnection& connection, PulseConnection::Sink sink, const capture::AudioFormat& format,
                 SoundFeed::OnBlock onBlock);
    ~PulseMonitor(); ///< delivers what waits for its moment
    PulseMonitor(const PulseMonitor&) = delete;
    PulseMonitor& operator=(const PulseMonitor&) = delete;

    /// Nullopt, or why not. `sinkInput`: only what this one plays. Never takes a microphone in the place of the
    /// monitor.
    [[nodiscard]] std::optional<QString> open(std::optional<std::uint32_t> sinkInput, PulseRecording::OnEnded onEnded,
                                              Deadline deadline);
    /// Blocks flow from now on; see SoundFeed.
    void start(std::optional<double> deliveredUntil);
    /// Delivers the last, and says where that ends.
    std::optional<double> finish();

    [[nodiscard]] const PulseConnection::Sink& sink() const noexcept { return m_sink; }

private:
    PulseConnection& m_connection;
    PulseConnection::Sink m_sink;
    capture::AudioFormat m_format;
    SoundFeed m_feed;
    std::unique_ptr<PulseRecording> m_recording;
};

} // namespace platform::linux_desktop
