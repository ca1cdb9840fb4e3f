// Between the sample formats of the sound server and those of a block.
//   Threads  any; no state
#pragma once

#include "capture/AudioBlock.h"

#include <pulse/sample.h>

#include <optional>

namespace platform::linux_desktop::PulseFormat {

/// What a device of this format is to deliver: its own rate and channels, and its own samples unless blocks have no
/// name for them, then the next larger ones. nullopt: no device has such a format.
[[nodiscard]] std::optional<capture::AudioFormat> deliverable(const pa_sample_spec& device);
[[nodiscard]] pa_sample_spec toSampleSpec(const capture::AudioFormat& format);

} // namespace platform::linux_desktop::PulseFormat
