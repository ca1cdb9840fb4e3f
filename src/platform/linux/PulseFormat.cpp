#include "platform/linux/PulseFormat.h"

#include <cstdint>

namespace platform::linux_desktop::PulseFormat {

namespace {

capture::SampleType holding(pa_sample_format_t format) {
    switch (format) {
    case PA_SAMPLE_U8:
    case PA_SAMPLE_ALAW:
    case PA_SAMPLE_ULAW:
    case PA_SAMPLE_S16LE:
    case PA_SAMPLE_S16BE:
        return capture::SampleType::Int16;
    case PA_SAMPLE_S24LE:
    case PA_SAMPLE_S24BE:
    case PA_SAMPLE_S24_32LE:
    case PA_SAMPLE_S24_32BE:
    case PA_SAMPLE_S32LE:
    case PA_SAMPLE_S32BE:
        return capture::SampleType::Int32;
    default:
        return capture::SampleType::Float32;
    }
}

} // namespace

std::optional<capture::AudioFormat> deliverable(const pa_sample_spec& device) {
    if (!pa_sample_spec_valid(&device)) {
        return std::nullopt;
    }
    return capture::AudioFormat{.sampleType = holding(device.format),
                                .sampleRate = static_cast<double>(device.rate),
                                .channels = device.channels};
}

pa_sample_spec toSampleSpec(const capture::AudioFormat& format) {
    const auto samples = [&] {
        switch (format.sampleType) {
        case capture::SampleType::Int16:
            return PA_SAMPLE_S16NE;
        case capture::SampleType::Int32:
            return PA_SAMPLE_S32NE;
        case capture::SampleType::Float32:
            break;
        }
        return PA_SAMPLE_FLOAT32NE;
    }();
    return {.format = samples,
            .rate = static_cast<std::uint32_t>(format.sampleRate),
            .channels = static_cast<std::uint8_t>(format.channels)};
}

} // namespace platform::linux_desktop::PulseFormat
