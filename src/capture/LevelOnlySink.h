// A sink that measures how loud a source is and keeps nothing.
//   Units    dB relative to full scale
//   Threads  append: queue() only; everything else: any. The lock is held for additions only
#pragma once

#include "base/Dispatch.h"
#include "capture/CaptureSink.h"
#include "capture/PcmBuffer.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace capture {

class LevelOnlySink final : public CaptureSink {
public:
    struct Squares {
        double sum = 0;
        std::int64_t count = 0;
        bool operator==(const Squares&) const = default;
    };

    /// `label` names the queue: "mic" gives "com.orvane.tarvex.level.mic".
    LevelOnlySink(const std::string& label, base::Dispatch& dispatch);

    [[nodiscard]] base::Scheduler& queue() override { return *m_queue; }

    void append(const AudioBlock& block) override;
    /// The same for a buffer that is at hand already.
    void add(const PcmBuffer& buffer);
    /// The mean level since the last call; nullopt if no sample came.
    std::optional<double> takeLevelDB();
    /// Seen in all; never goes back.
    [[nodiscard]] std::int64_t buffers() const;

    /// Over all samples of all channels, each between -1 and 1. Allocates nothing.
    [[nodiscard]] static Squares sumSquares(const PcmBuffer& buffer) noexcept;

private:
    std::shared_ptr<base::Scheduler> m_queue;

    mutable std::mutex m_lock;
    double m_sum = 0;           // guarded by m_lock
    std::int64_t m_count = 0;   // guarded by m_lock
    std::int64_t m_buffers = 0; // guarded by m_lock
};

} // namespace capture
