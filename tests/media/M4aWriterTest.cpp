#include "media/M4aWriter.h"

#include "fakes/FakeDisk.h"
#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"

#include <gtest/gtest.h>

namespace media {
namespace {

TEST(M4aWriter, TheLengthComesBackToTheFrame) {
    const fakes::TemporaryFolder folder;
    const auto path = folder / "mic.m4a";
    for (const std::size_t frames : {1U, 2U, 1023U, 1024U, 1025U, 2047U, 48000U, 480333U}) {
        writeM4a(path, tone(frames));
        EXPECT_EQ(readAll(path).size(), frames);
        EXPECT_DOUBLE_EQ(lengthOf(path).value_or(-1), static_cast<double>(frames) / 48000.0);
    }
}

TEST(M4aWriter, AClickComesBackAtItsFrame) {
    const fakes::TemporaryFolder folder;
    const auto path = folder / "mic.m4a";
    const std::vector<std::size_t> places{500, 1024, 5000, 48000, 100000, 143000};
    writeM4a(path, clicksAt(144000, places));
    const auto samples = readAll(path);
    for (const std::size_t place : places) {
        EXPECT_EQ(peakNear(samples, place), place);
    }
}

TEST(M4aWriter, TheBytesOfAFileDependOnTheSoundAlone) {
    const fakes::TemporaryFolder folder;
    writeM4a(folder / "one.m4a", tone(10000));
    const auto parts = M4aWriter::create(folder / "parts.m4a", 48000, 96000);
    ASSERT_TRUE(parts);
    const auto samples = tone(10000);
    for (std::size_t at = 0; at < samples.size(); at += 7) {
        ASSERT_TRUE((*parts)->write(std::span(samples).subspan(at, std::min<std::size_t>(7, samples.size() - at))));
    }
    ASSERT_TRUE((*parts)->finish());
    EXPECT_EQ(bytesOf(folder / "one.m4a"), bytesOf(folder / "parts.m4a"));
}

TEST(M4aWriter, AFinishedFileIsOnTheDisk) {
    fakes::FakeDisk disk;
    const auto writer = M4aWriter::create("mic.m4a", 48000, 96000, disk.opener());
    ASSERT_TRUE(writer);
    ASSERT_TRUE((*writer)->write(tone(5000)));
    EXPECT_EQ(disk.flushCount, 0);
    ASSERT_TRUE((*writer)->finish());
    EXPECT_EQ(disk.flushCount, 1);
    EXPECT_EQ(disk.closeCount, 1);
}

std::expected<void, Error> writeTo(fakes::FakeDisk& disk, const std::vector<float>& samples) {
    const auto writer = M4aWriter::create("mic.m4a", 48000, 96000, disk.opener());
    if (!writer) {
        return std::unexpected(writer.error());
    }
    if (const auto written = (*writer)->write(samples); !written) {
        return written;
    }
    return (*writer)->finish();
}

TEST(M4aWriter, AFullDiskIsToldInTheSystemsWordsWhereverItHappens) {
    const auto samples = tone(480000);
    fakes::FakeDisk whole;
    ASSERT_TRUE(writeTo(whole, samples));
    const auto size = static_cast<std::int64_t>(whole.bytes.size());
    for (std::int64_t step = 0; step < 20; ++step) {
        fakes::FakeDisk disk;
        disk.capacity = step < 19 ? size * step / 19 : size - 1;
        const auto result = writeTo(disk, samples);
        ASSERT_FALSE(result) << disk.capacity << " of " << size;
        EXPECT_EQ(result.error().text, QStringLiteral("disk full")) << disk.capacity;
    }
}

TEST(M4aWriter, AFailureToFlushOrToCloseIsAFailure) {
    fakes::FakeDisk disk;
    disk.flushes = false;
    EXPECT_EQ(writeTo(disk, tone(5000)).error().text, QStringLiteral("flush failed"));
    fakes::FakeDisk other;
    other.closes = false;
    EXPECT_EQ(writeTo(other, tone(5000)).error().text, QStringLiteral("close failed"));
}

TEST(M4aWriter, AFileThatCannotBeMadeSaysWhy) {
    fakes::FakeDisk disk;
    disk.opens = false;
    EXPECT_EQ(writeTo(disk, {}).error().text, QStringLiteral("no disk"));
    disk.opens = true;
    EXPECT_FALSE(M4aWriter::create("mic.m4a", 48001, 96000, disk.opener())) << "a rate that the encoder does not have";
}

} // namespace
} // namespace media
