#include "platform/linux/StreamClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace platform::linux_desktop {
namespace {

constexpr double rate = 48000;
constexpr double begin = 1000; // the moment of frame 0
constexpr std::int64_t block = 480;
constexpr double blockSeconds = block / rate;
constexpr double precise = 1e-6;

/// A device that captures without a slip: every block arrives `delay` after its last frame.
class Device {
public:
    explicit Device(StreamClock& clock) : m_clock(clock) {}

    /// A block arrives and the server says how old the next frame is.
    void arrive(double delay = 0, bool word = true) {
        m_heard += blockSeconds;
        m_clock.arrived(m_heard + delay, block);
        if (word) {
            m_clock.told(m_heard + delay, delay);
        }
    }

    void arrive(int blocks) {
        for (int count = 0; count < blocks; ++count) {
            arrive();
        }
    }

    void lose(double seconds) { m_heard += seconds; }

    [[nodiscard]] double heard() const { return m_heard; }

private:
    StreamClock& m_clock;
    double m_heard = begin;
};

class StreamClockTest : public testing::Test {
protected:
    StreamClock clock{rate};
    Device device{clock};
    const int settling = static_cast<int>(StreamClock::settleWords);
};

TEST_F(StreamClockTest, IsNotSettledBeforeItHasHeardEnoughWords) {
    EXPECT_FALSE(clock.settled());
    device.arrive(settling - 1);
    EXPECT_FALSE(clock.settled());
    device.arrive();
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(0), begin, precise);
    EXPECT_NEAR(clock.moment(block), begin + blockSeconds, precise);
}

TEST_F(StreamClockTest, ALateWordOrTwoAtTheBeginningMoveNothing) {
    for (int count = 0; count < settling; ++count) {
        clock.arrived(device.heard() + blockSeconds, block);
        clock.told(device.heard() + blockSeconds, count < 2 ? -0.03 : 0.0); // as if heard later
        device.lose(blockSeconds);
    }
    EXPECT_NEAR(clock.moment(0), begin, precise);
}

TEST_F(StreamClockTest, OneWordThatIsFarTooEarlyMovesNothing) {
    for (int count = 0; count < settling; ++count) {
        clock.arrived(device.heard() + blockSeconds, block);
        clock.told(device.heard() + blockSeconds, count == 5 ? 1.0 : 0.0);
        device.lose(blockSeconds);
    }
    EXPECT_NEAR(clock.moment(0), begin, precise);
}

TEST_F(StreamClockTest, ADelayedWordStillTellsTheTruth) {
    for (int count = 0; count < settling; ++count) {
        device.arrive(0.03 * (count % 3));
    }
    EXPECT_NEAR(clock.moment(0), begin, precise);
}

TEST_F(StreamClockTest, WordsThatAreNoLatenciesAreNotCounted) {
    for (const double latency : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(), 3600.0, -3600.0,
                                 std::nextafter(StreamClock::longestLatency, 6.0)}) {
        for (int count = 0; count < settling; ++count) {
            clock.told(begin, latency);
        }
        EXPECT_FALSE(clock.settled()) << latency;
    }
    for (int count = 0; count < settling; ++count) {
        clock.told(begin + StreamClock::longestLatency, StreamClock::longestLatency);
    }
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(0), begin, precise);
}

TEST_F(StreamClockTest, WithoutWordsSoundIsPlacedByItsArrivalAfterAWhile) {
    const int patience = static_cast<int>(std::lround(StreamClock::patienceSeconds / blockSeconds));
    for (int count = 1; count < patience; ++count) {
        device.arrive(0.02, false);
    }
    EXPECT_FALSE(clock.settled());
    device.arrive(0.02, false);
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(0), begin + 0.02, precise);
}

TEST_F(StreamClockTest, FollowsTheCountAndNotTheJitterOfArrivals) {
    device.arrive(settling);
    for (int count = 0; count < 100; ++count) {
        device.arrive(0.0009 * (count % 100), false);
        EXPECT_TRUE(clock.settled());
        EXPECT_NEAR(clock.moment(clock.frames()), device.heard(), precise);
    }
}

TEST_F(StreamClockTest, AsksForAWordAtEveryBlockUntilItIsSettledAndThenOnceASecond) {
    EXPECT_TRUE(clock.wantsWord());
    device.arrive(settling);
    EXPECT_FALSE(clock.wantsWord());
    const int interval = static_cast<int>(std::lround(StreamClock::wordInterval / blockSeconds));
    for (int count = 1; count < interval; ++count) {
        device.arrive(0, false);
        EXPECT_FALSE(clock.wantsWord());
    }
    device.arrive(0, false);
    EXPECT_TRUE(clock.wantsWord());
    device.arrive();
    EXPECT_FALSE(clock.wantsWord());
}

TEST_F(StreamClockTest, AHoleOfExactlyTheToleranceIsJitter) {
    device.arrive(settling);
    device.lose(StreamClock::gapSeconds - precise);
    device.arrive(0, false);
    EXPECT_TRUE(clock.settled());
    device.arrive();
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(clock.frames()), device.heard() - StreamClock::gapSeconds, 2 * precise);
}

TEST_F(StreamClockTest, ALongerHoleIsDoubtedAndThenBelieved) {
    device.arrive(settling);
    const auto before = clock.frames();
    device.lose(StreamClock::gapSeconds + precise);
    for (std::size_t word = 1; word < StreamClock::gapWords; ++word) {
        device.arrive();
        EXPECT_FALSE(clock.settled());
        EXPECT_TRUE(clock.wantsWord());
    }
    device.arrive();
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(before - block), begin + (settling - 1) * blockSeconds, precise) << "before the hole";
    EXPECT_NEAR(clock.moment(before), begin + settling * blockSeconds + StreamClock::gapSeconds, 2 * precise);
    EXPECT_NEAR(clock.moment(clock.frames()), device.heard(), precise);
}

TEST_F(StreamClockTest, SoundThatIsOnlyDelayedStaysWhereItBelongs) {
    device.arrive(settling);
    device.arrive(1.2, false); // a server that hung, and lost nothing
    EXPECT_FALSE(clock.settled());
    clock.told(device.heard() + 1.2, 1.2);
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(clock.frames()), device.heard(), precise);
    device.arrive(3);
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(clock.frames()), device.heard(), precise);
}

TEST_F(StreamClockTest, SoundThatComesAtOnceAfterAStandstillWaitsForAWord) {
    device.arrive(settling);
    const int stored = static_cast<int>(std::lround(3 / blockSeconds));
    for (int left = stored - 1; left >= 0; --left) {
        device.arrive(left * blockSeconds, false); // all at the same moment
    }
    EXPECT_FALSE(clock.settled());
    clock.told(device.heard(), 0);
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(clock.frames()), device.heard(), precise);
    EXPECT_NEAR(clock.moment(0), begin, precise);
}

TEST_F(StreamClockTest, ADelayThatStaysIsDoubtedOnce) {
    device.arrive(settling);
    int doubts = 0;
    for (int count = 0; count < 50; ++count) {
        device.arrive(0.15, false);
        if (!clock.settled()) {
            ++doubts;
            clock.told(device.heard() + 0.15, 0.15);
        }
    }
    EXPECT_EQ(doubts, 1);
}

TEST_F(StreamClockTest, AHoleThatNoArrivalBetrayedIsFoundByTheNextWord) {
    // A server that counts what it has lost: blocks arrive on time, but the next frame is younger than they say.
    device.arrive(settling);
    for (std::size_t word = 1; word < StreamClock::gapWords; ++word) {
        clock.told(device.heard(), -0.2);
        EXPECT_FALSE(clock.settled());
    }
    clock.told(device.heard(), -0.2);
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(clock.frames()), device.heard() + 0.2, precise);
}

TEST_F(StreamClockTest, AWordThatIsEarlierThanTheCountChangesNothing) {
    device.arrive(settling);
    for (int count = 0; count < 20; ++count) {
        device.arrive(0, false);
        clock.told(device.heard(), 0.5);
        EXPECT_TRUE(clock.settled());
    }
    EXPECT_NEAR(clock.moment(clock.frames()), device.heard(), precise);
}

TEST_F(StreamClockTest, HolesAddUp) {
    device.arrive(settling);
    for (int hole = 0; hole < 3; ++hole) {
        device.lose(1);
        device.arrive(static_cast<int>(StreamClock::gapWords));
        ASSERT_TRUE(clock.settled());
        EXPECT_NEAR(clock.moment(clock.frames()), device.heard(), precise);
    }
}

TEST_F(StreamClockTest, SettlesEarlyWithWhatItHasWhenNothingMoreWillCome) {
    device.arrive(2);
    clock.settle();
    EXPECT_TRUE(clock.settled());
    EXPECT_NEAR(clock.moment(0), begin, precise);
}

TEST_F(StreamClockTest, DoesNotSettleOnNothing) {
    clock.settle();
    EXPECT_FALSE(clock.settled());
}

} // namespace
} // namespace platform::linux_desktop
