// A block of PCM that has been checked: it holds sound.
//   Owns     nothing: `data` is borrowed
#pragma once

#include "capture/AudioBlock.h"

#include <cstdint>

namespace capture {

struct PcmBuffer {
    AudioFormat format;
    std::span<const std::byte> data; ///< exactly frameLength frames
    std::uint32_t frameLength = 0;   ///< at least 1
};

} // namespace capture
