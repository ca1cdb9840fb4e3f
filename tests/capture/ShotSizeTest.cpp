#include "capture/ShotSize.h"

#include <gtest/gtest.h>

#include <limits>

using capture::PixelSize;
using capture::ShotSize::fit;
using capture::ShotSize::maxEdge;

TEST(ShotSize, ALargePictureShrinksToTheLongestEdge) {
    EXPECT_EQ(maxEdge, 2048);
    EXPECT_EQ(fit(4000, 3000, 2048), (PixelSize{.width = 2048, .height = 1536}));
    EXPECT_EQ(fit(3000, 4000, 2048), (PixelSize{.width = 1536, .height = 2048}));
    EXPECT_EQ(fit(2560, 1440, maxEdge), (PixelSize{.width = 2048, .height = 1152}));
}

TEST(ShotSize, APictureThatFitsIsUnchanged) {
    EXPECT_EQ(fit(2048, 10, 2048), (PixelSize{.width = 2048, .height = 10}));
    EXPECT_EQ(fit(10, 2048, 2048), (PixelSize{.width = 10, .height = 2048}));
    EXPECT_EQ(fit(1, 1, 2048), (PixelSize{.width = 1, .height = 1}));
    EXPECT_EQ(fit(2049, 2049, 2048), (PixelSize{.width = 2048, .height = 2048}));
}

TEST(ShotSize, TheShortSideNeverFallsBelowOne) {
    EXPECT_EQ(fit(10000, 1, 2048), (PixelSize{.width = 2048, .height = 1}));
    EXPECT_EQ(fit(1, 10000, 2048), (PixelSize{.width = 1, .height = 2048}));
    EXPECT_EQ(fit(100, 100, 0), (PixelSize{.width = 1, .height = 1}));
    EXPECT_EQ(fit(100, 100, -7), (PixelSize{.width = 1, .height = 1}));
}

TEST(ShotSize, SidesAreRoundedToTheNearestPixel) {
    EXPECT_EQ(fit(3000, 2000, 1000), (PixelSize{.width = 1000, .height = 667}));
    EXPECT_EQ(fit(3000, 1000, 1000), (PixelSize{.width = 1000, .height = 333}));
    EXPECT_EQ(fit(4, 3, 2), (PixelSize{.width = 2, .height = 2})) << "1.5 goes away from zero";
}

TEST(ShotSize, ASizeThatIsNoneBecomesOnePixel) {
    EXPECT_EQ(fit(0, 500, 2048), (PixelSize{.width = 1, .height = 1}));
    EXPECT_EQ(fit(500, 0, 2048), (PixelSize{.width = 1, .height = 1}));
    EXPECT_EQ(fit(-5, 5000, 2048), (PixelSize{.width = 1, .height = 1}));
}

TEST(ShotSize, TheLargestNumbersAreNoTrouble) {
    constexpr int most = std::numeric_limits<int>::max();
    EXPECT_EQ(fit(most, most, 2048), (PixelSize{.width = 2048, .height = 2048}));
    EXPECT_EQ(fit(most, 1, most), (PixelSize{.width = most, .height = 1}));
}
