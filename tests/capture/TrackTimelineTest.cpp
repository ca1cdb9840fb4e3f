#include "capture/TrackTimeline.h"

#include <gtest/gtest.h>

#include <limits>

namespace capture::TrackTimeline {
namespace {

constexpr double rate = 48000.0;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();

TEST(TrackTimeline, AHoleOfExactlyTheToleranceStaysAndOneFrameMoreIsFilledWhole) {
    EXPECT_EQ(silenceBefore(4800, 0, rate), 0);
    EXPECT_EQ(silenceBefore(4801, 0, rate), 4801);
    EXPECT_EQ(silenceBefore(104800, 100000, rate), 0);
    EXPECT_EQ(silenceBefore(104801, 100000, rate), 4801);
}

TEST(TrackTimeline, ABlockThatComesTooEarlyIsNoHole) {
    EXPECT_EQ(silenceBefore(0, 0, rate), 0);
    EXPECT_EQ(silenceBefore(0, 4801, rate), 0);
    EXPECT_EQ(silenceBefore(-4801, 0, rate), 0);
    EXPECT_EQ(silenceBefore(-100, -4901, rate), 4801);
}

TEST(TrackTimeline, TheToleranceIsTheWholePartAtEveryRate) {
    EXPECT_EQ(silenceBefore(4410, 0, 44100.0), 0);
    EXPECT_EQ(silenceBefore(4411, 0, 44100.0), 4411);
    EXPECT_EQ(silenceBefore(1102, 0, 11025.0), 0) << "of 1102.5";
    EXPECT_EQ(silenceBefore(1103, 0, 11025.0), 1103);
}

TEST(TrackTimeline, HugeNumbersOfFramesHaveAnAnswerToo) {
    EXPECT_EQ(silenceBefore(most, least, rate), most);
    EXPECT_EQ(silenceBefore(least, most, rate), 0);
    EXPECT_EQ(silenceBefore(100, 0, notANumber), 100);
    EXPECT_EQ(silenceBefore(100, 0, infinity), 0);
}

TEST(TrackTimeline, ATailIsPaddedUpToTheTotalRoundedToTheNearestFrame) {
    EXPECT_EQ(tailPadding(10.0, 0, rate), 480000);
    EXPECT_EQ(tailPadding(10.0, 479999, rate), 1);
    EXPECT_EQ(tailPadding(10.0, 480000, rate), 0);
    EXPECT_EQ(tailPadding(10.0, 480001, rate), 0);
    EXPECT_EQ(tailPadding(100.49 / rate, 0, rate), 100);
    EXPECT_EQ(tailPadding(100.51 / rate, 0, rate), 101);
    EXPECT_EQ(tailPadding(2.5, 0, 1.0), 3) << "a half goes up";
}

TEST(TrackTimeline, ATotalThatMakesNoSensePadsNothing) {
    EXPECT_EQ(tailPadding(-1.0, 0, rate), 0);
    EXPECT_EQ(tailPadding(notANumber, 0, rate), 0);
    EXPECT_EQ(tailPadding(-infinity, 0, rate), 0);
    EXPECT_EQ(tailPadding(1.0, most, rate), 0);
}

TEST(TrackTimeline, StampsUpToFiveSecondsAwayAreOnTheHostClock) {
    EXPECT_EQ(clockOffset(1000.0, 1000.0), 0.0);
    EXPECT_EQ(clockOffset(1000.0, 995.0), 0.0);
    EXPECT_EQ(clockOffset(1000.0, 1005.0), 0.0);
    EXPECT_EQ(clockOffset(1000.0, 994.5), 5.5);
    EXPECT_EQ(clockOffset(1000.0, 1005.5), -5.5);
    EXPECT_NEAR(clockOffset(1000.0, 994.999), 5.001, 1e-9);
    EXPECT_NEAR(clockOffset(1000.0, 1005.001), -5.001, 1e-9);
    EXPECT_EQ(clockOffset(1000.0, 0.0), 1000.0);
}

TEST(TrackTimeline, ABlockBeginsWhereItsStampSays) {
    EXPECT_EQ(expectedFrame(1012.0, 0.0, 1000.0, 1012.0, rate), 576000);
    EXPECT_EQ(expectedFrame(999.5, 0.0, 1000.0, 1000.0, rate), -24000);
    EXPECT_EQ(expectedFrame(0.5, 1000.0, 1000.0, 1000.5, rate), 24000) << "on another clock";
}

TEST(TrackTimeline, PlacesAreRoundedToTheNearestFrame) {
    EXPECT_EQ(expectedFrame(2.4, 0.0, 0.0, 0.0, 1.0), 2);
    EXPECT_EQ(expectedFrame(2.5, 0.0, 0.0, 0.0, 1.0), 3);
    EXPECT_EQ(expectedFrame(-2.5, 0.0, 0.0, 0.0, 1.0), -3);
}

TEST(TrackTimeline, AStampFarAheadOfTheClockCountsAsNow) {
    const double now = 1002.0;
    const double farthest = now + farthestAheadSeconds;
    EXPECT_EQ(expectedFrame(farthest, 0.0, 1000.0, now, rate), std::int64_t{3602} * 48000);
    EXPECT_EQ(expectedFrame(farthest + 0.5, 0.0, 1000.0, now, rate), 96000);
    EXPECT_EQ(expectedFrame(1e300, 0.0, 1000.0, now, rate), 96000);
    EXPECT_EQ(expectedFrame(1.7e308, 1.7e308, 1000.0, now, rate), 96000);
}

TEST(TrackTimeline, AStampFarBehindTheClockStaysFarBehind) {
    EXPECT_EQ(expectedFrame(-1e300, 0.0, 1000.0, 1002.0, rate), -(std::int64_t{1} << 53));
    EXPECT_EQ(expectedFrame(-1.7e308, -1.7e308, 1000.0, 1002.0, rate), -(std::int64_t{1} << 53));
}

TEST(TrackTimeline, FramesNeverLeaveTheRangeWhereTheyAreExact) {
    EXPECT_EQ(framesIn(1e300, rate), std::int64_t{1} << 53);
    EXPECT_EQ(framesIn(-infinity, rate), -(std::int64_t{1} << 53));
    EXPECT_EQ(framesIn(notANumber, rate), 0);
    EXPECT_EQ(framesIn(1.5, rate), 72000);
}

} // namespace
} // namespace capture::TrackTimeline
