// Turns blocks of one PCM format into mono floats at another rate.
//   Units    frames; samples from -1 to 1
//   Shape    all channels weigh the same, so that a sound on every channel keeps its loudness and none can clip
//   State    kept from block to block: the rate is converted without a seam, and a few frames (17 for 44100 to 48000)
//            stay inside until the next block. They delay nothing: the first frame out belongs to the first one in
//   Threads  one at a time
#pragma once

#include "media/Error.h"
#include "media/PcmFormat.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace media {

class SampleConverter {
public:
    SampleConverter() = default;
    SampleConverter(const SampleConverter&) = delete;
    SampleConverter& operator=(const SampleConverter&) = delete;
    virtual ~SampleConverter() = default;

    /// Takes all of `input` (whole frames) and gives as many frames as there are by now and fit into `output`; what
    /// does not fit comes with the next call. An error may come without words.
    [[nodiscard]] virtual std::expected<std::size_t, std::optional<Error>> convert(std::span<const std::byte> input,
                                                                                   std::span<float> output) = 0;
};

using MakeConverter = std::function<std::unique_ptr<SampleConverter>(const PcmFormat& from, double outputRate)>;

/// nullptr for a format that can't be converted: a rate outside 1000 to 1000000 frames per second, more than 64
/// channels. Rates are taken to the nearest whole number.
[[nodiscard]] std::unique_ptr<SampleConverter> makeConverter(const PcmFormat& from, double outputRate);

/// 16-bit samples of floats: to the nearest, limited to the range; what is no number becomes 0. As many as `output`
/// has place for.
void toInt16(std::span<const float> input, std::span<std::int16_t> output) noexcept;

} // namespace media
