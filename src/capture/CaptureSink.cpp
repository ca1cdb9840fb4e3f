#include "capture/CaptureSink.h"

#include <vector>

namespace capture {

void deliver(const std::weak_ptr<CaptureSink>& sink, const AudioBlock& block) {
    const auto target = sink.lock();
    if (!target) {
        return;
    }
    std::vector<std::byte> samples(block.data.begin(), block.data.end());
    target->queue().post([sink, samples = std::move(samples), format = block.format, stamp = block.stampSeconds] {
        if (const auto living = sink.lock()) {
            living->append({format, samples, stamp});
        }
    });
}

} // namespace capture
