#include "platform/linux/OwnSoundFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <span>

namespace platform::linux_desktop {
namespace {

constexpr double rate = 48000;
constexpr double begin = 1000;
constexpr std::size_t blockFrames = 4800;
constexpr double blockSeconds = blockFrames / rate;
constexpr capture::AudioFormat stereo{capture::SampleType::Int16, rate, 2};
constexpr std::int16_t everything = 1000; // what the monitor hears
constexpr std::int16_t theirs = 300;      // what others play

class OwnSoundFilterTest : public testing::Test {
protected:
    OwnSoundFilter filter{stereo, [this](const capture::AudioBlock& block) {
                              EXPECT_EQ(block.format, stereo);
                              std::vector<std::int16_t> samples(block.data.size() / 2);
                              std::memcpy(samples.data(), block.data.data(), block.data.size());
                              stamps.push_back(block.stampSeconds);
                              passed.insert(passed.end(), samples.begin(), samples.end());
                          }};

    static capture::AudioBlock block(const std::vector<std::int16_t>& samples, double moment) {
        return {stereo, std::as_bytes(std::span(samples)), moment};
    }

    /// The next block of the monitor.
    void hear() {
        filter.monitor(block(std::vector(2 * blockFrames, everything), m_moment));
        m_moment += blockSeconds;
    }

    void hear(double seconds) {
        for (long count = std::lround(seconds / blockSeconds); count > 0; --count) {
            hear();
        }
    }

    /// What one other program plays, for `seconds` from `moment` on.
    void tap(double moment, double seconds, std::int16_t sample = theirs) {
        filter.tap(block(std::vector(2 * static_cast<std::size_t>(std::lround(seconds * rate)), sample), moment));
    }

    /// The sample of the left channel at a moment; -1 where nothing has passed yet.
    [[nodiscard]] int at(double moment) const {
        const auto index = 2 * static_cast<std::size_t>(std::lround((moment - begin) * rate));
        return index < passed.size() ? passed[index] : -1;
    }

    [[nodiscard]] double passedSeconds() const { return static_cast<double>(passed.size()) / 2 / rate; }

    std::vector<std::int16_t> passed;
    std::vector<double> stamps;

private:
    double m_moment = begin;
};

TEST_F(OwnSoundFilterTest, NothingPassesBeforeItIsKnownWhoPlays) {
    hear(0.3);
    EXPECT_TRUE(passed.empty());
    filter.known(false);
    EXPECT_NEAR(passedSeconds(), 0.3, 1e-9);
    EXPECT_EQ(at(begin), everything);
    EXPECT_EQ(stamps.front(), begin);
}

TEST_F(OwnSoundFilterTest, EverythingPassesAtOnceWhileWePlayNothing) {
    filter.known(false);
    hear();
    EXPECT_NEAR(passedSeconds(), blockSeconds, 1e-9);
    EXPECT_FALSE(filter.needsTaps());
    EXPECT_EQ(at(begin + 0.05), everything);
}

TEST_F(OwnSoundFilterTest, WhatOthersPlayWithoutUsPassesAfterADoubt) {
    filter.known(false);
    hear(0.2);
    filter.doubt();
    hear(0.2);
    EXPECT_NEAR(passedSeconds(), 0.2, 1e-9);
    filter.known(false);
    EXPECT_NEAR(passedSeconds(), 0.4, 1e-9);
    EXPECT_EQ(at(begin + 0.3), everything);
}

TEST_F(OwnSoundFilterTest, SilenceTakesThePlaceOfOurSoundWhenNobodyElsePlays) {
    filter.known(true);
    hear(1);
    EXPECT_TRUE(filter.needsTaps());
    EXPECT_GT(passedSeconds(), 0.5);
    for (const auto sample : passed) {
        ASSERT_EQ(sample, 0);
    }
}

TEST_F(OwnSoundFilterTest, WhatOthersPlayBesideUsPassesAtItsPlace) {
    filter.known(true);
    hear(0.2);
    tap(begin + 0.05, 0.1);
    hear(0.5);
    EXPECT_EQ(at(begin + 0.05 - 1 / rate), 0);
    EXPECT_EQ(at(begin + 0.05), theirs);
    EXPECT_EQ(at(begin + 0.15 - 1 / rate), theirs);
    EXPECT_EQ(at(begin + 0.15), 0);
}

TEST_F(OwnSoundFilterTest, WhatSeveralOthersPlayIsAddedUp) {
    filter.known(true);
    hear(0.2);
    tap(begin, 0.1);
    tap(begin + 0.05, 0.1, 20);
    hear(0.5);
    EXPECT_EQ(at(begin + 0.02), theirs);
    EXPECT_EQ(at(begin + 0.07), theirs + 20);
    EXPECT_EQ(at(begin + 0.12), 20);
}

TEST_F(OwnSoundFilterTest, LoudSumsStopAtTheLoudestSample) {
    filter.known(true);
    hear(0.2);
    for (int count = 0; count < 3; ++count) {
        tap(begin, 0.05, 30000);
        tap(begin + 0.05, 0.05, -30000);
    }
    hear(0.5);
    EXPECT_EQ(at(begin + 0.01), std::numeric_limits<std::int16_t>::max());
    EXPECT_EQ(at(begin + 0.06), std::numeric_limits<std::int16_t>::min());
}

TEST_F(OwnSoundFilterTest, WaitsForTapsAsLongAsItSays) {
    filter.known(true);
    hear(OwnSoundFilter::tapDelay - blockSeconds);
    EXPECT_TRUE(passed.empty());
    hear();
    EXPECT_NEAR(passedSeconds(), blockSeconds, 1e-9);
}

TEST_F(OwnSoundFilterTest, TapThatComesTooLateIsLeftOut) {
    filter.known(true);
    hear(1);
    const double open = begin + passedSeconds();
    tap(begin, passedSeconds() + 0.1);
    hear(1);
    EXPECT_EQ(at(open - 1 / rate), 0);
    EXPECT_EQ(at(open), theirs);
    EXPECT_EQ(at(open + 0.1), 0);
}

TEST_F(OwnSoundFilterTest, TapWithANonsensicalStampIsLeftOut) {
    filter.known(true);
    hear(0.2);
    tap(begin + 3600, 0.1);
    tap(begin - 3600, 0.1);
    hear(1);
    for (const auto sample : passed) {
        ASSERT_EQ(sample, 0);
    }
}

TEST_F(OwnSoundFilterTest, SoundPassesUnchangedAgainAfterOurs) {
    filter.known(true);
    hear(0.5);
    tap(begin + 0.4, 0.1);
    filter.known(false);
    hear(0.2);
    EXPECT_EQ(at(begin + 0.45), -1) << "our last sound still waits for the taps";
    EXPECT_TRUE(filter.needsTaps());
    hear(0.5);
    EXPECT_EQ(at(begin + 0.45), theirs);
    EXPECT_EQ(at(begin + 0.5), everything);
    EXPECT_NEAR(passedSeconds(), 1.2, 1e-9) << "and nothing waits any more";
    EXPECT_FALSE(filter.needsTaps());
}

TEST_F(OwnSoundFilterTest, StampsFollowEachOtherThroughAllChanges) {
    filter.known(false);
    hear(0.3);
    filter.doubt();
    hear(0.1);
    filter.known(true);
    hear(0.7);
    filter.known(false);
    hear(1);
    for (std::size_t index = 1; index < stamps.size(); ++index) {
        EXPECT_NEAR(stamps[index] - stamps[index - 1], blockSeconds, 1e-9);
    }
    EXPECT_NEAR(passedSeconds(), 2.1, 1e-9);
}

TEST_F(OwnSoundFilterTest, SoundThatNobodyAnswersForBecomesSilence) {
    hear(OwnSoundFilter::longestDoubt);
    EXPECT_TRUE(passed.empty());
    hear();
    EXPECT_FALSE(passed.empty());
    EXPECT_EQ(at(begin), 0);
    filter.known(false);
    hear(1);
    EXPECT_EQ(at(begin + OwnSoundFilter::longestDoubt + 0.5), everything);
}

TEST_F(OwnSoundFilterTest, TheEndPassesWhatIsLeftWithoutOurSound) {
    filter.known(true);
    hear(0.2);
    tap(begin, 0.1);
    filter.doubt();
    hear(0.1);
    filter.finish();
    EXPECT_NEAR(passedSeconds(), 0.3, 1e-9);
    EXPECT_EQ(at(begin + 0.05), theirs);
    EXPECT_EQ(at(begin + 0.15), 0);
    EXPECT_EQ(at(begin + 0.25), 0) << "of which nobody said whose it is";
}

TEST_F(OwnSoundFilterTest, HoleOfTheMonitorLeavesTheTapsAtTheirPlace) {
    filter.known(true);
    hear(0.2);
    tap(begin, 0.2);
    filter.monitor(block(std::vector(2 * blockFrames, everything), begin + 0.7));
    tap(begin + 0.7, 0.05, 50);
    filter.finish();
    ASSERT_EQ(stamps.size(), 3u);
    EXPECT_EQ(stamps[2], begin + 0.7);
    EXPECT_EQ(passed[2 * 2 * blockFrames], 50);
    EXPECT_EQ(passed[2 * 2 * blockFrames + 2 * blockFrames - 1], 0);
}

TEST_F(OwnSoundFilterTest, BlockThatBeginsAFrameEarlyLosesNothing) {
    filter.known(true);
    hear();
    tap(begin, 0.3);
    filter.monitor(block(std::vector(2 * blockFrames, everything), begin + blockSeconds - 1 / rate));
    filter.finish();
    EXPECT_EQ(passed.size(), 4 * blockFrames);
    EXPECT_EQ(passed.back(), theirs);
    EXPECT_EQ(passed[2 * blockFrames], 0) << "the frame that was passed already is not doubled";
    EXPECT_EQ(passed[2 * blockFrames + 2], theirs);
}

} // namespace
} // namespace platform::linux_desktop
