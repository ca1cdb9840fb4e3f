#include "capture/LevelMeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace capture::LevelMeter {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(LevelMeter, SilenceAndNoDataAreTheLowestLevel) {
    EXPECT_EQ(dB(0, 100), -90.0);
    EXPECT_EQ(dB(5, 0), -90.0);
    EXPECT_EQ(dB(5, -1), -90.0);
    EXPECT_EQ(dB(-1, 100), -90.0);
    EXPECT_EQ(dB(notANumber, 100), -90.0);
}

TEST(LevelMeter, NothingIsQuieterThanSilence) {
    EXPECT_EQ(dB(1e-20, 1), -90.0) << "-200 before the limit";
    EXPECT_EQ(dB(1e-9, 1), -90.0);
    EXPECT_GT(dB(1.1e-9, 1), -90.0);
}

TEST(LevelMeter, TheLevelIsThatOfTheMeanPower) {
    EXPECT_EQ(dB(1, 1), 0.0);
    EXPECT_DOUBLE_EQ(dB(1, 10), -10.0);
    EXPECT_DOUBLE_EQ(dB(50, 100), 10 * std::log10(0.5));
    EXPECT_DOUBLE_EQ(dB(4, 1), 10 * std::log10(4.0)) << "floats may be louder than full scale";
}

TEST(LevelMeter, TheScaleGoesFromMinusSixtyToZero) {
    EXPECT_EQ(level(-90), 0.0);
    EXPECT_EQ(level(-60), 0.0);
    EXPECT_GT(level(-59.9), 0.0);
    EXPECT_EQ(level(-30), 0.5);
    EXPECT_LT(level(-0.1), 1.0);
    EXPECT_EQ(level(0), 1.0);
    EXPECT_EQ(level(6), 1.0);
    EXPECT_EQ(level(infinity), 1.0);
    EXPECT_EQ(level(-infinity), 0.0);
    EXPECT_EQ(level(notANumber), 0.0);
}

TEST(LevelMeter, EachEighthOfTheScaleHasItsGlyph) {
    EXPECT_EQ(glyph(1.0), u'█');
    EXPECT_EQ(glyph(0.0), u'▁');
    EXPECT_EQ(glyph(0.125), u'▂');
    EXPECT_EQ(glyph(0.1249), u'▁');
    EXPECT_EQ(glyph(0.875), u'█');
    EXPECT_EQ(glyph(0.8749), u'▇');
    EXPECT_EQ(glyph(-1), u'▁');
    EXPECT_EQ(glyph(2), u'█');
    EXPECT_EQ(glyph(notANumber), u'▁');
}

TEST(LevelMeter, ABarFillsInFromTheRight) {
    EXPECT_EQ(text({}), QStringLiteral("▁▁▁▁▁▁▁▁"));
    EXPECT_EQ(text(std::vector{1.0}), QStringLiteral("▁▁▁▁▁▁▁█"));
    EXPECT_EQ(text(std::vector{0.5, 1.0}), QStringLiteral("▁▁▁▁▁▁▅█"));
    EXPECT_EQ(text(std::vector{0.0, 0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875}), QStringLiteral("▁▂▃▄▅▆▇█"));
}

TEST(LevelMeter, OfALongHistoryOnlyTheLastEightCount) {
    const std::vector<double> history{1, 1, 1, 1, 0, 0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 1};
    EXPECT_EQ(text(history), QStringLiteral("▁▂▃▄▅▆▇█"));
    EXPECT_EQ(text(std::vector<double>{1, 0, 0, 0, 0, 0, 0, 0, 0}), QStringLiteral("▁▁▁▁▁▁▁▁"));
}

} // namespace
} // namespace capture::LevelMeter
