#include "platform/linux/SoundFeed.h"

#include <algorithm>
#include <cmath>

namespace platform::linux_desktop {

SoundFeed::SoundFeed(capture::AudioFormat format, OnBlock onBlock)
    : m_format(format)
    , m_onBlock(std::move(onBlock))
    , m_clock(format.sampleRate) {}

std::size_t SoundFeed::frameBytes() const noexcept {
    return capture::bytesPerSample(m_format.sampleType) * static_cast<std::size_t>(m_format.channels);
}

double SoundFeed::seconds(std::size_t bytes) const noexcept {
    return static_cast<double>(bytes / frameBytes()) / m_format.sampleRate;
}

void SoundFeed::arrived(double now, std::span<const std::byte> samples, std::int64_t frames) {
    const auto firstFrame = m_clock.frames();
    const auto bytes = static_cast<std::size_t>(frames) * frameBytes();
    m_clock.arrived(now, frames);
    if (m_started && m_clock.settled() && m_kept.empty() && samples.size() == bytes) {
        deliver(firstFrame, samples); // the ordinary case copies nothing
        return;
    }
    // Lost sound is silence: its length is known, and what follows must not move.
    m_kept.push_back({firstFrame, {samples.begin(), samples.end()}});
    m_kept.back().samples.resize(bytes);
    if (!m_started) {
        dropOldest();
    }
    deliverKept();
}

void SoundFeed::dropOldest() {
    const auto oldestFrame = m_clock.frames() - static_cast<std::int64_t>(longestKept * m_format.sampleRate);
    while (m_kept.front().firstFrame < oldestFrame) {
        m_kept.pop_front();
    }
}

void SoundFeed::told(double now, double latency) {
    m_clock.told(now, latency);
    deliverKept();
}

void SoundFeed::start(std::optional<double> deliveredUntil) {
    m_deliveredUntil = deliveredUntil;
    m_started = true;
    deliverKept();
}

void SoundFeed::finish() {
    m_clock.settle();
    deliverKept();
}

void SoundFeed::deliverKept() {
    if (!m_started || !m_clock.settled()) {
        return;
    }
    while (!m_kept.empty()) {
        deliver(m_kept.front().firstFrame, m_kept.front().samples);
        m_kept.pop_front();
    }
}

void SoundFeed::deliver(std::int64_t firstFrame, std::span<const std::byte> samples) {
    const double moment = m_clock.moment(firstFrame);
    if (!m_joined) {
        // The stream before may have heard the first of this one already.
        const double doubled = m_deliveredUntil ? *m_deliveredUntil - moment : 0;
        const auto doubledFrames = static_cast<std::size_t>(std::max(std::round(doubled * m_format.sampleRate), 0.0));
        if (doubledFrames * frameBytes() >= samples.size()) {
            return;
        }
        const double begin = moment + static_cast<double>(doubledFrames) / m_format.sampleRate;
        join(begin);
        m_joined = true;
        pass(samples.subspan(doubledFrames * frameBytes()), begin);
        return;
    }
    pass(samples, moment);
}

void SoundFeed::join(double firstMoment) {
    const double from = std::max(m_deliveredUntil.value_or(firstMoment - leadInSeconds), firstMoment - leadInSeconds);
    const auto due = static_cast<std::int64_t>(std::round((firstMoment - from) * m_format.sampleRate));
    const auto piece = static_cast<std::int64_t>(std::max(leadInPieceSeconds * m_format.sampleRate, 1.0));
    const std::vector<std::byte> silence(static_cast<std::size_t>(piece) * frameBytes());
    for (std::int64_t left = due; left > 0; left -= piece) {
        const auto frames = std::min(left, piece);
        pass(std::span(silence).first(static_cast<std::size_t>(frames) * frameBytes()),
             firstMoment - static_cast<double>(left) / m_format.sampleRate);
    }
}

void SoundFeed::pass(std::span<const std::byte> samples, double moment) {
    m_deliveredUntil = moment + seconds(samples.size());
    m_onBlock({m_format, samples, moment});
}

} // namespace platform::linux_desktop
