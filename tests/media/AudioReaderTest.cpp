#include "media/AudioReader.h"

#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <sys/stat.h>

namespace media {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

class AudioReaderTest : public ::testing::Test {
protected:
    fakes::TemporaryFolder folder;
    std::filesystem::path caf = folder / "mic.caf";
    std::filesystem::path m4a = folder / "mic.m4a";

    static std::string errorOf(const std::filesystem::path& path) {
        const auto reader = AudioReader::open(path, 48000.0);
        return reader ? std::string() : reader.error().text.toStdString();
    }
};

TEST_F(AudioReaderTest, ReadsWholeSamplesBackAsTheyWere) {
    const std::vector<std::int16_t> samples{0, 1, -1, 32767, -32768, 100};
    writeBytes(caf, cafBytes(CafShape{}, samples));
    const auto read = readAll(caf);
    ASSERT_EQ(read.size(), samples.size());
    for (std::size_t index = 0; index < samples.size(); ++index) {
        EXPECT_FLOAT_EQ(read[index], static_cast<float>(samples[index]) / 32768.0F);
    }
}

TEST_F(AudioReaderTest, AnOpenLengthReachesToTheEndOfTheFile) {
    for (const std::size_t frames : {0U, 1U, 2047U, 2048U, 2049U, 48000U, 100001U}) {
        writeBytes(caf, cafBytes(CafShape{}, wholeTone(frames)));
        EXPECT_EQ(readAll(caf).size(), frames);
        EXPECT_DOUBLE_EQ(lengthOf(caf).value_or(-1), static_cast<double>(frames) / 48000.0);
    }
}

TEST_F(AudioReaderTest, AFilledInLengthIsTheLength) {
    for (const std::size_t frames : {1U, 48000U, 100001U}) {
        const auto length = static_cast<std::int64_t>(4 + 2 * frames);
        writeBytes(caf, cafBytes(CafShape{.dataLength = length}, wholeTone(frames)));
        EXPECT_EQ(readAll(caf).size(), frames);
        EXPECT_DOUBLE_EQ(lengthOf(caf).value_or(-1), static_cast<double>(frames) / 48000.0);
    }
}

TEST_F(AudioReaderTest, HalfAFrameAtTheEndIsLeftOut) {
    for (const std::size_t frames : {0U, 1U, 1000U, 2047U, 2048U, 4096U, 6144U}) {
        auto bytes = cafBytes(CafShape{}, wholeTone(frames));
        bytes.push_back('x');
        writeBytes(caf, bytes);
        EXPECT_EQ(readAll(caf).size(), frames);
    }
}

TEST_F(AudioReaderTest, ACafThatEndsBeforeItsLengthGivesWhatIsThere) {
    writeBytes(caf, cafBytes(CafShape{.dataLength = 4 + 2 * 90000}, wholeTone(50001)));
    EXPECT_EQ(readAll(caf).size(), 50001U);
}

TEST_F(AudioReaderTest, ChannelsBecomeTheirMean) {
    writeBytes(caf, cafBytes(CafShape{.channels = 2}, std::vector<std::int16_t>{1000, 3000, -500, 500}));
    const auto read = readAll(caf);
    ASSERT_EQ(read.size(), 2U);
    EXPECT_NEAR(read[0] * 32768, 2000, 0.01);
    EXPECT_NEAR(read[1] * 32768, 0, 0.01);
}

TEST_F(AudioReaderTest, FloatAndWideSamplesAreReadToo) {
    writeBytes(caf, cafBytes(CafShape{.flags = 3, .bits = 32}, std::vector<float>{0.25F, -1.0F}));
    EXPECT_EQ(readAll(caf), (std::vector<float>{0.25F, -1.0F}));
    writeBytes(caf, cafBytes(CafShape{.flags = 2, .bits = 32}, std::vector<std::int32_t>{1 << 29, -(1 << 30)}));
    EXPECT_EQ(readAll(caf), (std::vector<float>{0.25F, -0.5F}));
}

TEST_F(AudioReaderTest, AnotherRateHasExactlyTheLengthThatTheTimeHolds) {
    for (const std::size_t frames : {1U, 3U, 100U, 47999U, 48000U, 123457U}) {
        writeBytes(caf, cafBytes(CafShape{}, wholeTone(frames)));
        writeM4a(m4a, tone(frames));
        for (const double rate : {8000.0, 16000.0, 44100.0, 96000.0}) {
            const auto wanted = static_cast<std::size_t>(std::llround(static_cast<double>(frames) / 48000.0 * rate));
            EXPECT_EQ(readAll(caf, rate).size(), wanted) << frames << " at " << rate;
            EXPECT_EQ(readAll(m4a, rate).size(), wanted) << frames << " at " << rate;
        }
    }
}

TEST_F(AudioReaderTest, AnotherRateMovesNoClick) {
    writeM4a(m4a, clicksAt(200000, {48000, 144000}));
    for (const double rate : {16000.0, 44100.0}) {
        const auto read = readAll(m4a, rate);
        const auto second = static_cast<std::size_t>(rate);
        EXPECT_EQ(peakNear(read, second), second) << rate;
        EXPECT_EQ(peakNear(read, 3 * second), 3 * second) << rate;
    }
}

TEST_F(AudioReaderTest, TheSoundStaysTheSameSoundAtAnotherRate) {
    writeBytes(caf, cafBytes(CafShape{}, wholeTone(48000)));
    const auto read = readAll(caf, 16000.0);
    const auto wanted = tone(16000, 16000.0);
    ASSERT_EQ(read.size(), wanted.size());
    for (std::size_t frame = 100; frame + 100 < read.size(); ++frame) {
        ASSERT_NEAR(read[frame], wanted[frame], 0.002) << frame;
    }
}

TEST_F(AudioReaderTest, SeekingComesToTheVeryFrame) {
    const std::vector<std::size_t> places{100, 48000, 100000, 250000};
    writeM4a(m4a, clicksAt(300000, places));
    std::vector<std::int16_t> clicks(300000);
    for (const std::size_t place : places) {
        clicks[place] = 30000;
    }
    writeBytes(caf, cafBytes(CafShape{}, clicks));
    for (const auto& path : {caf, m4a}) {
        const auto reader = AudioReader::open(path, 48000.0);
        ASSERT_TRUE(reader);
        for (const std::size_t target : {99000U, 0U, 249999U, 47000U, 1U, 99999U}) {
            ASSERT_TRUE((*reader)->seek(static_cast<double>(target) / 48000.0));
            const auto rest = readAll(**reader);
            ASSERT_EQ(rest.size(), 300000U - target) << path;
            for (const std::size_t place : places) {
                if (place >= target) {
                    EXPECT_EQ(peakNear(rest, place - target, 90), place - target) << path << " from " << target;
                }
            }
        }
    }
}

TEST_F(AudioReaderTest, SeekingToTheEndOrBeyondLeavesNothingToRead) {
    writeM4a(m4a, tone(5000));
    writeBytes(caf, cafBytes(CafShape{}, wholeTone(5000)));
    for (const auto& path : {caf, m4a}) {
        const auto reader = AudioReader::open(path, 48000.0);
        for (const double seconds : {5000.0 / 48000.0, 1.0, 1e9, 1e300, infinity}) {
            ASSERT_TRUE((*reader)->seek(seconds)) << path << seconds;
            EXPECT_EQ(readAll(**reader).size(), 0U) << path << seconds;
        }
        for (const double seconds : {0.0, -3.0, -1e300, notANumber}) {
            ASSERT_TRUE((*reader)->seek(seconds)) << path << seconds;
            EXPECT_EQ(readAll(**reader).size(), 5000U) << path << seconds;
        }
    }
}

TEST_F(AudioReaderTest, SecondsReadCountTheFilesOwnFrames) {
    writeBytes(caf, cafBytes(CafShape{.sampleRate = 44100.0}, wholeTone(44100)));
    const auto reader = AudioReader::open(caf, 48000.0);
    EXPECT_EQ((*reader)->secondsRead(), 0.0);
    EXPECT_EQ(readAll(**reader).size(), 48000U);
    EXPECT_DOUBLE_EQ((*reader)->secondsRead(), 1.0);
    ASSERT_TRUE((*reader)->seek(0.5));
    EXPECT_EQ(readAll(**reader).size(), 24000U);
    EXPECT_DOUBLE_EQ((*reader)->secondsRead(), 0.5);
}

TEST_F(AudioReaderTest, ReadingAfterTheEndGoesOnGivingNothing) {
    writeBytes(caf, cafBytes(CafShape{}, wholeTone(10)));
    const auto reader = AudioReader::open(caf, 48000.0);
    EXPECT_EQ(readAll(**reader).size(), 10U);
    EXPECT_EQ(readAll(**reader).size(), 0U);
    EXPECT_EQ((*reader)->read({}).value_or(1), 0U);
}

TEST_F(AudioReaderTest, WhatIsNoTrackIsAnErrorInWords) {
    EXPECT_EQ(errorOf(folder / "none.caf"), std::strerror(ENOENT));
    EXPECT_EQ(errorOf(folder.path), std::strerror(EISDIR));
    const auto pipe = folder / "pipe.caf";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(errorOf(pipe), std::strerror(EINVAL));
    writeBytes(caf, {});
    EXPECT_EQ(errorOf(caf), "Invalid data found when processing input");
    writeBytes(caf, std::vector<char>(100000, 'x'));
    EXPECT_EQ(errorOf(caf), "Invalid data found when processing input");
}

TEST_F(AudioReaderTest, AListThatNamesOtherFilesIsNotFollowed) {
    const std::string list = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n/etc/hostname\n#EXT-X-ENDLIST\n";
    writeBytes(caf, {list.begin(), list.end()});
    EXPECT_NE(errorOf(caf), "");
    const std::string script = "ffconcat version 1.0\nfile /etc/hostname\n";
    writeBytes(caf, {script.begin(), script.end()});
    EXPECT_NE(errorOf(caf), "");
}

TEST_F(AudioReaderTest, ARateThatMakesNoSenseIsAnError) {
    writeBytes(caf, cafBytes(CafShape{}, wholeTone(10)));
    EXPECT_FALSE(AudioReader::open(caf, 0.0));
    EXPECT_FALSE(AudioReader::open(caf, 999.0));
    EXPECT_TRUE(AudioReader::open(caf, 1000.0));
    EXPECT_FALSE(AudioReader::open(caf, notANumber));
}

TEST_F(AudioReaderTest, AnM4aThatWasCutGivesAnErrorUnlessAllOfItsSoundIsThere) {
    writeM4a(m4a, tone(100000));
    const auto bytes = bytesOf(m4a);
    const auto cut = folder / "cut.m4a";
    std::size_t errors = 0;
    for (std::size_t length = 0; length < bytes.size(); length += 97) {
        writeBytes(cut, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)});
        const auto reader = AudioReader::open(cut, 48000.0);
        if (!reader) {
            ++errors;
            continue;
        }
        std::string failed;
        if (readAll(**reader, &failed).size() != 100000U) {
            EXPECT_NE(failed, "") << length;
            ++errors;
        }
    }
    EXPECT_GT(errors, bytes.size() / 97 - 10) << "the index stands at the end";
}

TEST_F(AudioReaderTest, AnM4aWhoseSoundIsDamagedGivesWhatComesBeforeAndThenAnError) {
    writeM4a(m4a, tone(100000));
    auto bytes = bytesOf(m4a);
    const std::string name = "moov";
    const auto index = std::search(bytes.begin(), bytes.end(), name.begin(), name.end()) - 4;
    ASSERT_GT(index - bytes.begin(), 9000);
    std::fill(bytes.begin() + 8000, index, '\xFF');
    writeBytes(m4a, bytes);
    const auto reader = AudioReader::open(m4a, 48000.0);
    ASSERT_TRUE(reader);
    std::string failed;
    const auto got = readAll(**reader, &failed);
    EXPECT_NE(failed, "");
    EXPECT_GT(got.size(), 10000U);
    EXPECT_LT(got.size(), 100000U);
    std::vector<float> more(10);
    EXPECT_FALSE((*reader)->read(more)) << "the error stays";
}

TEST_F(AudioReaderTest, DamageAnywhereIsNeverMoreThanAnError) {
    writeM4a(m4a, tone(20000));
    writeBytes(caf, cafBytes(CafShape{}, wholeTone(2000)));
    const auto broken = folder / "broken";
    for (const auto& path : {caf, m4a}) {
        const auto bytes = bytesOf(path);
        const std::size_t end = path == caf ? 68 : bytes.size(); // of PCM every value is a good one
        for (std::size_t at = 0; at < end; at += path == caf ? 1 : 13) {
            auto changed = bytes;
            changed[at] = static_cast<char>(changed[at] ^ 0xFF);
            writeBytes(broken, changed);
            if (const auto reader = AudioReader::open(broken, 48000.0)) {
                std::string failed;
                EXPECT_LT(readAll(**reader, &failed).size(), 10000000U) << path << " at " << at;
            }
        }
    }
}

} // namespace
} // namespace media
