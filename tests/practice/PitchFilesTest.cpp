// From a file to the numbers: whatever stands where the recording should be.

#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"
#include "practice/PitchAnalyzer.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace practice;
using namespace practice::PitchAnalyzer;

namespace {

class PitchFilesTest : public testing::Test {
protected:
    /// A voice at `hz`, as whole numbers.
    static std::vector<std::int16_t> voice(double seconds, double hz, double rate, double amplitude = 0.5,
                                           double offset = 0) {
        std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds * rate));
        for (std::size_t n = 0; n < samples.size(); ++n) {
            const double angle = 2 * std::numbers::pi * hz * static_cast<double>(n) / rate;
            const double sample = offset + amplitude * (std::sin(angle) + 0.4 * std::sin(2 * angle));
            samples[n] = static_cast<std::int16_t>(std::lround(std::clamp(sample, -1.0, 1.0) * 32767));
        }
        return samples;
    }

    [[nodiscard]] std::filesystem::path caf(const std::vector<std::int16_t>& samples, double rate,
                                            std::uint32_t channels = 1) const {
        const auto path = folder / "mic.caf";
        media::writeBytes(path, media::cafBytes(media::CafShape{.sampleRate = rate, .channels = channels}, samples));
        return path;
    }

    [[nodiscard]] std::filesystem::path m4a(double seconds, double hz) const {
        const auto path = folder / "mic.m4a";
        std::vector<float> samples;
        for (const std::int16_t sample : voice(seconds, hz, 48000.0)) {
            samples.push_back(static_cast<float>(sample) / 32768.0F);
        }
        media::writeM4a(path, samples);
        return path;
    }

    fakes::TemporaryFolder folder;
};

TEST_F(PitchFilesTest, AnM4aOfAVoiceGivesItsPitchAndItsCurve) {
    const auto stats = analyze(m4a(12, 180), {});
    ASSERT_TRUE(stats);
    EXPECT_NEAR(stats->medianHz.value_or(0), 180, 0.2);
    EXPECT_EQ(stats->semitoneSD, 0.0);
    EXPECT_NEAR(stats->voicedSeconds, 12, 0.1);
    ASSERT_EQ(stats->windows.size(), 1U);
    EXPECT_EQ(stats->windows[0].end, 12.0);
    EXPECT_EQ(stats->level(), PitchStats::Level::Flat);
}

TEST_F(PitchFilesTest, AnalysingEqualsTrackingTheWholeAtOnce) {
    const auto path = m4a(3, 140);
    const auto samples = readMono(path);
    ASSERT_TRUE(samples);
    EXPECT_EQ(samples->size(), 48000U);
    EXPECT_EQ(analyze(path, {}), stats(track(*samples), 3.0, {}));
}

TEST_F(PitchFilesTest, FilesOf8And96KilohertzGiveTheSamePitch) {
    for (const double rate : {8000.0, 44100.0, 96000.0}) {
        const auto stats = analyze(caf(voice(2, 150, rate), rate), {});
        ASSERT_TRUE(stats) << rate;
        EXPECT_NEAR(stats->medianHz.value_or(0), 150, 0.2) << rate;
    }
}

TEST_F(PitchFilesTest, StereoIsMixedDown) {
    std::vector<std::int16_t> both;
    for (const std::int16_t sample : voice(2, 210, 48000.0)) {
        both.push_back(sample);
        both.push_back(0);
    }
    EXPECT_NEAR(analyze(caf(both, 48000.0, 2), {})->medianHz.value_or(0), 210, 0.2);
}

TEST_F(PitchFilesTest, ClippingAndAnOffsetLeaveThePitch) {
    EXPECT_NEAR(analyze(caf(voice(2, 120, 48000.0, 3.0), 48000.0), {})->medianHz.value_or(0), 120, 0.2);
    EXPECT_NEAR(analyze(caf(voice(2, 120, 48000.0, 0.3, 0.4), 48000.0), {})->medianHz.value_or(0), 120, 0.2);
}

TEST_F(PitchFilesTest, SilenceIsARecordWithoutAPitch) {
    const auto stats = analyze(caf(std::vector<std::int16_t>(40 * 16000), 16000.0), {});
    ASSERT_TRUE(stats);
    EXPECT_EQ(stats->voicedSeconds, 0);
    EXPECT_EQ(stats->medianHz, std::nullopt);
    EXPECT_EQ(stats->windows.size(), 2U);
}

TEST_F(PitchFilesTest, OneFrameNeeds854Samples) {
    const auto almost = analyze(caf(voice(853.5 / 16000, 200, 16000.0), 16000.0), {});
    ASSERT_TRUE(almost);
    EXPECT_EQ(almost->medianHz, std::nullopt);
    const auto enough = analyze(caf(voice(854.5 / 16000, 200, 16000.0), 16000.0), {});
    ASSERT_TRUE(enough);
    EXPECT_NEAR(enough->medianHz.value_or(0), 200, 0.5);
    EXPECT_EQ(enough->semitoneSD, std::nullopt);
}

TEST_F(PitchFilesTest, WhatIsNoAudioGivesNothing) {
    const auto path = folder / "mic.m4a";
    EXPECT_EQ(analyze(path, {}), std::nullopt);
    std::ofstream(path) << "{\"not\": \"audio\"}";
    EXPECT_EQ(analyze(path, {}), std::nullopt);
    std::ofstream(path, std::ios::trunc).flush();
    EXPECT_EQ(analyze(path, {}), std::nullopt);
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_EQ(analyze(path, {}), std::nullopt);
}

TEST_F(PitchFilesTest, ATruncatedM4aGivesNothingAndATruncatedCafWhatIsThere) {
    auto bytes = media::bytesOf(m4a(4, 180));
    bytes.resize(bytes.size() / 2);
    media::writeBytes(folder / "half.m4a", bytes);
    EXPECT_EQ(analyze(folder / "half.m4a", {}), std::nullopt); // its index stands at the end
    auto half = media::bytesOf(caf(voice(4, 180, 48000.0), 48000.0));
    half.resize(half.size() / 2);
    media::writeBytes(folder / "half.caf", half);
    const auto stats = analyze(folder / "half.caf", {});
    ASSERT_TRUE(stats);
    EXPECT_NEAR(stats->voicedSeconds, 2, 0.1);
    EXPECT_NEAR(stats->medianHz.value_or(0), 180, 0.2);
}

} // namespace
