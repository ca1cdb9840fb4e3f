#include "practice/YinTracker.h"

#include "practice/PlainPitch.h"
#include "practice/SyntheticVoice.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

using namespace practice;
using PitchAnalyzer::Frame;
using PitchAnalyzer::track;

namespace {

std::size_t voicedCount(const std::vector<Frame>& frames) {
    return static_cast<std::size_t>(
        std::ranges::count_if(frames, [](const Frame& frame) { return frame.hz.has_value(); }));
}

void expectSame(const std::vector<Frame>& quick, const std::vector<Frame>& reference) {
    ASSERT_EQ(quick.size(), reference.size());
    std::size_t differing = 0;
    for (std::size_t i = 0; i < quick.size(); ++i) {
        EXPECT_EQ(quick[i].time, reference[i].time);
        if (quick[i].hz.has_value() != reference[i].hz.has_value()) {
            ++differing;
        } else if (quick[i].hz) {
            EXPECT_NEAR(*quick[i].hz / *reference[i].hz, 1.0, 1e-4) << i;
        }
    }
    EXPECT_LE(static_cast<double>(differing), static_cast<double>(quick.size()) * 1e-4);
}

TEST(BlockCorrelationTest, TheQuickestFormAgreesWithThePlainOne) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> uniform(-1, 1);
    std::array<float, blockInput> x{};
    for (float& sample : x) {
        sample = uniform(random);
    }
    std::array<float, blockLags> plainSums{};
    std::array<float, blockLags> quickSums{};
    plainBlockCorrelation(x.data(), plainSums.data());
    bestBlockCorrelation()(x.data(), quickSums.data());
    for (std::size_t lag = 0; lag < blockLags; ++lag) {
        EXPECT_NEAR(plainSums[lag], quickSums[lag], 2e-5F) << lag;
    }
}

TEST(YinTrackerTest, FramesBeginAt854SamplesAndFollowEvery160) {
    EXPECT_EQ(track(std::vector<float>(853)).size(), 0U);
    EXPECT_EQ(track(std::vector<float>(854)).size(), 1U);
    EXPECT_EQ(track(std::vector<float>(1013)).size(), 1U);
    EXPECT_EQ(track(std::vector<float>(1014)).size(), 2U);
    EXPECT_EQ(track({}).size(), 0U);
}

TEST(YinTrackerTest, TheTimeOfAFrameIsTheCentreOfItsWindow) {
    const auto frames = track(std::vector<float>(1014));
    EXPECT_EQ(frames[0].time, 0.02);
    EXPECT_EQ(frames[1].time, 0.03);
}

TEST(YinTrackerTest, SilenceIsUnvoiced) {
    EXPECT_EQ(voicedCount(track(std::vector<float>(16000))), 0U);
}

TEST(YinTrackerTest, AToneIsFoundAtItsPitchOverTheWholeRange) {
    for (const double hz : {76.0, 100.0, 123.4, 200.0, 333.3, 399.0}) {
        const auto frames = track(voice::tone(1, hz));
        EXPECT_EQ(voicedCount(frames), frames.size()) << hz;
        for (const Frame& frame : frames) {
            EXPECT_NEAR(frame.hz.value_or(0), hz, hz * 0.001) << hz;
        }
    }
}

TEST(YinTrackerTest, PitchesOutsideTheRangeAreRefused) {
    EXPECT_EQ(voicedCount(track(voice::tone(1, 70))), 0U);
    EXPECT_EQ(voicedCount(track(voice::tone(1, 74))), 0U);
    // Above the range the first lag that repeats within it is a whole number of periods.
    for (const Frame& frame : track(voice::tone(1, 410))) {
        EXPECT_NEAR(frame.hz.value_or(205), 205, 1);
    }
}

TEST(YinTrackerTest, AgreesWithThePlainFormOnSpeech) {
    const auto samples = voice::speech(60);
    const auto reference = plain::track(samples);
    EXPECT_GT(voicedCount(reference), reference.size() / 3);
    expectSame(track(samples), reference);
}

TEST(YinTrackerTest, AgreesWithThePlainFormOnNoiseClippingAndOffset) {
    auto noise = std::vector<float>(32000);
    voice::addNoise(noise, 0.1);
    expectSame(track(noise), plain::track(noise));
    auto clipped = voice::speech(5);
    for (float& sample : clipped) {
        sample = std::clamp(sample * 8, -1.0F, 1.0F);
    }
    expectSame(track(clipped), plain::track(clipped));
    auto offset = voice::speech(5);
    for (float& sample : offset) {
        sample += 0.2F;
    }
    expectSame(track(offset), plain::track(offset));
}

TEST(YinTrackerTest, ThePlainCorrelationGivesTheSameFrames) {
    const auto samples = voice::speech(10);
    YinTracker slow(plainBlockCorrelation);
    slow.append(samples);
    expectSame(track(samples), slow.finish());
}

TEST(YinTrackerTest, PiecesOfAnyLengthGiveTheSameFrames) {
    const auto samples = voice::speech(8);
    const auto whole = track(samples);
    for (const std::size_t piece : {1U, 159U, 854U, 4096U, 21334U, 40000U}) {
        YinTracker tracker;
        for (std::size_t from = 0; from < samples.size(); from += piece) {
            tracker.append(std::span(samples).subspan(from, std::min(piece, samples.size() - from)));
        }
        EXPECT_EQ(tracker.finish(), whole) << piece;
    }
}

TEST(YinTrackerTest, TheGateIsTwoThousandthsAndAFrameExactlyAtItGoesOn) {
    // A square wave has the same energy in every window.
    const auto square = [](float amplitude) {
        std::vector<float> samples(4000);
        for (std::size_t n = 0; n < samples.size(); ++n) {
            samples[n] = n / 50 % 2 == 0 ? amplitude : -amplitude;
        }
        return samples;
    };
    EXPECT_GT(voicedCount(track(square(0.002F))), 0U);
    EXPECT_EQ(voicedCount(track(square(std::nextafter(0.002F, 0.0F)))), 0U);
}

TEST(YinTrackerTest, WhatIsThirtyFiveDecibelBelowTheLoudPartsIsUnvoiced) {
    const auto withQuietPart = [](double decibel) {
        auto samples = voice::tone(2, 160, 0.8);
        auto quiet = voice::tone(1, 160, 0.8 * std::pow(10, decibel / 20));
        samples.insert(samples.end(), quiet.begin(), quiet.end());
        const auto frames = track(samples);
        return frames[250].hz.has_value();
    };
    EXPECT_TRUE(withQuietPart(-34.9));
    EXPECT_FALSE(withQuietPart(-35.1));
}

TEST(YinTrackerTest, NonsenseInTheSamplesIsNoCrash) {
    std::vector<float> samples(3000, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(voicedCount(track(samples)), 0U);
    samples.assign(3000, std::numeric_limits<float>::infinity());
    EXPECT_EQ(voicedCount(track(samples)), 0U);
}

} // namespace
