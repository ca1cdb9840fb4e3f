#include "capture/TrackGate.h"

#include "fakes/ManualScheduler.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <thread>
#include <vector>

using namespace capture;

namespace {

struct CountingSink final : CaptureSink {
    [[nodiscard]] base::Scheduler& queue() override { return scheduler; }

    void append(const AudioBlock& block) override {
        frames.push_back(block.frames());
        lastStamp = block.stampSeconds;
    }

    fakes::ManualScheduler scheduler;
    std::vector<std::size_t> frames;
    double lastStamp = 0;
};

class TrackGateTest : public testing::Test {
protected:
    /// 480 frames of stereo: ten milliseconds.
    [[nodiscard]] AudioBlock block(double stamp) const {
        return {{SampleType::Int16, 48000.0, 2}, std::as_bytes(std::span(m_samples)), stamp};
    }

    static constexpr double frame = 1 / 48000.0;
    std::shared_ptr<CountingSink> sink = std::make_shared<CountingSink>();
    TrackGate gate{sink, 5.0};

private:
    std::array<std::int16_t, 960> m_samples{};
};

TEST_F(TrackGateTest, EverythingAfterTheBeginningPassesAnOpenGate) {
    gate.append(block(5));
    gate.append(block(1e300));
    EXPECT_EQ(sink->frames, (std::vector<std::size_t>{480, 480}));
    EXPECT_EQ(&gate.queue(), &sink->queue());
}

TEST_F(TrackGateTest, ABlockAcrossTheBeginningLosesWhatLiesBefore) {
    gate.append(block(4.996));
    EXPECT_EQ(sink->frames, std::vector<std::size_t>{288});
    EXPECT_NEAR(sink->lastStamp, 5.0, 1e-9);
}

TEST_F(TrackGateTest, ABlockBeforeTheBeginningStillShowsThatTheSourceLives) {
    gate.append(block(4.9));
    EXPECT_EQ(sink->frames, std::vector<std::size_t>{480});
    EXPECT_EQ(sink->lastStamp, 4.9);
}

TEST_F(TrackGateTest, ABlockAcrossTheEndIsCutAtItsFrame) {
    gate.close(10.004);
    gate.append(block(10.0));
    EXPECT_EQ(sink->frames, std::vector<std::size_t>{192});
    EXPECT_EQ(sink->lastStamp, 10.0);
    gate.append(block(10.01));
    EXPECT_EQ(sink->frames.size(), 1U);
}

TEST_F(TrackGateTest, ABlockThatEndsAtTheEndPassesWhole) {
    gate.close(10.01);
    gate.append(block(10.0));
    EXPECT_EQ(sink->frames, std::vector<std::size_t>{480});
    EXPECT_FALSE(gate.waitForEnd(0)) << "the next block has yet to show that nothing is missing";
    gate.append(block(10.01));
    EXPECT_EQ(sink->frames.size(), 1U);
    EXPECT_TRUE(gate.waitForEnd(0));
}

TEST_F(TrackGateTest, LateSoundFromBeforeTheEndStillPasses) {
    gate.close(10.0);
    gate.append(block(9.5));
    EXPECT_EQ(sink->frames, std::vector<std::size_t>{480});
    EXPECT_FALSE(gate.waitForEnd(0));
}

TEST_F(TrackGateTest, NoFrameIsCountedOnBothSides) {
    EXPECT_EQ(TrackGate::framesBegunBefore(10 + 0.5 * frame, block(10)), 1U);
    EXPECT_EQ(TrackGate::framesEndedBy(10 + 0.5 * frame, block(10)), 0U);
    EXPECT_EQ(TrackGate::framesBegunBefore(10 + 3 * frame, block(10)), 3U);
    EXPECT_EQ(TrackGate::framesEndedBy(10 + 3 * frame, block(10)), 3U);
    EXPECT_EQ(TrackGate::framesEndedBy(9, block(10)), 0U);
    EXPECT_EQ(TrackGate::framesEndedBy(11, block(10)), 480U);
    EXPECT_EQ(TrackGate::framesEndedBy(11, block(std::numeric_limits<double>::quiet_NaN())), 480U);
}

TEST_F(TrackGateTest, WhatPassesIsNeverLongerThanTheTimeBetween) {
    for (int i = 0; i < 100; ++i) {
        CountingSink counted;
        TrackGate each(std::shared_ptr<CaptureSink>(&counted, [](CaptureSink*) {}), 5.0 + i * 0.37 * frame);
        each.close(5.05 + i * 0.11 * frame);
        std::size_t total = 0;
        for (double stamp = 4.99; stamp < 5.07; stamp += 0.01) {
            each.append(block(stamp));
        }
        for (std::size_t at = 1; at < counted.frames.size(); ++at) {
            total += counted.frames[at]; // the first lies before the beginning
        }
        EXPECT_LE(static_cast<double>(total), (0.05 - i * 0.26 * frame) * 48000 + 0.01) << i;
        EXPECT_GT(static_cast<double>(total), (0.05 - i * 0.26 * frame) * 48000 - 2.01) << i;
    }
}

TEST_F(TrackGateTest, TheFirstEndCounts) {
    gate.close(10.0);
    gate.close(20.0);
    gate.append(block(10.0));
    EXPECT_TRUE(sink->frames.empty());
}

TEST_F(TrackGateTest, SomeoneWaitingHearsOfTheEnd) {
    gate.close(10.0);
    std::thread source([this] { gate.append(block(10.0)); });
    EXPECT_TRUE(gate.waitForEnd(60));
    source.join();
}

} // namespace
