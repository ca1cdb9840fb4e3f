// Where a source delivers its sound: a track of a recording, or a meter.
#pragma once

#include "base/Scheduler.h"
#include "capture/AudioBlock.h"

#include <memory>

namespace capture {

class CaptureSink {
public:
    virtual ~CaptureSink() = default;
    /// The serial queue of this sink; whoever captures hands its blocks over to it.
    [[nodiscard]] virtual base::Scheduler& queue() = 0;
    /// Called on queue() only. The block is borrowed for the length of the call.
    virtual void append(const AudioBlock& block) = 0;
};

/// Copies `block` and delivers it to `sink` on its queue. For the backend's audio thread: copies and returns.
/// Delivering after the sink has gone away does nothing.
void deliver(const std::weak_ptr<CaptureSink>& sink, const AudioBlock& block);

} // namespace capture
