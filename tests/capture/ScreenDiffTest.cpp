#include "capture/ScreenDiff.h"

#include <QPainter>
#include <gtest/gtest.h>

#include <algorithm>

using namespace capture;
using ScreenDiff::changed;
using ScreenDiff::Thumbnail;
using ScreenDiff::thumbnail;

namespace {

constexpr std::size_t thumbPixels = 2560;

Thumbnail gray(std::size_t length, std::uint8_t value = 100) {
    return Thumbnail(length, value);
}

/// `base` with the first `count` bytes moved by `difference`.
Thumbnail withChanges(Thumbnail base, std::size_t count, int difference = ScreenDiff::pixelThreshold + 1) {
    for (std::size_t index = 0; index < count; ++index) {
        base[index] = static_cast<std::uint8_t>(base[index] + difference);
    }
    return base;
}

QImage filled(int width, int height, QColor color, QImage::Format format = QImage::Format_RGB32) {
    QImage image(width, height, format);
    image.fill(color);
    return image;
}

} // namespace

TEST(ScreenDiff, EmptyListsHaveChanged) {
    EXPECT_TRUE(changed(Thumbnail{}, Thumbnail{}));
}

TEST(ScreenDiff, ListsOfDifferentLengthsHaveChanged) {
    EXPECT_TRUE(changed(gray(100), gray(101)));
    EXPECT_TRUE(changed(gray(100), Thumbnail{}));
    EXPECT_FALSE(changed(gray(100), gray(100)));
}

TEST(ScreenDiff, ADifferenceOf24DoesNotCountAnd25Does) {
    EXPECT_FALSE(changed(gray(100), withChanges(gray(100), 100, 24)));
    EXPECT_TRUE(changed(gray(100), withChanges(gray(100), 100, 25)));
    EXPECT_FALSE(changed(gray(100), withChanges(gray(100), 100, -24)));
    EXPECT_TRUE(changed(gray(100), withChanges(gray(100), 100, -25)));
    EXPECT_TRUE(changed(gray(100, 0), gray(100, 255)));
}

TEST(ScreenDiff, MoreThanThreePercentMustHaveChanged) {
    EXPECT_FALSE(changed(gray(100), withChanges(gray(100), 3)));
    EXPECT_TRUE(changed(gray(100), withChanges(gray(100), 4)));
    EXPECT_FALSE(changed(gray(thumbPixels), withChanges(gray(thumbPixels), 76)));
    EXPECT_TRUE(changed(gray(thumbPixels), withChanges(gray(thumbPixels), 77)));
    EXPECT_FALSE(changed(gray(1), gray(1)));
    EXPECT_TRUE(changed(gray(1), withChanges(gray(1), 1)));
}

TEST(ScreenDiff, AThumbnailHasOneByteForEachOf64x40Pixels) {
    for (const QSize size : {QSize(1, 1), QSize(64, 40), QSize(63, 41), QSize(1920, 1080), QSize(7, 3000)}) {
        EXPECT_EQ(thumbnail(filled(size.width(), size.height(), Qt::gray)).size(), thumbPixels);
    }
}

TEST(ScreenDiff, AnEvenPictureKeepsItsGray) {
    for (const int value : {0, 1, 24, 127, 254, 255}) {
        const auto expected = static_cast<std::uint8_t>(value);
        EXPECT_EQ(thumbnail(filled(2560, 1440, QColor(value, value, value))), Thumbnail(thumbPixels, expected));
        EXPECT_EQ(thumbnail(filled(3, 2, QColor(value, value, value))), Thumbnail(thumbPixels, expected));
    }
}

TEST(ScreenDiff, ColoursWeighAsTheEyeSeesThem) {
    EXPECT_EQ(thumbnail(filled(128, 80, QColor(255, 0, 0)))[0], 77);
    EXPECT_EQ(thumbnail(filled(128, 80, QColor(0, 255, 0)))[0], 149);
    EXPECT_EQ(thumbnail(filled(128, 80, QColor(0, 0, 255)))[0], 29);
}

TEST(ScreenDiff, RowsAndColumnsStayInTheirPlace) {
    QImage picture = filled(640, 400, Qt::black);
    QPainter(&picture).fillRect(10 * 5, 10 * 7, 10, 10, Qt::white);
    const Thumbnail bytes = thumbnail(picture);
    EXPECT_EQ(bytes[7 * 64 + 5], 255);
    EXPECT_EQ(std::ranges::count(bytes, 0), 2559);
}

TEST(ScreenDiff, EveryPixelCountsOnce) {
    QImage picture = filled(640, 400, Qt::black);
    QPainter(&picture).fillRect(0, 0, 5, 10, Qt::white); // the left half of the first cell
    EXPECT_EQ(thumbnail(picture)[0], 128);
    picture.fill(Qt::black);
    picture.setPixelColor(639, 399, Qt::white);
    EXPECT_EQ(thumbnail(picture).back(), 3) << "255 / 100, rounded";
}

TEST(ScreenDiff, SizesThatTheThumbnailDoesNotDivideLoseNoPixel) {
    QImage picture = filled(1366, 768, Qt::black);
    for (int column = 0; column < picture.width(); ++column) {
        for (int row = 0; row < picture.height(); ++row) {
            picture.setPixelColor(column, row, Qt::white);
        }
    }
    EXPECT_EQ(thumbnail(picture), Thumbnail(thumbPixels, 255));
    picture.fill(Qt::black);
    QPainter(&picture).fillRect(683, 0, 683, 768, Qt::white);
    const Thumbnail halves = thumbnail(picture);
    EXPECT_EQ(halves[31], 0);
    EXPECT_EQ(halves[32], 255);
}

TEST(ScreenDiff, AVeryTallPictureDoesNotOverflow) {
    // 500 rows to a cell of the thumbnail: more than one sum of 16 bits takes.
    EXPECT_EQ(thumbnail(filled(64, 40 * 500, Qt::white)), Thumbnail(thumbPixels, 255));
}

TEST(ScreenDiff, OtherFormatsOfAPictureAreUnderstood) {
    const Thumbnail expected = thumbnail(filled(128, 80, QColor(200, 100, 50)));
    for (const auto format : {QImage::Format_RGB888, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied,
                              QImage::Format_RGBA8888, QImage::Format_RGBX8888}) {
        EXPECT_EQ(thumbnail(filled(128, 80, QColor(200, 100, 50), format)), expected) << format;
    }
    EXPECT_EQ(thumbnail(filled(128, 80, QColor(90, 90, 90), QImage::Format_Grayscale8)), Thumbnail(thumbPixels, 90));
}

TEST(ScreenDiff, TransparentPartsAreBlack) {
    EXPECT_EQ(thumbnail(filled(128, 80, QColor(255, 255, 255, 0), QImage::Format_ARGB32)), Thumbnail(thumbPixels, 0));
}

TEST(ScreenDiff, APictureThatIsNoneIsBlack) {
    EXPECT_EQ(thumbnail(QImage()), Thumbnail(thumbPixels, 0));
}
