#include "platform/linux/OwnSoundFilter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace platform::linux_desktop {

namespace {

/// No tap is further ahead of the monitor. Seconds.
constexpr double longestAhead = 10.0;

} // namespace

OwnSoundFilter::OwnSoundFilter(capture::AudioFormat format, OnBlock onBlock)
    : m_format(format)
    , m_onBlock(std::move(onBlock)) {}

void OwnSoundFilter::doubt() {
    m_now = Whose::Unknown;
}

void OwnSoundFilter::known(bool ours) {
    m_now = ours ? Whose::Ours : Whose::Others;
    for (auto& block : m_withheld) {
        if (block.whose == Whose::Unknown) {
            block.whose = m_now;
        }
    }
    passReady();
}

void OwnSoundFilter::monitor(const capture::AudioBlock& block) {
    if (m_now == Whose::Others && m_withheld.empty()) {
        m_onBlock(block); // the ordinary case copies nothing
        return;
    }
    m_withheld.push_back({block.stampSeconds, {block.data.begin(), block.data.end()}, m_now});
    limitDoubt();
    passReady();
}

void OwnSoundFilter::limitDoubt() {
    if (withheldSeconds() <= longestDoubt) {
        return;
    }
    for (auto& block : m_withheld) {
        if (block.whose == Whose::Unknown) {
            block.whose = Whose::Ours; // rather too little than what must not be there
        }
    }
}

double OwnSoundFilter::withheldSeconds() const {
    std::size_t frames = 0;
    for (const auto& block : m_withheld) {
        frames += capture::AudioBlock{m_format, block.samples, block.moment}.frames();
    }
    return static_cast<double>(frames) / m_format.sampleRate;
}

void OwnSoundFilter::passReady() {
    while (!m_withheld.empty()) {
        const auto& first = m_withheld.front();
        if (first.whose == Whose::Unknown || (first.whose == Whose::Ours && withheldSeconds() < tapDelay)) {
            return;
        }
        pass(first);
        m_withheld.pop_front();
    }
    m_mix.clear();
}

void OwnSoundFilter::finish() {
    for (auto& block : m_withheld) {
        block.whose = block.whose == Whose::Others ? Whose::Others : Whose::Ours;
        pass(block);
    }
    m_withheld.clear();
    m_mix.clear();
}

void OwnSoundFilter::pass(const Withheld& block) {
    const capture::AudioBlock original{m_format, block.samples, block.moment};
    if (block.whose == Whose::Others) {
        m_onBlock(original);
        return;
    }
    const auto replaced = foreign(frameAt(block.moment), original.frames());
    m_onBlock({m_format, replaced, block.moment});
}

std::int64_t OwnSoundFilter::frameAt(double moment) const {
    return std::llround(moment * m_format.sampleRate);
}

void OwnSoundFilter::tap(const capture::AudioBlock& block) {
    if (m_withheld.empty()) {
        return;
    }
    const auto channels = static_cast<std::int64_t>(m_format.channels);
    if (m_mix.empty()) {
        m_mixFrom = frameAt(m_withheld.front().moment);
    }
    const std::int64_t first = (frameAt(block.stampSeconds) - m_mixFrom) * channels; // in samples of the mix
    const auto count = static_cast<std::int64_t>(block.frames()) * channels;
    const auto furthest = static_cast<std::int64_t>(longestAhead * m_format.sampleRate) * channels;
    if (first + count <= 0 || first > furthest) {
        return; // passed already, as silence; or nonsense
    }
    const auto length = static_cast<std::size_t>(first + count);
    if (m_mix.size() < length) {
        m_mix.resize(length);
    }
    for (std::int64_t index = std::max<std::int64_t>(-first, 0); index < count; ++index) {
        std::int16_t sample = 0;
        std::memcpy(&sample, block.data.data() + static_cast<std::size_t>(index) * sizeof sample, sizeof sample);
        m_mix[static_cast<std::size_t>(first + index)] += sample;
    }
}

std::vector<std::byte> OwnSoundFilter::foreign(std::int64_t firstFrame, std::size_t frames) {
    const auto channels = static_cast<std::size_t>(m_format.channels);
    std::vector<std::byte> samples(frames * channels * sizeof(std::int16_t));
    // The blocks of the monitor meet to a frame or so; after a hole of it the taps have more than is asked for.
    const auto surplus = static_cast<std::size_t>(std::max<std::int64_t>(firstFrame - m_mixFrom, 0)) * channels;
    const auto missing = static_cast<std::size_t>(std::max<std::int64_t>(m_mixFrom - firstFrame, 0)) * channels;
    m_mix.erase(m_mix.begin(), m_mix.begin() + static_cast<std::ptrdiff_t>(std::min(surplus, m_mix.size())));
    for (std::size_t index = missing; index < frames * channels && !m_mix.empty(); ++index) {
        using Limits = std::numeric_limits<std::int16_t>;
        const auto sample =
            static_cast<std::int16_t>(std::clamp<std::int32_t>(m_mix.front(), Limits::min(), Limits::max()));
        m_mix.pop_front();
        std::memcpy(samples.data() + index * sizeof sample, &sample, sizeof sample);
    }
    m_mixFrom = firstFrame + static_cast<std::int64_t>(frames);
    return samples;
}

bool OwnSoundFilter::needsTaps() const noexcept {
    return m_now == Whose::Ours ||
           std::ranges::any_of(m_withheld, [](const Withheld& block) { return block.whose != Whose::Others; });
}

} // namespace platform::linux_desktop
