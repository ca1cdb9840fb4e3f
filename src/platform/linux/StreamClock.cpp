#include "platform/linux/StreamClock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform::linux_desktop {

namespace {

/// Of the later half: the first words of a stream are the worst.
double believed(std::vector<double> origins) {
    const auto half = origins.begin() + static_cast<std::ptrdiff_t>(origins.size() / 2);
    const auto middle = half + (origins.end() - half) / 2;
    std::nth_element(half, middle, origins.end());
    return *middle;
}

} // namespace

double StreamClock::origin(double now, std::optional<double> latency, std::int64_t frames) const {
    if (latency && std::isfinite(*latency) && std::abs(*latency) <= longestLatency) {
        return std::min(now - *latency, now) - seconds(m_frames);
    }
    return m_origin.value_or(now - seconds(m_frames + frames));
}

void StreamClock::observe(double now, std::optional<double> latency, std::int64_t frames) {
    const double said = origin(now, latency, frames);
    const bool late = m_origin && said - *m_origin > gapSeconds;
    if (!m_settling && late) {
        m_settling = Settling{.from = m_frames, .origins = {}};
    } else if (m_settling && m_origin && !late) {
        m_settling.reset(); // a false alarm
    }
    m_frames += frames;
    if (m_settling) {
        m_settling->origins.push_back(said);
        const double needed = m_origin ? confirmSeconds : settleSeconds;
        if (seconds(m_frames - m_settling->from) >= needed) {
            settle();
        }
    }
}

void StreamClock::settle() {
    if (!m_settling) {
        return;
    }
    const auto settling = *std::exchange(m_settling, std::nullopt);
    if (settling.origins.empty()) {
        return;
    }
    const double found = believed(settling.origins);
    m_earlierOrigin = m_origin.value_or(found);
    m_origin = found;
    m_resumedAt = settling.from;
}

double StreamClock::moment(std::int64_t frame) const noexcept {
    return (frame < m_resumedAt ? m_earlierOrigin : m_origin.value_or(0)) + seconds(frame);
}

} // namespace platform::linux_desktop
