#include "media/SampleConverter.h"

#include "media/Tracks.h"

#include <gtest/gtest.h>

#include <limits>

namespace media {
namespace {

template<typename Sample>
std::vector<float> convert(SampleConverter& converter, const std::vector<Sample>& input) {
    std::vector<float> output(input.size() * 50 + 64);
    const auto made = converter.convert(std::as_bytes(std::span(input)), output);
    EXPECT_TRUE(made);
    output.resize(made.value_or(0));
    return output;
}

TEST(SampleConverter, WholeSamplesAtTheRightRateComeThroughUnchanged) {
    const auto converter = makeConverter({SampleType::Int16, 48000.0, 1}, 48000.0);
    ASSERT_TRUE(converter);
    const std::vector<std::int16_t> input{0, 1, -1, 12345, 32767, -32768};
    const auto output = convert(*converter, input);
    ASSERT_EQ(output.size(), input.size());
    std::vector<std::int16_t> back(output.size());
    toInt16(output, back);
    EXPECT_EQ(back, input);
}

TEST(SampleConverter, TwoChannelsBecomeTheirMean) {
    const auto converter = makeConverter({SampleType::Float32, 48000.0, 2}, 48000.0);
    const auto output = convert(*converter, std::vector<float>{1.0F, 1.0F, 0.5F, -0.5F, 0.8F, 0.0F});
    ASSERT_EQ(output.size(), 3U);
    EXPECT_FLOAT_EQ(output[0], 1.0F) << "the same on both sides keeps its loudness";
    EXPECT_NEAR(output[1], 0.0F, 1e-6);
    EXPECT_FLOAT_EQ(output[2], 0.4F);
}

TEST(SampleConverter, EveryChannelWeighsTheSame) {
    for (const int channels : {3, 6, 9, 18, 64}) {
        for (int loud = 0; loud < channels; ++loud) {
            const auto converter = makeConverter({SampleType::Float32, 48000.0, channels}, 48000.0);
            ASSERT_TRUE(converter) << channels;
            std::vector<float> frame(static_cast<std::size_t>(channels), 0.0F);
            frame[static_cast<std::size_t>(loud)] = 1.0F;
            const auto output = convert(*converter, frame);
            ASSERT_EQ(output.size(), 1U);
            EXPECT_NEAR(output[0], 1.0 / channels, 1e-6) << loud << " of " << channels;
        }
    }
}

TEST(SampleConverter, WideSamplesAreScaledToOne) {
    const auto converter = makeConverter({SampleType::Int32, 48000.0, 1}, 48000.0);
    const auto output =
        convert(*converter, std::vector<std::int32_t>{1 << 30, std::numeric_limits<std::int32_t>::min()});
    ASSERT_EQ(output.size(), 2U);
    EXPECT_FLOAT_EQ(output[0], 0.5F);
    EXPECT_FLOAT_EQ(output[1], -1.0F);
}

TEST(SampleConverter, FormatsThatMakeNoSenseGiveNoConverter) {
    const auto with = [](double rate, int channels) {
        return makeConverter({SampleType::Int16, rate, channels}, 48000.0) != nullptr;
    };
    EXPECT_TRUE(with(1000.0, 1));
    EXPECT_FALSE(with(999.0, 1));
    EXPECT_TRUE(with(1000000.0, 1));
    EXPECT_FALSE(with(1000001.0, 1));
    EXPECT_FALSE(with(0.0, 1));
    EXPECT_FALSE(with(-48000.0, 1));
    EXPECT_FALSE(with(std::numeric_limits<double>::quiet_NaN(), 1));
    EXPECT_FALSE(with(std::numeric_limits<double>::infinity(), 1));
    EXPECT_FALSE(with(48000.0, 0));
    EXPECT_FALSE(with(48000.0, -1));
    EXPECT_TRUE(with(48000.0, 64));
    EXPECT_FALSE(with(48000.0, 65));
}

std::vector<float> convertInBlocks(double rate, const std::vector<float>& input, std::size_t blockFrames) {
    const auto converter = makeConverter({SampleType::Float32, rate, 1}, 48000.0);
    std::vector<float> all;
    for (std::size_t at = 0; at < input.size(); at += blockFrames) {
        const auto end = std::min(at + blockFrames, input.size());
        const auto part = convert(*converter, std::vector<float>(input.begin() + static_cast<std::ptrdiff_t>(at),
                                                                 input.begin() + static_cast<std::ptrdiff_t>(end)));
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

TEST(SampleConverter, AnotherRateIsChangedWithoutASeamBetweenBlocks) {
    const auto output = convertInBlocks(44100.0, tone(44100, 44100.0), 441);
    const auto wanted = tone(output.size(), 48000.0);
    for (std::size_t frame = 100; frame < output.size(); ++frame) {
        ASSERT_NEAR(output[frame], wanted[frame], 0.001) << frame;
    }
    EXPECT_GE(output.size(), 48000U - 32);
    EXPECT_LE(output.size(), 48000U);
}

TEST(SampleConverter, AClickKeepsItsPlaceToTheFrameWhenTheRateIsChanged) {
    for (const double rate : {8000.0, 16000.0, 44100.0, 96000.0, 192000.0}) {
        const auto second = static_cast<std::size_t>(rate);
        const auto output = convertInBlocks(rate, clicksAt(3 * second, {second, 2 * second}), second / 100);
        EXPECT_EQ(peakNear(output, 48000), 48000U) << rate;
        EXPECT_EQ(peakNear(output, 96000), 96000U) << rate;
    }
}

TEST(SampleConverter, WhatDoesNotFitComesWithTheNextBlock) {
    const auto converter = makeConverter({SampleType::Float32, 48000.0, 2}, 48000.0);
    const std::vector<float> input{0.1F, 0.1F, 0.2F, 0.2F, 0.3F, 0.3F};
    const std::vector<float> more{0.4F, 0.4F};
    std::vector<float> output(2);
    EXPECT_EQ(converter->convert(std::as_bytes(std::span(input)), output).value_or(0), 2U);
    EXPECT_EQ(converter->convert(std::as_bytes(std::span(more)), output).value_or(0), 2U);
    EXPECT_FLOAT_EQ(output[0], 0.3F);
    EXPECT_FLOAT_EQ(output[1], 0.4F);
}

TEST(SampleConverter, FloatsBecomeTheNearestWholeSampleWithinTheRange) {
    constexpr float unit = 1.0F / 32768;
    const std::vector<float> input{0.0F,
                                   1.4F * unit,
                                   1.6F * unit,
                                   -1.6F * unit,
                                   32767 * unit,
                                   1.0F,
                                   -1.0F,
                                   9.0F,
                                   -9.0F,
                                   std::numeric_limits<float>::quiet_NaN(),
                                   std::numeric_limits<float>::infinity()};
    std::vector<std::int16_t> output(input.size());
    toInt16(input, output);
    EXPECT_EQ(output, (std::vector<std::int16_t>{0, 1, 2, -2, 32767, 32767, -32768, 32767, -32768, 0, 32767}));
}

} // namespace
} // namespace media
