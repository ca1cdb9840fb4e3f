// What a recording survives: a killed process, a full disk, and readers beside the audio thread.
#include "base/HostClock.h"
#include "base/SerialQueue.h"
#include "capture/AudioTrackWriter.h"
#include "capture/Sound.h"
#include "fakes/ManualScheduler.h"
#include "fakes/TemporaryFolder.h"
#include "media/Tracks.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cmath>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace capture {
namespace {

constexpr int framesPerBlock = 480;

double secondsOf(int block) {
    return block / 100.0;
}

/// Appends blocks without an end and tells `pipe` after each how many frames were taken.
[[noreturn]] void recordUntilKilled(const std::filesystem::path& caf, int pipe) {
    fakes::ManualDispatch dispatch;
    const double start = dispatch.clock.now();
    const auto writer = AudioTrackWriter::create(caf, "mic", start, {dispatch, dispatch.clock}).value_or(nullptr);
    if (!writer) {
        ::_exit(1);
    }
    const auto sound = plainSound(framesPerBlock);
    for (int block = 0;; ++block) {
        writer->append(sound.at(start + secondsOf(block)));
        const std::int64_t frames = std::int64_t{framesPerBlock} * (block + 1);
        if (::write(pipe, &frames, sizeof(frames)) != sizeof(frames)) {
            ::_exit(1);
        }
    }
}

TEST(AudioTrackWriterAccidents, AKilledProcessLosesNoFrameWhoseAppendHadReturned) {
    const fakes::TemporaryFolder folder;
    const auto caf = folder / "mic.caf";
    for (const int blocks : {1, 77, 1000}) {
        std::array<int, 2> pipe{};
        ASSERT_EQ(::pipe(pipe.data()), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::close(pipe[0]);
            recordUntilKilled(caf, pipe[1]);
        }
        ::close(pipe[1]);
        std::int64_t taken = 0;
        for (int block = 0; block < blocks; ++block) {
            ASSERT_EQ(::read(pipe[0], &taken, sizeof(taken)), static_cast<ssize_t>(sizeof(taken)));
        }
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        while (::read(pipe[0], &taken, sizeof(taken)) == static_cast<ssize_t>(sizeof(taken))) {
        }
        ::close(pipe[0]);
        const auto read = media::readAll(caf);
        EXPECT_GE(static_cast<std::int64_t>(read.size()), taken);
        EXPECT_TRUE(std::ranges::all_of(read, [](float sample) { return std::lround(sample * 32768) == 1000; }));
        const auto m4a = AudioTrackWriter::m4aURL(caf);
        EXPECT_DOUBLE_EQ(AudioTrackWriter::convertToM4A(caf, m4a).value_or(-1),
                         static_cast<double>(read.size()) / 48000.0);
    }
}

void limitFiles(rlim_t bytes) {
    rlimit files{};
    ::getrlimit(RLIMIT_FSIZE, &files);
    files.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &files);
}

/// In a child, whose limit is its own: the disk is full for half a second in the middle of a second of sound.
bool recordsAcrossAFullDisk(const std::filesystem::path& caf) {
    std::signal(SIGXFSZ, SIG_IGN);
    fakes::ManualDispatch dispatch;
    const double start = dispatch.clock.now();
    const auto writer = AudioTrackWriter::create(caf, "mic", start, {dispatch, dispatch.clock}).value_or(nullptr);
    const auto sound = plainSound(framesPerBlock);
    for (int block = 0; writer && block < 100; ++block) {
        limitFiles(block >= 25 && block < 75 ? 68 + 2 * 25 * framesPerBlock + 101 : RLIM_INFINITY);
        writer->append(sound.at(start + secondsOf(block)));
    }
    return writer && writer->health().error == QString::fromLocal8Bit(std::strerror(EFBIG)) &&
           writer->finish(1.0) == 1.0;
}

TEST(AudioTrackWriterAccidents, AfterAFullDiskTheSoundStandsAtItsPlaceAgain) {
    const fakes::TemporaryFolder folder;
    const auto caf = folder / "mic.caf";
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(recordsAcrossAFullDisk(caf) ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const auto read = media::readAll(caf);
    ASSERT_EQ(read.size(), 48000U);
    for (std::size_t frame = 0; frame < read.size(); ++frame) {
        const bool missing = frame >= 12000 && frame < 36000;
        ASSERT_EQ(std::lround(read[frame] * 32768), missing ? 0 : 1000) << frame;
    }
}

/// All samples have one loudness, so that a sum that was read apart from its count shows; their signs are the bits of
/// the block's number, so that a block that is torn, doubled or lost shows.
Sound numbered(int block) {
    std::vector<std::int16_t> samples(framesPerBlock, 16384);
    for (int bit = 0; bit < 16; ++bit) {
        if ((block >> bit & 1) != 0) {
            samples[static_cast<std::size_t>(bit)] = -16384;
        }
    }
    return soundOf({SampleType::Int16, 48000.0, 1}, samples);
}

TEST(AudioTrackWriterAccidents, LevelsAndHealthAreTrueWhileBlocksArriveOnTheirOwnThread) {
    constexpr int blocks = 4000;
    const fakes::TemporaryFolder folder;
    const auto caf = folder / "mic.caf";
    const base::MonotonicClock clock;
    base::SerialQueue main("com.orvane.tarvex.test.main");
    base::ThreadDispatch dispatch(main);
    const double start = clock.now();
    const auto writer = AudioTrackWriter::create(caf, "mic", start, {dispatch, clock}).value_or(nullptr);
    ASSERT_TRUE(writer);
    std::atomic<bool> done = false;
    std::atomic<int> levels = 0;
    std::jthread meter([&] {
        while (!done) {
            if (const auto level = writer->takeLevelDB()) {
                EXPECT_NEAR(*level, 10 * std::log10(0.25), 1e-9);
                ++levels;
            }
        }
    });
    std::jthread health([&] {
        std::int64_t before = 0;
        while (!done) {
            const auto now = writer->health();
            EXPECT_GE(now.buffers, before);
            EXPECT_EQ(now.error, std::nullopt);
            before = now.buffers;
        }
    });
    for (int block = 0; block < blocks; ++block) {
        deliver(writer, numbered(block).at(start + secondsOf(block)));
    }
    EXPECT_EQ(writer->health().buffers, blocks);
    EXPECT_EQ(writer->finish(0.0), blocks * framesPerBlock / 48000.0);
    done = true;
    meter.join();
    health.join();
    EXPECT_GT(levels + (writer->takeLevelDB() ? 1 : 0), 0);
    const auto read = media::readAll(caf);
    ASSERT_EQ(read.size(), static_cast<std::size_t>(blocks * framesPerBlock));
    for (int block = 0; block < blocks; ++block) {
        int number = 0;
        for (int bit = 0; bit < 16; ++bit) {
            number |= read[static_cast<std::size_t>(block * framesPerBlock + bit)] < 0 ? 1 << bit : 0;
        }
        ASSERT_EQ(number, block);
    }
}

TEST(AudioTrackWriterAccidents, AWriterMayGoWhileBlocksAreOnTheirWay) {
    const fakes::TemporaryFolder folder;
    const base::MonotonicClock clock;
    base::SerialQueue main("com.orvane.tarvex.test.main");
    base::ThreadDispatch dispatch(main);
    for (int round = 0; round < 50; ++round) {
        auto writer =
            AudioTrackWriter::create(folder / "mic.caf", "mic", clock.now(), {dispatch, clock}).value_or(nullptr);
        ASSERT_TRUE(writer);
        const std::weak_ptr<CaptureSink> sink = writer;
        std::jthread source([&] {
            for (int block = 0; block < 20; ++block) {
                deliver(sink, plainSound(framesPerBlock).at(clock.now()));
            }
        });
        if (round % 2 == 0) {
            writer->discard();
        }
        writer.reset();
    }
}

/// The memory of this process that is in use, in bytes.
std::int64_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::int64_t total = 0;
    std::int64_t resident = 0;
    file >> total >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

TEST(AudioTrackWriterAccidents, SixMinutesOfSoundNeedNoMoreMemoryThanOne) {
    const fakes::TemporaryFolder folder;
    fakes::ManualDispatch dispatch;
    const double start = dispatch.clock.now();
    // A second a block keeps the test short; what could grow grows with blocks and frames alike.
    const auto sound = soundOf({SampleType::Int16, 44100.0, 2}, std::vector<std::int16_t>(88200, 1000));
    const auto writer =
        AudioTrackWriter::create(folder / "mic.caf", "mic", start, {dispatch, dispatch.clock}).value_or(nullptr);
    ASSERT_TRUE(writer);
    std::int64_t afterAMinute = 0;
    for (int second = 0; second < 360; ++second) {
        writer->append(sound.at(start + second));
        dispatch.advance(1.0);
        if (second == 60) {
            afterAMinute = residentBytes();
        }
    }
    // Keeping the blocks would take 105 MB; a checking allocator keeps what is freed for a while.
    EXPECT_LT(residentBytes() - afterAMinute, 4 * 1024 * 1024);
    EXPECT_NEAR(writer->finish(0.0), 360.0, 0.001);
}

} // namespace
} // namespace capture
