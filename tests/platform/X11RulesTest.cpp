#include "platform/linux/X11Pixels.h"
#include "platform/linux/X11Windows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using platform::linux_desktop::X11Pixels;
using platform::linux_desktop::X11Windows::applicationId;
using platform::linux_desktop::X11Windows::titleText;

namespace {

constexpr X11Pixels usual{.bitsPerPixel = 32,
                          .scanlinePad = 32,
                          .nativeByteOrder = true,
                          .redMask = 0xFF0000,
                          .greenMask = 0xFF00,
                          .blueMask = 0xFF};

X11Pixels with(int bitsPerPixel, std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    X11Pixels pixels = usual;
    pixels.bitsPerPixel = bitsPerPixel;
    pixels.redMask = red;
    pixels.greenMask = green;
    pixels.blueMask = blue;
    return pixels;
}

/// What an image of that layout reads for a word of the server's.
QColor colorOf(const X11Pixels& pixels, std::uint32_t word) {
    return QImage(reinterpret_cast<const uchar*>(&word), 1, 1, *pixels.imageFormat()).pixelColor(0, 0);
}

} // namespace

TEST(X11Pixels, RowsAreAWholeNumberOfPadsLong) {
    EXPECT_EQ(usual.bytesPerRow(7), 28U);
    X11Pixels sixteen = usual;
    sixteen.bitsPerPixel = 16;
    EXPECT_EQ(sixteen.bytesPerRow(7), 16U);
    EXPECT_EQ(sixteen.bytesPerRow(8), 16U);
    EXPECT_EQ(sixteen.bytesPerRow(9), 20U);
    EXPECT_EQ(usual.bytesPerRow(0), 0U);
    EXPECT_EQ(X11Pixels{}.bytesPerRow(7), 0U);
}

TEST(X11Pixels, EveryKnownLayoutIsReadInPlace) {
    EXPECT_EQ(colorOf(usual, 0x12FF8001), QColor(255, 128, 1));
    EXPECT_EQ(colorOf(with(32, 0x3FF00000, 0xFFC00, 0x3FF), 0x3FF00000).red(), 255);
    EXPECT_EQ(colorOf(with(32, 0x3FF, 0xFFC00, 0x3FF00000), 0x3FF00000).blue(), 255);
    EXPECT_EQ(colorOf(with(16, 0xF800, 0x7E0, 0x1F), 0xF800), QColor(255, 0, 0));
    EXPECT_EQ(colorOf(with(16, 0x7C00, 0x3E0, 0x1F), 0x03E0), QColor(0, 255, 0));
}

TEST(X11Pixels, OtherLayoutsAreNotGuessedAt) {
    EXPECT_EQ(with(8, 0, 0, 0).imageFormat(), std::nullopt);
    EXPECT_EQ(with(24, 0xFF0000, 0xFF00, 0xFF).imageFormat(), std::nullopt);
    EXPECT_EQ(with(32, 0xFF, 0xFF00, 0xFF0000).imageFormat(), std::nullopt);
    EXPECT_EQ(with(32, 0xFF0000, 0xFF00, 0xFE).imageFormat(), std::nullopt);
    EXPECT_EQ(with(16, 0xFF0000, 0xFF00, 0xFF).imageFormat(), std::nullopt);
    X11Pixels swapped = usual;
    swapped.nativeByteOrder = false;
    EXPECT_EQ(swapped.imageFormat(), std::nullopt);
}

TEST(X11Windows, TheApplicationIsNamedByTheClassBehindTheInstance) {
    EXPECT_EQ(applicationId(QByteArray("google-chrome\0Google-chrome\0", 28)), u"Google-chrome"_s);
    EXPECT_EQ(applicationId(QByteArray("zoom\0zoom \0", 11)), u"zoom "_s);
    EXPECT_EQ(applicationId(QByteArray("a\0Class", 7)), u"Class"_s) << "without its last zero byte";
}

TEST(X11Windows, WithoutAClassTheInstanceNamesTheApplication) {
    EXPECT_EQ(applicationId("xterm"), u"xterm"_s);
    EXPECT_EQ(applicationId(QByteArray("xterm\0", 6)), u"xterm"_s);
    EXPECT_EQ(applicationId(QByteArray("xterm\0\0", 7)), u"xterm"_s);
    EXPECT_EQ(applicationId(QByteArray("\0\0", 2)), QString());
    EXPECT_EQ(applicationId({}), QString());
}

TEST(X11Windows, TitlesAreUtf8OrElseLatin1) {
    EXPECT_EQ(titleText("Zoom 會議"), u"Zoom 會議"_s);
    EXPECT_EQ(titleText("Caf\xE9"), u"Café"_s);
    EXPECT_EQ(titleText({}), QString());
}
