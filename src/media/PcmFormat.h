// What uncompressed sound is made of.
//   Units    sampleRate in frames per second
//   Shape    native byte order; the channels of a frame stand side by side
#pragma once

#include <cstddef>

namespace media {

enum class SampleType { Int16, Int32, Float32 };

struct PcmFormat {
    SampleType sampleType = SampleType::Int16;
    double sampleRate = 48000.0;
    int channels = 1;
    bool operator==(const PcmFormat&) const = default;
};

[[nodiscard]] constexpr std::size_t bytesPerSample(SampleType type) noexcept {
    return type == SampleType::Int16 ? 2 : 4;
}

} // namespace media
