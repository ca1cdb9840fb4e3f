#include "capture/ScreenDiff.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace capture::ScreenDiff {

namespace {

// Shares of red, green and blue in gray as Rec. 601 has them, in 256ths.
constexpr std::uint64_t redShare = 77;
constexpr std::uint64_t greenShare = 150;
constexpr std::uint64_t blueShare = 29;
constexpr std::uint64_t fullShare = redShare + greenShare + blueShare;

/// Sums of each column over some rows. Two colours share a word, 16 bits each, so that a row is added with a few plain
/// operations per pixel, which the compiler turns into vector ones.
struct ColumnSums {
    using Words = std::uint32_t*;
    std::vector<std::uint32_t> redBlue;
    std::vector<std::uint32_t> green; ///< beside it transparency, which is not looked at

    explicit ColumnSums(int width) : redBlue(static_cast<std::size_t>(width)), green(redBlue.size()) {}

    void clear() {
        std::ranges::fill(redBlue, 0U);
        std::ranges::fill(green, 0U);
    }
};

constexpr std::uint32_t lanes = 0x00FF00FF;
/// This many rows of 255 are the most that 16 bits hold.
constexpr int rowsPerSum = 65535 / 255;

struct Pixels {
    int begin = 0;
    int end = 0;

    [[nodiscard]] int count() const noexcept { return end - begin; }
};

/// The pixels along one side that the cell of that index stands for; at least one.
Pixels pixelsOfCell(int index, int cells, int length) noexcept {
    const auto boundary = [&](std::int64_t cell) { return static_cast<int>(cell * length / cells); };
    const int begin = boundary(index);
    return {.begin = begin, .end = std::max(boundary(index + 1), begin + 1)};
}

using CellGrays = std::array<std::uint64_t, thumbWidth>;

// The finished program chooses the widest vectors that the processor has. The choice is made before any sanitizer is
// up, so that debug builds, which may carry one, go without.
#if defined(__x86_64__) && defined(NDEBUG)
#define BRIEFLET_WIDE_VECTORS __attribute__((target_clones("avx2", "default")))
#else
#define BRIEFLET_WIDE_VECTORS
#endif

BRIEFLET_WIDE_VECTORS
void addRow(const QRgb* __restrict pixels, ColumnSums::Words __restrict redBlue, ColumnSums::Words __restrict green,
            std::size_t width) noexcept {
    for (std::size_t column = 0; column < width; ++column) {
        redBlue[column] += pixels[column] & lanes;
        green[column] += (pixels[column] >> 8U) & lanes;
    }
}

/// Four rows at once, so that the sums are fetched and stored once for all of them.
BRIEFLET_WIDE_VECTORS
void addFourRows(const QRgb* __restrict first, std::size_t stride, ColumnSums::Words __restrict redBlue,
                 ColumnSums::Words __restrict green, std::size_t width) noexcept {
    for (std::size_t column = 0; column < width; ++column) {
        const QRgb a = first[column];
        const QRgb b = first[column + stride];
        const QRgb c = first[column + 2 * stride];
        const QRgb d = first[column + 3 * stride];
        redBlue[column] += (a & lanes) + (b & lanes) + (c & lanes) + (d & lanes);
        green[column] += ((a >> 8U) & lanes) + ((b >> 8U) & lanes) + ((c >> 8U) & lanes) + ((d >> 8U) & lanes);
    }
}

void addRows(const QImage& picture, const Pixels& rows, ColumnSums& sums) {
    const auto* first = reinterpret_cast<const QRgb*>(picture.constScanLine(rows.begin));
    const std::size_t stride = static_cast<std::size_t>(picture.bytesPerLine()) / sizeof(QRgb);
    const std::size_t width = sums.green.size();
    int left = rows.count();
    for (; left >= 4; left -= 4, first += 4 * stride) {
        addFourRows(first, stride, sums.redBlue.data(), sums.green.data(), width);
    }
    for (; left > 0; --left, first += stride) {
        addRow(first, sums.redBlue.data(), sums.green.data(), width);
    }
}

void addToCells(const ColumnSums& sums, CellGrays& grays) {
    const int width = static_cast<int>(sums.green.size());
    for (int cell = 0; cell < thumbWidth; ++cell) {
        std::uint64_t red = 0;
        std::uint64_t green = 0;
        std::uint64_t blue = 0;
        const Pixels columns = pixelsOfCell(cell, thumbWidth, width);
        for (auto column = static_cast<std::size_t>(columns.begin); column < static_cast<std::size_t>(columns.end);
             ++column) {
            red += sums.redBlue[column] >> 16U;
            green += sums.green[column] & 0xFFFFU;
            blue += sums.redBlue[column] & 0xFFFFU;
        }
        grays[static_cast<std::size_t>(cell)] += redShare * red + greenShare * green + blueShare * blue;
    }
}

CellGrays sumOfRows(const QImage& picture, const Pixels& rows, ColumnSums& sums) {
    CellGrays grays{};
    for (int first = rows.begin; first < rows.end; first += rowsPerSum) {
        sums.clear();
        addRows(picture, {.begin = first, .end = std::min(first + rowsPerSum, rows.end)}, sums);
        addToCells(sums, grays);
    }
    return grays;
}

/// With 32 bits a pixel and the colours in their usual places, transparency already blended with black.
QImage inPlainFormat(const QImage& picture) {
    if (picture.format() == QImage::Format_RGB32 || picture.format() == QImage::Format_ARGB32_Premultiplied) {
        return picture;
    }
    return picture.convertToFormat(picture.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                             : QImage::Format_RGB32);
}

} // namespace

Thumbnail thumbnail(const QImage& picture) {
    Thumbnail bytes(static_cast<std::size_t>(thumbWidth) * thumbHeight, 0);
    const QImage plain = inPlainFormat(picture);
    if (plain.isNull()) {
        return bytes;
    }
    ColumnSums sums(plain.width());
    for (int cellRow = 0; cellRow < thumbHeight; ++cellRow) {
        const Pixels rows = pixelsOfCell(cellRow, thumbHeight, plain.height());
        const CellGrays grays = sumOfRows(plain, rows, sums);
        for (int cell = 0; cell < thumbWidth; ++cell) {
            const auto pixels = static_cast<std::uint64_t>(pixelsOfCell(cell, thumbWidth, plain.width()).count()) *
                                static_cast<std::uint64_t>(rows.count());
            const std::uint64_t whole = pixels * fullShare;
            bytes[static_cast<std::size_t>(cellRow * thumbWidth + cell)] =
                static_cast<std::uint8_t>((grays[static_cast<std::size_t>(cell)] + whole / 2) / whole);
        }
    }
    return bytes;
}

bool changed(std::span<const std::uint8_t> before, std::span<const std::uint8_t> after) noexcept {
    if (before.size() != after.size() || before.empty()) {
        return true;
    }
    std::size_t count = 0;
    for (std::size_t index = 0; index < before.size(); ++index) {
        count += static_cast<std::size_t>(std::abs(before[index] - after[index]) > pixelThreshold);
    }
    return static_cast<double>(count) / static_cast<double>(before.size()) > changedShare;
}

} // namespace capture::ScreenDiff
