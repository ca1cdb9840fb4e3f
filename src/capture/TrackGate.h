// Gives the tracks of a recording one beginning and one end, to the frame: of a block across the beginning only what
// follows it reaches the track, and nothing that was captured after the end. A source hands its sound over in blocks
// and stops a little after it was asked to, so without a gate each track would run over by what its source took.
//   Units    seconds on the host clock
//   Threads  append: the sink's queue; close and waitForEnd: any other
#pragma once

#include "capture/CaptureSink.h"

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>

namespace capture {

class TrackGate final : public CaptureSink {
public:
    /// `begin`: the moment of the track's first frame.
    TrackGate(std::shared_ptr<CaptureSink> sink, double begin);

    [[nodiscard]] base::Scheduler& queue() override { return m_sink->queue(); }

    void append(const AudioBlock& block) override;

    /// From now on only what was captured before `end` passes. The first call counts.
    void close(double end);
    /// Waits until the sound up to the end has come, for `limit` seconds at most; whether it has.
    bool waitForEnd(double limit);

    /// Frames of the block that begin before `moment`. All of a block without a true stamp.
    [[nodiscard]] static std::size_t framesBegunBefore(double moment, const AudioBlock& block) noexcept;
    /// Frames of the block that end at `moment` at the latest. All of a block without a true stamp.
    [[nodiscard]] static std::size_t framesEndedBy(double moment, const AudioBlock& block) noexcept;

private:
    [[nodiscard]] std::optional<double> end();
    void reached();

    std::shared_ptr<CaptureSink> m_sink;
    const double m_begin;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<double> m_end; ///< guarded by m_mutex
    bool m_reached = false;      ///< guarded by m_mutex
};

} // namespace capture
