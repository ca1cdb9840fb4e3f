// Blocks of sound that own their samples.
#pragma once

#include "capture/AudioBlock.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace capture {

struct Sound {
    AudioFormat format;
    std::vector<std::byte> bytes;

    [[nodiscard]] AudioBlock at(double stampSeconds) const { return {format, bytes, stampSeconds}; }
};

template<typename Sample>
Sound soundOf(const AudioFormat& format, const std::vector<Sample>& samples) {
    Sound sound{format, std::vector<std::byte>(samples.size() * sizeof(Sample))};
    if (!samples.empty()) {
        std::memcpy(sound.bytes.data(), samples.data(), sound.bytes.size());
    }
    return sound;
}

/// 48000 Hz, one channel, 16 bits: comes into a track unchanged.
inline Sound plainSound(std::size_t frames, std::int16_t value = 1000) {
    return soundOf({SampleType::Int16, 48000.0, 1}, std::vector<std::int16_t>(frames, value));
}

} // namespace capture
