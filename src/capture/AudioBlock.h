// A block of PCM as a source delivers it.
//   Units    frames; stampSeconds is the capture time of the first frame on the host clock, and may be any double,
//            also one that is not finite: whoever lays it on a time line decides what that means
//   Owns     nothing: `data` is borrowed for the length of the call that passes the block
#pragma once

#include "media/PcmFormat.h"

#include <cstddef>
#include <span>

namespace capture {

using AudioFormat = media::PcmFormat;
using SampleType = media::SampleType;
using media::bytesPerSample;

struct AudioBlock {
    AudioFormat format;
    std::span<const std::byte> data; ///< whole frames; an incomplete last one is not looked at
    double stampSeconds = 0;

    [[nodiscard]] std::size_t frames() const noexcept {
        const auto frameBytes = bytesPerSample(format.sampleType) * static_cast<std::size_t>(format.channels);
        return format.channels < 1 ? 0 : data.size() / frameBytes;
    }
};

} // namespace capture
