#include "capture/AudioTrackWriter.h"
#include "capture/Sound.h"
#include "fakes/ManualScheduler.h"
#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace capture {
namespace {

using media::bytesOf;
using media::cafBytes;
using media::CafShape;
using media::writeBytes;

class ConvertToM4ATest : public ::testing::Test {
protected:
    fakes::TemporaryFolder folder;
    std::filesystem::path caf = folder / "mic.caf";
    std::filesystem::path m4a = folder / "mic.m4a";

    [[nodiscard]] std::expected<double, ConvertFailure> convert() const {
        return AudioTrackWriter::convertToM4A(caf, m4a);
    }

    void writeCaf(std::size_t frames) const { writeBytes(caf, cafBytes(CafShape{}, media::wholeTone(frames))); }
};

TEST_F(ConvertToM4ATest, TheM4aStandsBesideItsCaf) {
    EXPECT_EQ(AudioTrackWriter::m4aURL("/meetings/one/mic.caf"), "/meetings/one/mic.m4a");
    EXPECT_EQ(AudioTrackWriter::m4aURL("/meetings/one.two/system.caf"), "/meetings/one.two/system.m4a");
}

TEST_F(ConvertToM4ATest, TheLengthIsKeptToTheFrame) {
    for (const std::size_t frames : {1U, 47999U, 48000U, 48001U, 123456U}) {
        writeCaf(frames);
        const auto seconds = convert();
        ASSERT_TRUE(seconds) << seconds.error().text.toStdString();
        EXPECT_DOUBLE_EQ(*seconds, static_cast<double>(frames) / 48000.0);
        EXPECT_EQ(media::readAll(m4a).size(), frames);
    }
}

TEST_F(ConvertToM4ATest, AClickComesBackAtItsFrame) {
    const std::vector<std::size_t> places{700, 48000, 95000, 96000, 140000};
    std::vector<std::int16_t> samples(144000);
    for (const std::size_t place : places) {
        samples[place] = 29000;
    }
    writeBytes(caf, cafBytes(CafShape{}, samples));
    ASSERT_TRUE(convert());
    const auto back = media::readAll(m4a);
    for (const std::size_t place : places) {
        EXPECT_EQ(media::peakNear(back, place), place);
    }
}

TEST_F(ConvertToM4ATest, SoundThatWasRecordedAtAnotherRateKeepsItsPlaceThroughBothConversions) {
    fakes::ManualDispatch dispatch;
    const double start = dispatch.clock.now();
    const auto writer = AudioTrackWriter::create(caf, "mic", start, {dispatch, dispatch.clock}).value_or(nullptr);
    ASSERT_TRUE(writer);
    for (int block = 0; block < 300; ++block) {
        std::vector<std::int16_t> samples(882, 0);
        if (block % 100 == 50) {
            samples[0] = samples[1] = 30000;
        }
        dispatch.clock.set(start + block / 100.0);
        writer->append(soundOf({SampleType::Int16, 44100.0, 2}, samples).at(start + block / 100.0));
    }
    EXPECT_EQ(writer->finish(3.0), 3.0);
    ASSERT_TRUE(convert());
    const auto back = media::readAll(m4a);
    EXPECT_EQ(back.size(), 144000U);
    for (const std::size_t place : {24000U, 72000U, 120000U}) {
        EXPECT_EQ(media::peakNear(back, place), place);
    }
}

TEST_F(ConvertToM4ATest, AFinishedTrackOfPureSilenceIsConvertedToo) {
    fakes::ManualDispatch dispatch;
    const auto writer =
        AudioTrackWriter::create(caf, "mic", dispatch.clock.now(), {dispatch, dispatch.clock}).value_or(nullptr);
    ASSERT_TRUE(writer);
    EXPECT_EQ(writer->finish(3.0), 3.0);
    EXPECT_EQ(convert().value_or(-1), 3.0);
    EXPECT_EQ(media::readAll(m4a), std::vector<float>(144000, 0.0F));
}

TEST_F(ConvertToM4ATest, ACafWhoseWriterWasKilledIsConvertedToItsLastWholeFrame) {
    auto bytes = cafBytes(CafShape{}, media::wholeTone(50000));
    bytes.push_back('x');
    writeBytes(caf, bytes);
    EXPECT_DOUBLE_EQ(convert().value_or(-1), 50000 / 48000.0);
    EXPECT_EQ(media::readAll(m4a).size(), 50000U);
}

TEST_F(ConvertToM4ATest, ACafWithoutAFrameIsEmptyAndTheOlderM4aStays) {
    writeCaf(0);
    writeBytes(m4a, {'o', 'l', 'd'});
    const auto seconds = convert();
    ASSERT_FALSE(seconds);
    EXPECT_EQ(seconds.error(), (ConvertFailure{store::ConvertError::Empty, QStringLiteral("no audio in the file")}));
    EXPECT_EQ(bytesOf(m4a), (std::vector<char>{'o', 'l', 'd'}));
    EXPECT_TRUE(std::filesystem::exists(caf));
}

TEST_F(ConvertToM4ATest, ATrackThatWasClosedWithoutAFrameIsEmptyAndTheOlderM4aStays) {
    fakes::ManualDispatch dispatch;
    const auto writer =
        AudioTrackWriter::create(caf, "mic", dispatch.clock.now(), {dispatch, dispatch.clock}).value_or(nullptr);
    ASSERT_TRUE(writer);
    EXPECT_EQ(writer->finish(0.0), 0.0);
    writeBytes(m4a, {'o', 'l', 'd'});
    EXPECT_EQ(convert().error(), (ConvertFailure{store::ConvertError::Empty, QStringLiteral("no audio in the file")}));
    EXPECT_EQ(bytesOf(m4a).size(), 3U);
}

TEST_F(ConvertToM4ATest, ACafWithHalfAFrameIsEmpty) {
    auto bytes = cafBytes(CafShape{}, std::vector<std::int16_t>{});
    bytes.push_back('x');
    writeBytes(caf, bytes);
    EXPECT_EQ(convert().error().reason, store::ConvertError::Empty);
}

TEST_F(ConvertToM4ATest, ACafThatCannotBeReadIsAnErrorAndTheOlderM4aStays) {
    writeBytes(m4a, {'o', 'l', 'd'});
    const auto missing = convert();
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error(), (ConvertFailure{std::nullopt, QString::fromLocal8Bit(std::strerror(ENOENT))}));
    writeBytes(caf, std::vector<char>(1000, 'x'));
    EXPECT_EQ(convert().error().reason, std::nullopt);
    writeBytes(caf, {});
    EXPECT_EQ(convert().error().reason, std::nullopt) << "not even a header";
    EXPECT_EQ(bytesOf(m4a).size(), 3U);
}

TEST_F(ConvertToM4ATest, AnOlderM4aIsReplacedAndALinkIsNotFollowed) {
    writeCaf(5000);
    const auto target = folder / "target";
    writeBytes(target, {'k', 'e', 'e', 'p'});
    std::filesystem::create_symlink(target, m4a);
    ASSERT_TRUE(convert());
    EXPECT_FALSE(std::filesystem::is_symlink(m4a));
    EXPECT_EQ(bytesOf(target).size(), 4U);
    EXPECT_EQ(media::readAll(m4a).size(), 5000U);
    struct stat status{};
    ASSERT_EQ(::stat(m4a.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(ConvertToM4ATest, TheCafIsNeverTouched) {
    writeCaf(5000);
    const auto before = bytesOf(caf);
    ASSERT_TRUE(convert());
    EXPECT_EQ(bytesOf(caf), before);
}

TEST_F(ConvertToM4ATest, AnM4aThatCannotBeMadeIsAnErrorInWords) {
    writeCaf(5000);
    m4a = folder / "none" / "mic.m4a";
    const auto seconds = convert();
    ASSERT_FALSE(seconds);
    EXPECT_EQ(seconds.error(), (ConvertFailure{std::nullopt, QString::fromLocal8Bit(std::strerror(ENOENT))}));
}

TEST_F(ConvertToM4ATest, AReadThatFailsInTheMiddleLeavesNoPartOfAnM4a) {
    writeBytes(m4a, {'o', 'l', 'd'});
    media::writeM4a(caf, media::tone(200000)); // any track can be read, and only packets can be damaged in the middle
    auto bytes = bytesOf(caf);
    const std::string name = "moov";
    const auto index = std::search(bytes.begin(), bytes.end(), name.begin(), name.end()) - 4;
    ASSERT_LT(index, bytes.end());
    std::fill(index - (index - bytes.begin()) / 4, index, '\xFF');
    writeBytes(caf, bytes);
    const auto seconds = convert();
    ASSERT_FALSE(seconds);
    EXPECT_EQ(seconds.error().reason, std::nullopt);
    EXPECT_FALSE(seconds.error().text.isEmpty());
    EXPECT_FALSE(std::filesystem::exists(m4a));
    EXPECT_EQ(bytesOf(caf), bytes);
}

/// Runs `body` in a child whose files can have `limit` bytes; whether it was content.
bool inChildWithFileLimit(rlim_t limit, const std::function<bool()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit files{limit, limit};
        ::setrlimit(RLIMIT_FSIZE, &files);
        ::_exit(body() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(ConvertToM4ATest, AFullDiskLeavesTheCafAndNoPartOfAnM4a) {
    writeCaf(480000);
    const auto before = bytesOf(caf);
    for (const rlim_t limit : {0U, 10U, 5000U, 50000U}) {
        EXPECT_TRUE(inChildWithFileLimit(limit, [&] {
            const auto seconds = convert();
            return !seconds && !seconds.error().reason &&
                   seconds.error().text == QString::fromLocal8Bit(std::strerror(EFBIG));
        })) << limit;
        EXPECT_FALSE(std::filesystem::exists(m4a)) << limit;
        EXPECT_EQ(bytesOf(caf), before) << limit;
    }
}

TEST_F(ConvertToM4ATest, TwoTracksAreConvertedSideBySide) {
    const auto other = folder / "system.caf";
    writeCaf(200000);
    writeBytes(other, cafBytes(CafShape{}, std::vector<std::int16_t>(100000, 3)));
    std::expected<double, ConvertFailure> second = 0;
    {
        const std::jthread beside(
            [&] { second = AudioTrackWriter::convertToM4A(other, AudioTrackWriter::m4aURL(other)); });
        EXPECT_DOUBLE_EQ(convert().value_or(-1), 200000 / 48000.0);
    }
    EXPECT_DOUBLE_EQ(second.value_or(-1), 100000 / 48000.0);
    EXPECT_EQ(media::readAll(m4a).size(), 200000U);
    EXPECT_EQ(media::readAll(folder / "system.m4a").size(), 100000U);
}

} // namespace
} // namespace capture
