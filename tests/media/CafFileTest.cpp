#include "media/CafFile.h"

#include "fakes/FakeDisk.h"
#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"

#include <gtest/gtest.h>

namespace media {
namespace {

using Samples = std::vector<std::int16_t>;

std::vector<char> contentOf(const fakes::FakeDisk& disk) {
    const auto* first = reinterpret_cast<const char*>(disk.bytes.data());
    return {first, first + disk.bytes.size()};
}

TEST(CafFile, TheHeaderIsThereFromTheFirstMomentAndLeavesTheLengthOpen) {
    fakes::FakeDisk disk;
    const auto file = CafFile::create("mic.caf", 48000.0, disk.opener());
    ASSERT_TRUE(file);
    EXPECT_EQ(contentOf(disk), cafBytes(CafShape{}, Samples{}));
    EXPECT_EQ(static_cast<std::int64_t>(disk.bytes.size()), CafFile::headerBytes);
    EXPECT_EQ((*file)->frames(), 0);
}

TEST(CafFile, SamplesFollowTheHeaderAsTheyCome) {
    fakes::FakeDisk disk;
    const auto file = CafFile::create("mic.caf", 48000.0, disk.opener());
    ASSERT_TRUE((*file)->write(Samples{1, -2}));
    ASSERT_TRUE((*file)->write(Samples{32767, -32768, 0}));
    EXPECT_EQ((*file)->frames(), 5);
    EXPECT_EQ(contentOf(disk), cafBytes(CafShape{}, Samples{1, -2, 32767, -32768, 0}));
}

TEST(CafFile, ClosingFillsTheLengthInAndFlushes) {
    fakes::FakeDisk disk;
    const auto file = CafFile::create("mic.caf", 48000.0, disk.opener());
    ASSERT_TRUE((*file)->write(Samples{7, 8, 9}));
    ASSERT_TRUE((*file)->close());
    EXPECT_EQ(contentOf(disk), cafBytes(CafShape{.dataLength = 4 + 6}, Samples{7, 8, 9}));
    EXPECT_EQ(disk.flushCount, 1);
    EXPECT_EQ(disk.closeCount, 1);
}

TEST(CafFile, AWriteThatFailsHalfwayLeavesWholeBlocksAndTheNextOneFollowsThem) {
    fakes::FakeDisk disk;
    const auto file = CafFile::create("mic.caf", 48000.0, disk.opener());
    ASSERT_TRUE((*file)->write(Samples{1, 2}));
    disk.capacity = CafFile::headerBytes + 4 + 3; // one frame and a half
    const auto failed = (*file)->write(Samples{3, 4, 5});
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().text, QStringLiteral("disk full"));
    EXPECT_EQ((*file)->frames(), 2);
    EXPECT_EQ(contentOf(disk), cafBytes(CafShape{}, Samples{1, 2}));
    disk.capacity = 1000;
    ASSERT_TRUE((*file)->write(Samples{6}));
    EXPECT_EQ(contentOf(disk), cafBytes(CafShape{}, Samples{1, 2, 6}));
}

TEST(CafFile, WhereTheRestOfAFailedWriteCannotBeTakenAwayTheNextWriteCoversIt) {
    fakes::FakeDisk disk;
    const auto file = CafFile::create("mic.caf", 48000.0, disk.opener());
    disk.truncates = false;
    disk.capacity = CafFile::headerBytes + 3;
    ASSERT_FALSE((*file)->write(Samples{3, 4, 5}));
    disk.capacity = 1000;
    ASSERT_TRUE((*file)->write(Samples{6, 7}));
    EXPECT_EQ((*file)->frames(), 2);
    EXPECT_EQ(contentOf(disk), cafBytes(CafShape{}, Samples{6, 7}));
}

TEST(CafFile, AFileThatCannotBeMadeSaysWhy) {
    fakes::FakeDisk disk;
    disk.opens = false;
    EXPECT_EQ(CafFile::create("mic.caf", 48000.0, disk.opener()).error().text, QStringLiteral("no disk"));
    disk.opens = true;
    disk.capacity = CafFile::headerBytes - 1;
    EXPECT_EQ(CafFile::create("mic.caf", 48000.0, disk.opener()).error().text, QStringLiteral("disk full"));
}

TEST(CafFile, AFailureToCloseIsToldAndTheFileIsClosedAllTheSame) {
    fakes::FakeDisk disk;
    const auto file = CafFile::create("mic.caf", 48000.0, disk.opener());
    disk.flushes = false;
    EXPECT_EQ((*file)->close().error().text, QStringLiteral("flush failed"));
    EXPECT_EQ(disk.closeCount, 1);

    const auto second = CafFile::create("mic.caf", 48000.0, disk.opener());
    disk.flushes = true;
    disk.closes = false;
    EXPECT_EQ((*second)->close().error().text, QStringLiteral("close failed"));
}

TEST(CafFile, AFileThatWasNeverClosedReadsToItsLastFrame) {
    const fakes::TemporaryFolder folder;
    const auto path = folder / "mic.caf";
    const auto file = CafFile::create(path, 48000.0);
    ASSERT_TRUE(file);
    ASSERT_TRUE((*file)->write(wholeTone(12345)));
    EXPECT_EQ(readAll(path).size(), 12345U);
    ASSERT_TRUE((*file)->close());
    EXPECT_EQ(readAll(path).size(), 12345U);
}

} // namespace
} // namespace media
