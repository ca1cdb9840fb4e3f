#include "platform/linux/SoundFeed.h"

#include "base/HostClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace platform::linux_desktop {
namespace {

constexpr double rate = 48000;
constexpr double begin = 1000;
constexpr std::int64_t block = 480;
constexpr double blockSeconds = block / rate;
constexpr double precise = 1e-6;
constexpr capture::AudioFormat mono{capture::SampleType::Int16, rate, 1};

/// What came out, frame by frame: a sample and its moment.
struct Heard {
    std::vector<std::int16_t> samples;
    std::vector<double> moments;
    std::vector<double> blocks; ///< stamps as delivered
    std::vector<std::size_t> blockFrames;
};

class SoundFeedTest : public testing::Test {
protected:
    SoundFeed make() {
        return SoundFeed(mono, [this](const capture::AudioBlock& delivered) {
            heard.blocks.push_back(delivered.stampSeconds);
            heard.blockFrames.push_back(delivered.frames());
            for (std::size_t frame = 0; frame < delivered.frames(); ++frame) {
                std::int16_t sample = 0;
                std::memcpy(&sample, delivered.data.data() + 2 * frame, 2);
                heard.samples.push_back(sample);
                heard.moments.push_back(delivered.stampSeconds + static_cast<double>(frame) / rate);
            }
        });
    }

    /// One block of samples that count up from 1, arriving as its last frame is heard.
    void arrive(SoundFeed& feed) {
        std::vector<std::int16_t> samples(block);
        std::ranges::generate(samples, [this] { return ++m_next; });
        now += blockSeconds;
        feed.arrived(now, std::as_bytes(std::span(samples)), block);
        feed.told(now, 0);
    }

    void settle(SoundFeed& feed) {
        for (std::size_t word = 0; word < StreamClock::settleWords; ++word) {
            arrive(feed);
        }
        ASSERT_TRUE(feed.settled());
    }

    /// The moment of the first frame with this sample.
    [[nodiscard]] double momentOf(std::int16_t sample) const {
        const auto found = std::ranges::find(heard.samples, sample);
        return found == heard.samples.end() ? -1
                                            : heard.moments[static_cast<std::size_t>(found - heard.samples.begin())];
    }

    [[nodiscard]] bool continuous() const {
        for (std::size_t frame = 1; frame < heard.moments.size(); ++frame) {
            if (std::abs(heard.moments[frame] - heard.moments[frame - 1] - 1 / rate) > precise) {
                return false;
            }
        }
        return true;
    }

    double now = begin;
    Heard heard;

private:
    std::int16_t m_next = 0;
};

TEST_F(SoundFeedTest, DeliversNothingBeforeItsMomentIsKnown) {
    auto feed = make();
    feed.start(std::nullopt);
    for (std::size_t word = 1; word < StreamClock::settleWords; ++word) {
        arrive(feed);
    }
    EXPECT_TRUE(heard.blocks.empty());
    arrive(feed);
    EXPECT_EQ(std::ranges::count_if(heard.samples, [](auto sample) { return sample != 0; }), 10 * block);
    EXPECT_NEAR(momentOf(1), begin, precise) << "nothing of what was kept is lost";
}

TEST_F(SoundFeedTest, DeliversNothingBeforeTheStart) {
    auto feed = make();
    settle(feed);
    arrive(feed);
    EXPECT_TRUE(heard.blocks.empty());
    feed.start(std::nullopt);
    EXPECT_NEAR(momentOf(1), begin, precise);
    arrive(feed);
    EXPECT_TRUE(continuous());
}

TEST_F(SoundFeedTest, SilenceLeadsInToTheFirstSoundInSmallPieces) {
    auto feed = make();
    feed.start(std::nullopt);
    settle(feed);
    const auto lead = std::ranges::find(heard.samples, 1) - heard.samples.begin();
    EXPECT_EQ(lead, std::lround(SoundFeed::leadInSeconds * rate));
    EXPECT_NEAR(heard.moments.front(), begin - SoundFeed::leadInSeconds, precise);
    EXPECT_LE(heard.blockFrames.front(), std::lround(SoundFeed::leadInPieceSeconds * rate));
    EXPECT_TRUE(
        std::ranges::all_of(heard.samples.begin(), heard.samples.begin() + lead, [](auto s) { return s == 0; }));
    EXPECT_TRUE(continuous());
}

TEST_F(SoundFeedTest, LeadInIsLongerThanTheHoleThatATrackLeavesOut) {
    EXPECT_GT(SoundFeed::leadInSeconds, 0.1);
}

TEST_F(SoundFeedTest, WhatTheReplacedStreamDeliveredIsNotDeliveredAgain) {
    auto feed = make();
    settle(feed);
    constexpr std::int64_t doubled = 700; // in the second block
    feed.start(begin + doubled / rate);
    EXPECT_EQ(heard.samples.front(), doubled + 1);
    EXPECT_NEAR(heard.moments.front(), begin + doubled / rate, precise);
    EXPECT_TRUE(continuous());
}

TEST_F(SoundFeedTest, AStreamThatHasHeardNothingNewYetWaits) {
    auto feed = make();
    settle(feed);
    feed.start(now + 0.005);
    EXPECT_TRUE(heard.blocks.empty());
    arrive(feed);
    EXPECT_NEAR(heard.moments.front(), begin + 10 * blockSeconds + 0.005, precise);
}

TEST_F(SoundFeedTest, AShortHoleAfterTheReplacedStreamIsFilled) {
    auto feed = make();
    feed.start(begin - 0.05);
    settle(feed);
    EXPECT_NEAR(heard.moments.front(), begin - 0.05, precise);
    EXPECT_EQ(std::ranges::find(heard.samples, 1) - heard.samples.begin(), std::lround(0.05 * rate));
    EXPECT_TRUE(continuous());
}

TEST_F(SoundFeedTest, ALongHoleAfterTheReplacedStreamIsLeftToTheTrack) {
    auto feed = make();
    feed.start(begin - 20);
    settle(feed);
    EXPECT_NEAR(heard.moments.front(), begin - SoundFeed::leadInSeconds, precise);
}

TEST_F(SoundFeedTest, AStreamWithoutAHoleNeedsNoLeadIn) {
    auto feed = make();
    feed.start(begin);
    settle(feed);
    EXPECT_EQ(heard.samples.front(), 1);
}

TEST_F(SoundFeedTest, SoundThatTheServerHasLostIsSilenceOfItsLength) {
    auto feed = make();
    feed.start(begin);
    settle(feed);
    now += blockSeconds;
    feed.arrived(now, {}, block);
    arrive(feed);
    EXPECT_EQ(heard.samples.size(), static_cast<std::size_t>(12 * block));
    EXPECT_EQ(heard.samples[10 * block], 0);
    EXPECT_NEAR(momentOf(10 * block + 1), begin + 11 * blockSeconds, precise);
    EXPECT_TRUE(continuous());
}

TEST_F(SoundFeedTest, WhatFollowsAHoleHasItsTrueMoment) {
    auto feed = make();
    feed.start(begin);
    settle(feed);
    now += 3;
    arrive(feed);
    EXPECT_EQ(heard.samples.size(), static_cast<std::size_t>(10 * block)) << "kept until the hole is certain";
    arrive(feed);
    arrive(feed);
    EXPECT_NEAR(momentOf(10 * block + 1), begin + 10 * blockSeconds + 3, precise);
}

TEST_F(SoundFeedTest, SoundThatComesAtOnceAfterAStandstillIsDeliveredWholeAtItsPlace) {
    auto feed = make();
    feed.start(begin);
    settle(feed);
    const auto stored = std::lround((SoundFeed::longestKept + 1) / blockSeconds);
    const std::vector<std::byte> sound(static_cast<std::size_t>(2 * block));
    now += static_cast<double>(stored) * blockSeconds;
    for (long count = 0; count < stored; ++count) {
        feed.arrived(now, sound, block);
    }
    feed.told(now, 0);
    EXPECT_EQ(static_cast<long>(heard.samples.size()), (10 + stored) * block);
    EXPECT_TRUE(continuous());
    EXPECT_NEAR(heard.moments.back(), now - 1 / rate, precise);
}

TEST_F(SoundFeedTest, SoundThatIsYetToBeHeardHasTheMomentAtWhichItWillBe) {
    auto feed = make();
    feed.start(begin);
    std::vector<std::int16_t> samples(block);
    for (std::size_t count = 0; count < StreamClock::settleWords; ++count) {
        now += blockSeconds;
        feed.arrived(now, std::as_bytes(std::span(samples)), block);
        feed.told(now, -0.05); // a monitor gets sound before it is heard
    }
    EXPECT_NEAR(heard.moments.back() + 1 / rate, now + 0.05, precise);
}

TEST_F(SoundFeedTest, TheEndDeliversWhatWaitedForItsMoment) {
    auto feed = make();
    feed.start(begin);
    arrive(feed);
    arrive(feed);
    EXPECT_TRUE(heard.blocks.empty());
    feed.finish();
    EXPECT_EQ(heard.samples.size(), static_cast<std::size_t>(2 * block));
    ASSERT_TRUE(feed.deliveredUntil().has_value());
    EXPECT_NEAR(*feed.deliveredUntil(), now, precise);
}

TEST_F(SoundFeedTest, TheEndOfAStreamThatNeverStartedDeliversNothing) {
    auto feed = make();
    settle(feed);
    feed.finish();
    EXPECT_TRUE(heard.blocks.empty());
    EXPECT_FALSE(feed.deliveredUntil().has_value());
}

TEST_F(SoundFeedTest, KeepsNoMoreThanItsLimitWhileItWaitsForTheStart) {
    auto feed = make();
    const auto blocks = static_cast<int>(std::lround(SoundFeed::longestKept / blockSeconds)) + 50;
    for (int count = 0; count < blocks; ++count) {
        arrive(feed);
    }
    feed.start(now - 100);
    const auto sounding = std::ranges::count_if(heard.samples, [](auto sample) { return sample != 0; });
    EXPECT_LE(sounding, std::lround(SoundFeed::longestKept * rate));
    EXPECT_GT(sounding, std::lround(SoundFeed::longestKept * rate) - 2 * block);
    EXPECT_NEAR(heard.moments.back(), now - 1 / rate, precise) << "the newest is kept";
}

} // namespace
} // namespace platform::linux_desktop
