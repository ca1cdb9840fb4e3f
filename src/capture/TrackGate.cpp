#include "capture/TrackGate.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace capture {

namespace {

/// Stamps are sums of doubles; a frame that misses a moment by less than this part of itself stands at it.
constexpr double hair = 1e-3;

double framesUntil(double moment, const AudioBlock& block) {
    return (moment - block.stampSeconds) * block.format.sampleRate;
}

std::size_t within(double frames, const AudioBlock& block) {
    const auto all = static_cast<double>(block.frames());
    return std::isfinite(frames) ? static_cast<std::size_t>(std::clamp(frames, 0.0, all)) : block.frames();
}

/// The frames from `first` on, before `behind`.
AudioBlock part(const AudioBlock& block, std::size_t first, std::size_t behind) {
    const auto frameBytes = bytesPerSample(block.format.sampleType) * static_cast<std::size_t>(block.format.channels);
    return {block.format, block.data.subspan(first * frameBytes, (behind - first) * frameBytes),
            block.stampSeconds + static_cast<double>(first) / block.format.sampleRate};
}

} // namespace

TrackGate::TrackGate(std::shared_ptr<CaptureSink> sink, double begin) : m_sink(std::move(sink)), m_begin(begin) {}

std::size_t TrackGate::framesBegunBefore(double moment, const AudioBlock& block) noexcept {
    return within(std::ceil(framesUntil(moment, block) - hair), block);
}

std::size_t TrackGate::framesEndedBy(double moment, const AudioBlock& block) noexcept {
    return within(std::floor(framesUntil(moment, block) + hair), block);
}

void TrackGate::append(const AudioBlock& block) {
    const auto all = block.frames();
    const auto early = framesBegunBefore(m_begin, block);
    // What lies before the beginning altogether still shows that the source is alive; the track leaves it out.
    const auto first = early < all ? early : 0;
    const auto closed = end();
    const auto behind = closed ? framesEndedBy(*closed, block) : all;
    if (first == 0 && behind == all) {
        m_sink->append(block);
    } else if (first < behind) {
        m_sink->append(part(block, first, behind));
    }
    if (behind < all) {
        reached();
    }
}

void TrackGate::close(double end) {
    const std::scoped_lock guard(m_mutex);
    if (!m_end) {
        m_end = end;
    }
}

bool TrackGate::waitForEnd(double limit) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::duration<double>(limit), [this] { return m_reached; });
}

std::optional<double> TrackGate::end() {
    const std::scoped_lock guard(m_mutex);
    return m_end;
}

void TrackGate::reached() {
    {
        const std::scoped_lock guard(m_mutex);
        m_reached = true;
    }
    m_changed.notify_all();
}

} // namespace capture
