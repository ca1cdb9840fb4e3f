#include "platform/linux/UntilHeard.h"

#include "fakes/ManualScheduler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <span>
#include <vector>

using namespace platform::linux_desktop;

namespace {

constexpr capture::AudioFormat mono{capture::SampleType::Int16, 1000.0, 1}; // a frame is a millisecond

class UntilHeardTest : public testing::Test {
protected:
    UntilHeardTest() { clock.set(100.0); }

    /// Passes `frames` frames that count on from the ones before.
    void pass(double stamp, int frames) {
        std::vector<std::int16_t> sound(static_cast<std::size_t>(frames));
        std::iota(sound.begin(), sound.end(), m_next);
        m_next = static_cast<std::int16_t>(m_next + frames);
        heard.pass({mono, std::as_bytes(std::span(sound)), stamp});
    }

    void expectInOrder(std::size_t count) const {
        ASSERT_EQ(samples.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(samples[i], static_cast<std::int16_t>(i));
        }
    }

    fakes::ManualClock clock;
    std::vector<double> stamps;
    std::vector<std::int16_t> samples;
    UntilHeard heard{clock, [this](const capture::AudioBlock& block) {
                         stamps.push_back(block.stampSeconds);
                         const auto old = samples.size();
                         samples.resize(old + block.frames());
                         std::memcpy(samples.data() + old, block.data.data(), block.data.size());
                     }};

private:
    std::int16_t m_next = 0;
};

TEST_F(UntilHeardTest, SoundOfThePastPassesAtOnce) {
    pass(99.9, 100);
    expectInOrder(100);
    EXPECT_EQ(stamps, std::vector<double>{99.9});
}

TEST_F(UntilHeardTest, WhatIsYetToBeHeardWaitsForItsMoment) {
    pass(99.95, 100); // half of it lies ahead
    expectInOrder(50);
    clock.set(100.1);
    pass(100.05, 100);
    expectInOrder(150);
    ASSERT_EQ(stamps.size(), 2U);
    EXPECT_NEAR(stamps[1], 100.0, 1e-9);
}

TEST_F(UntilHeardTest, TheEndPassesAllThatIsHeld) {
    pass(100.5, 100);
    expectInOrder(0);
    heard.finish();
    expectInOrder(100);
    EXPECT_EQ(stamps, std::vector<double>{100.5});
    heard.finish();
    expectInOrder(100);
}

TEST_F(UntilHeardTest, SoundThatDoesNotContinueIsNotJoined) {
    pass(100.1, 100);
    pass(100.5, 100);
    EXPECT_EQ(stamps, std::vector<double>{100.1}); // the first is let go, the second waits
    heard.finish();
    EXPECT_EQ(stamps, (std::vector<double>{100.1, 100.5}));
    expectInOrder(200);
}

TEST_F(UntilHeardTest, AStampFurtherAheadThanLoudspeakersKeepSoundIsNow) {
    pass(100.0 + UntilHeard::mostAheadOfNow, 10);
    EXPECT_TRUE(stamps.empty());
    pass(100.001 + UntilHeard::mostAheadOfNow + 1, 10);
    EXPECT_EQ(stamps, (std::vector<double>{100.0 + UntilHeard::mostAheadOfNow, 100.0}));
    pass(std::nan(""), 10);
    EXPECT_EQ(stamps.back(), 100.0);
}

TEST_F(UntilHeardTest, AnEmptyBlockIsNothing) {
    heard.pass({mono, {}, 99});
    EXPECT_TRUE(stamps.empty());
}

} // namespace
