#include "platform/linux/PulseFormat.h"

#include <gtest/gtest.h>

namespace platform::linux_desktop {
namespace {

using capture::SampleType;

pa_sample_spec device(pa_sample_format_t samples, std::uint32_t rate = 44100, std::uint8_t channels = 6) {
    return {.format = samples, .rate = rate, .channels = channels};
}

TEST(PulseFormatTest, DeviceKeepsItsRateAndItsChannels) {
    EXPECT_EQ(PulseFormat::deliverable(device(PA_SAMPLE_S16NE)), (capture::AudioFormat{SampleType::Int16, 44100, 6}));
    EXPECT_EQ(PulseFormat::deliverable(device(PA_SAMPLE_S16NE, 192000, 1)),
              (capture::AudioFormat{SampleType::Int16, 192000, 1}));
}

TEST(PulseFormatTest, SamplesThatBlocksHaveStayAsTheyAre) {
    EXPECT_EQ(PulseFormat::deliverable(device(PA_SAMPLE_S16NE))->sampleType, SampleType::Int16);
    EXPECT_EQ(PulseFormat::deliverable(device(PA_SAMPLE_S32NE))->sampleType, SampleType::Int32);
    EXPECT_EQ(PulseFormat::deliverable(device(PA_SAMPLE_FLOAT32NE))->sampleType, SampleType::Float32);
}

TEST(PulseFormatTest, OtherSamplesBecomeOnesThatHoldThem) {
    for (const auto small : {PA_SAMPLE_U8, PA_SAMPLE_ALAW, PA_SAMPLE_ULAW, PA_SAMPLE_S16RE}) {
        EXPECT_EQ(PulseFormat::deliverable(device(small))->sampleType, SampleType::Int16) << small;
    }
    for (const auto large :
         {PA_SAMPLE_S24LE, PA_SAMPLE_S24BE, PA_SAMPLE_S24_32LE, PA_SAMPLE_S24_32BE, PA_SAMPLE_S32RE}) {
        EXPECT_EQ(PulseFormat::deliverable(device(large))->sampleType, SampleType::Int32) << large;
    }
    EXPECT_EQ(PulseFormat::deliverable(device(PA_SAMPLE_FLOAT32RE))->sampleType, SampleType::Float32);
}

TEST(PulseFormatTest, FormatOfNoDeviceIsRefused) {
    EXPECT_FALSE(PulseFormat::deliverable(device(PA_SAMPLE_INVALID)));
    EXPECT_FALSE(PulseFormat::deliverable(device(PA_SAMPLE_S16NE, 0)));
    EXPECT_FALSE(PulseFormat::deliverable(device(PA_SAMPLE_S16NE, 48000, 0)));
    EXPECT_FALSE(PulseFormat::deliverable(device(PA_SAMPLE_S16NE, 48000, PA_CHANNELS_MAX + 1)));
}

TEST(PulseFormatTest, WhatIsAskedOfTheServerIsWhatWillBeDelivered) {
    for (const auto type : {SampleType::Int16, SampleType::Int32, SampleType::Float32}) {
        const capture::AudioFormat format{type, 96000, 2};
        EXPECT_EQ(PulseFormat::deliverable(PulseFormat::toSampleSpec(format)), format);
    }
}

} // namespace
} // namespace platform::linux_desktop
