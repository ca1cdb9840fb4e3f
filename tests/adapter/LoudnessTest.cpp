#include "adapter/Loudness.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using adapter::Range;
using testing::ElementsAre;
using testing::IsEmpty;
namespace Loudness = adapter::Loudness;

namespace {

constexpr float quiet = -90.0F;
constexpr float loud = -20.0F;

/// Levels for so many seconds each.
std::vector<float> levels(std::initializer_list<std::pair<double, float>> stretches) {
    std::vector<float> result;
    for (const auto& [seconds, level] : stretches) {
        result.insert(result.end(), static_cast<std::size_t>(std::llround(seconds / Loudness::frameSeconds)), level);
    }
    return result;
}

testing::Matcher<Range> near(double start, double end) {
    return testing::AllOf(testing::Field(&Range::start, testing::DoubleNear(start, 1e-9)),
                          testing::Field(&Range::end, testing::DoubleNear(end, 1e-9)));
}

} // namespace

TEST(LoudnessTest, ALevelIsTheRootMeanSquareInDecibels) {
    EXPECT_FLOAT_EQ(Loudness::levelDB(std::vector<float>(320, 1.0F)), 0.0F);
    EXPECT_NEAR(Loudness::levelDB(std::vector<float>(320, 0.1F)), -20.0F, 1e-4);
    EXPECT_FLOAT_EQ(Loudness::levelDB(std::vector<float>(320, 0.0F)), -120.0F);
    EXPECT_FLOAT_EQ(Loudness::levelDB({}), -120.0F);
}

TEST(LoudnessTest, ASampleThatIsNoNumberMakesItsFrameLoud) {
    std::vector<float> frame(320, 0.0F);
    frame[7] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FLOAT_EQ(Loudness::levelDB(frame), 0.0F);
}

TEST(LoudnessTest, TheThresholdFollowsTheTracksNoiseWithinBounds) {
    EXPECT_DOUBLE_EQ(Loudness::threshold(levels({{9, -55.0F}, {1, loud}})), -47.0);
    EXPECT_DOUBLE_EQ(Loudness::threshold(levels({{9, quiet}, {1, loud}})), -60.0);
    EXPECT_DOUBLE_EQ(Loudness::threshold(levels({{10, -10.0F}})), -38.0) << "loud noise is kept";
    EXPECT_DOUBLE_EQ(Loudness::threshold({}), -60.0);
}

TEST(LoudnessTest, SilenceAloneHoldsNothing) {
    EXPECT_THAT(Loudness::speech(levels({{100, quiet}})), IsEmpty());
    EXPECT_THAT(Loudness::speech({}), IsEmpty());
}

TEST(LoudnessTest, SoundIsKeptWithAMarginOnBothSides) {
    EXPECT_THAT(Loudness::speech(levels({{10, quiet}, {3, loud}, {10, quiet}})), ElementsAre(near(9.5, 13.5)));
}

TEST(LoudnessTest, AMarginEndsWithTheTrack) {
    EXPECT_THAT(Loudness::speech(levels({{0.2, quiet}, {3, loud}, {0.2, quiet}})), ElementsAre(near(0.0, 3.4)));
}

TEST(LoudnessTest, ASilenceOfTwoSecondsStaysALongerOneIsCut) {
    EXPECT_THAT(Loudness::speech(levels({{1, loud}, {2.0, quiet}, {1, loud}})), ElementsAre(near(0.0, 4.0)));
    EXPECT_THAT(Loudness::speech(levels({{1, loud}, {2.02, quiet}, {1, loud}})),
                ElementsAre(near(0.0, 1.5), near(2.52, 4.02)));
}

TEST(LoudnessTest, SoftSpeechInAQuietRoomIsKept) {
    EXPECT_THAT(Loudness::speech(levels({{60, -70.0F}, {2, -58.0F}, {60, -70.0F}})), ElementsAre(near(59.5, 62.5)));
}

TEST(LoudnessTest, ATrackThatIsLoudThroughoutIsKeptWhole) {
    EXPECT_THAT(Loudness::speech(levels({{100, -30.0F}})), ElementsAre(near(0.0, 100.0)));
}
