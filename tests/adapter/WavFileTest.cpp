#include "adapter/WavFile.h"

#include "base/Files.h"
#include "fakes/SmallDisk.h"
#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

using adapter::WavFile;

TEST(WavFileTest, TheHeaderTellsTheLengthAndTheFormat) {
    const fakes::TemporaryFolder folder;
    auto file = WavFile::create(folder / "a.wav");
    ASSERT_TRUE(file);
    const std::array samples{0.0F, 1.0F, -1.0F, 2.0F, std::nanf("")};
    ASSERT_TRUE(file->write(samples));
    ASSERT_TRUE(file->finish());
    EXPECT_EQ(
        base::readFile(folder / "a.wav")->toHex(' '),
        "52 49 46 46 2e 00 00 00 57 41 56 45 66 6d 74 20 10 00 00 00 01 00 01 00 80 3e 00 00 00 7d 00 00 02 00 10 00 "
        "64 61 74 61 0a 00 00 00 00 00 ff 7f 01 80 ff 7f 00 00");
}

TEST(WavFileTest, AFullDiskIsAnError) {
    const fakes::TemporaryFolder folder;
    auto file = WavFile::create(folder / "a.wav");
    ASSERT_TRUE(file);
    const fakes::SmallDisk disk(1000);
    const std::vector<float> second(16'000, 0.5F);
    EXPECT_FALSE(file->write(second));
}

TEST(WavFileTest, AMissingFolderIsAnError) {
    EXPECT_FALSE(WavFile::create("/nonexistent/a.wav"));
}
