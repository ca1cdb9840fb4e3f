#include "platform/linux/UntilHeard.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace platform::linux_desktop {

namespace {

std::size_t frameBytes(const capture::AudioFormat& format) {
    return capture::bytesPerSample(format.sampleType) * static_cast<std::size_t>(format.channels);
}

double secondsOf(const capture::AudioFormat& format, std::size_t bytes) {
    return static_cast<double>(bytes / frameBytes(format)) / format.sampleRate;
}

} // namespace

UntilHeard::UntilHeard(const base::HostClock& clock, OnBlock onBlock) : m_clock(clock), m_onBlock(std::move(onBlock)) {}

double UntilHeard::heldUntil() const {
    return m_heldFrom + secondsOf(m_format, m_held.size());
}

bool UntilHeard::continuesHeld(const capture::AudioBlock& block) const {
    return block.format == m_format && std::abs(block.stampSeconds - heldUntil()) * m_format.sampleRate < 1.0;
}

void UntilHeard::pass(const capture::AudioBlock& block) {
    const double now = m_clock.now();
    if (block.frames() == 0) {
        return;
    }
    if (!(block.stampSeconds <= now + mostAheadOfNow)) {
        finish();
        m_onBlock({block.format, block.data, now});
        return;
    }
    if (!m_held.empty() && !continuesHeld(block)) {
        finish();
    }
    if (m_held.empty()) {
        if (block.stampSeconds + secondsOf(block.format, block.data.size()) <= now) {
            m_onBlock(block); // the ordinary case copies nothing
            return;
        }
        m_format = block.format;
        m_heldFrom = block.stampSeconds;
    }
    m_held.insert(m_held.end(), block.data.begin(), block.data.end());
    passHeld(now);
}

void UntilHeard::finish() {
    if (!m_held.empty()) {
        passHeld(heldUntil() + 1);
    }
}

void UntilHeard::passHeld(double until) {
    const auto all = m_held.size() / frameBytes(m_format);
    // A frame whose moment is `until` but for the rounding of doubles has been heard.
    constexpr double hair = 1e-3;
    const double heard = std::floor((until - m_heldFrom) * m_format.sampleRate + hair);
    const auto frames = static_cast<std::size_t>(std::clamp(heard, 0.0, static_cast<double>(all)));
    if (frames == 0) {
        return;
    }
    const auto bytes = frames * frameBytes(m_format);
    m_onBlock({m_format, std::span(m_held).first(bytes), m_heldFrom});
    m_held.erase(m_held.begin(), m_held.begin() + static_cast<std::ptrdiff_t>(bytes));
    m_heldFrom += secondsOf(m_format, bytes);
}

} // namespace platform::linux_desktop
