#include "capture/AudioTrackWriter.h"

#include "capture/Sound.h"
#include "capture/TrackFlusher.h"
#include "capture/TrackTimeline.h"
#include "fakes/FakeDisk.h"
#include "fakes/ManualScheduler.h"
#include "fakes/TemporaryFolder.h"
#include "media/CafFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace capture {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t second = 48000;

/// A converter that does what the test says and passes 48000 Hz mono floats on.
struct ConverterScript {
    std::optional<std::optional<media::Error>> failure;
    bool keepsBack = false;
    int made = 0;
    bool makes = true;
    std::vector<AudioFormat> formats;
    std::size_t lastRoom = 0;

    media::MakeConverter maker() {
        return [this](const media::PcmFormat& from, double rate) -> std::unique_ptr<media::SampleConverter> {
            EXPECT_EQ(rate, 48000.0);
            ++made;
            formats.push_back(from);
            return makes ? std::make_unique<Scripted>(*this) : nullptr;
        };
    }

private:
    class Scripted final : public media::SampleConverter {
    public:
        explicit Scripted(ConverterScript& script) : m_script(script) {}

        std::expected<std::size_t, std::optional<media::Error>> convert(std::span<const std::byte> input,
                                                                        std::span<float> output) override {
            m_script.lastRoom = output.size();
            if (m_script.failure) {
                return std::unexpected(*m_script.failure);
            }
            if (m_script.keepsBack) {
                return 0;
            }
            const std::size_t frames = std::min(input.size() / sizeof(float), output.size());
            std::memcpy(output.data(), input.data(), frames * sizeof(float));
            return frames;
        }

    private:
        ConverterScript& m_script;
    };
};

Sound floats(std::size_t frames, float value = 0.5F) {
    return soundOf({SampleType::Float32, 48000.0, 1}, std::vector<float>(frames, value));
}

class AudioTrackWriterTest : public ::testing::Test {
protected:
    AudioTrackWriterTest() { open(); }

    void open(const media::MakeConverter& makeConverter = media::makeConverter) {
        auto made =
            AudioTrackWriter::create("mic.caf", "mic", start, {dispatch, dispatch.clock, disk.opener(), makeConverter});
        ASSERT_TRUE(made);
        writer = *made;
    }

    /// A block with this stamp, seconds after the start, that arrives when it is stamped.
    void arrive(double seconds, const Sound& sound) {
        dispatch.clock.set(start + seconds);
        writer->append(sound.at(start + seconds));
    }

    /// What stands in the file behind its header.
    [[nodiscard]] std::vector<std::int16_t> track() const {
        std::vector<std::int16_t> samples((disk.bytes.size() - media::CafFile::headerBytes) / 2);
        std::ranges::copy(std::span(disk.bytes).subspan(media::CafFile::headerBytes, samples.size() * 2),
                          std::as_writable_bytes(std::span(samples)).begin());
        return samples;
    }

    [[nodiscard]] std::size_t length() const { return track().size(); }

    /// The first frame that is not silent.
    [[nodiscard]] std::size_t firstSound() const {
        const auto samples = track();
        return static_cast<std::size_t>(std::ranges::find_if(samples, [](auto sample) { return sample != 0; }) -
                                        samples.begin());
    }

    fakes::ManualDispatch dispatch;
    fakes::FakeDisk disk;
    double start = dispatch.clock.now();
    std::shared_ptr<AudioTrackWriter> writer;
};

// ---- What it is

TEST_F(AudioTrackWriterTest, ItsQueuesAreNamedAfterItsLabel) {
    ASSERT_EQ(dispatch.madeQueues.size(), 2U);
    EXPECT_EQ(dispatch.madeQueues[0].first, "com.orvane.tarvex.mic");
    EXPECT_EQ(dispatch.madeQueues[0].second, base::Priority::UserInitiated);
    EXPECT_EQ(dispatch.madeQueues[1].second, base::Priority::Utility) << "flushing";
}

TEST_F(AudioTrackWriterTest, TheFileExistsBeforeTheFirstBlock) {
    EXPECT_EQ(disk.bytes.size(), static_cast<std::size_t>(media::CafFile::headerBytes));
}

TEST_F(AudioTrackWriterTest, AFileThatCannotBeMadeIsTheCallersError) {
    disk.opens = false;
    const auto made = AudioTrackWriter::create("mic.caf", "mic", start, {dispatch, dispatch.clock, disk.opener()});
    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().text, QStringLiteral("no disk"));
}

// ---- The time line

TEST_F(AudioTrackWriterTest, BlocksThatFollowEachOtherStandSideBySide) {
    arrive(0.0, plainSound(480, 1));
    arrive(0.01, plainSound(480, 2));
    std::vector<std::int16_t> wanted(480, 1);
    wanted.insert(wanted.end(), 480, 2);
    EXPECT_EQ(track(), wanted);
}

TEST_F(AudioTrackWriterTest, AHoleOfExactlyATenthOfASecondStays) {
    arrive(0.0, plainSound(480));
    arrive((480 + 4800) / 48000.0, plainSound(480));
    EXPECT_EQ(length(), 960U);
}

TEST_F(AudioTrackWriterTest, AHoleOfOneFrameMoreIsFilledWhole) {
    arrive(0.0, plainSound(480));
    arrive((480 + 4801) / 48000.0, plainSound(480));
    EXPECT_EQ(length(), 960U + 4801);
    const auto samples = track();
    EXPECT_EQ(samples[479], 1000);
    EXPECT_EQ(samples[480], 0);
    EXPECT_EQ(samples[480 + 4800], 0);
    EXPECT_EQ(samples[480 + 4801], 1000);
}

TEST_F(AudioTrackWriterTest, ASourceThatBeginsLateGetsSilenceBeforeItInChunks) {
    const int before = disk.writes;
    arrive(12.0, plainSound(480));
    EXPECT_EQ(firstSound(), 576000U);
    EXPECT_EQ(length(), 576000U + 480);
    EXPECT_EQ(disk.writes - before, 120 + 1);
    EXPECT_EQ(disk.largestWrite, 2U * 4800);
}

TEST_F(AudioTrackWriterTest, SilenceThatIsNoWholeNumberOfChunksEndsAtTheRightFrame) {
    arrive(100001 / 48000.0, plainSound(480));
    EXPECT_EQ(firstSound(), 100001U);
}

TEST_F(AudioTrackWriterTest, ABlockThatComesTooEarlyIsNeitherCutNorDropped) {
    arrive(0.0, plainSound(second));
    arrive(0.5, plainSound(480, 7));
    EXPECT_EQ(length(), second + 480);
    EXPECT_EQ(track()[second], 7);
}

TEST_F(AudioTrackWriterTest, AfterABreakTheTrackGoesOnAtItsTruePlace) {
    arrive(0.0, plainSound(480));
    arrive(3.0, plainSound(480, 7));
    const auto samples = track();
    EXPECT_EQ(samples[3 * second - 1], 0);
    EXPECT_EQ(samples[3 * second], 7);
}

TEST_F(AudioTrackWriterTest, ABlockWhollyBeforeTheStartIsMeasuredAndCountedButNotWritten) {
    arrive(-0.01, plainSound(480));
    EXPECT_EQ(length(), 0U);
    EXPECT_EQ(writer->health().buffers, 1);
    EXPECT_TRUE(writer->takeLevelDB().has_value());
}

TEST_F(AudioTrackWriterTest, ABlockThatReachesAcrossTheStartByOneFrameIsKeptWhole) {
    arrive(-480 / 48000.0, plainSound(480));
    EXPECT_EQ(length(), 0U);
    arrive(-479 / 48000.0, plainSound(480));
    EXPECT_EQ(length(), 480U);
}

// ---- Stamps and clocks

TEST_F(AudioTrackWriterTest, StampsFourSecondsAwayCountAsTheHostClock) {
    dispatch.clock.set(start + 6.0);
    writer->append(plainSound(480).at(start + 2.0));
    EXPECT_EQ(firstSound(), 2 * second);
}

TEST_F(AudioTrackWriterTest, StampsFourSecondsAheadCountAsTheHostClockToo) {
    dispatch.clock.set(start + 2.0);
    writer->append(plainSound(480).at(start + 6.0));
    EXPECT_EQ(firstSound(), 6 * second);
}

TEST_F(AudioTrackWriterTest, StampsOfAnotherClockLandWhereTheyArrived) {
    dispatch.clock.set(start + 2.0);
    writer->append(plainSound(480).at(start + 2.0 - 5.001));
    EXPECT_EQ(firstSound(), 2 * second);
}

TEST_F(AudioTrackWriterTest, StampsExactlyFiveSecondsAwayAreOfTheHostClock) {
    dispatch.clock.set(start + 7.0);
    writer->append(plainSound(480).at(start + 2.0));
    EXPECT_EQ(firstSound(), 2 * second);
}

TEST_F(AudioTrackWriterTest, TheOffsetOfTheFirstBlockHoldsForGood) {
    dispatch.clock.set(start + 1.0);
    writer->append(plainSound(480).at(50.0)); // another clock: 50 there is 1 second here
    dispatch.clock.set(start + 100.0);
    writer->append(plainSound(480, 7).at(53.0));
    EXPECT_EQ(track()[4 * second], 7);
}

TEST_F(AudioTrackWriterTest, AStampThatIsNoNumberCountsAsNow) {
    for (const double stamp : {notANumber, infinity, -infinity}) {
        open();
        disk.bytes.resize(media::CafFile::headerBytes);
        dispatch.clock.set(start + 2.0);
        writer->append(plainSound(480).at(stamp));
        EXPECT_EQ(firstSound(), 2 * second) << stamp;
        dispatch.clock.set(start + 6.0);
        writer->append(plainSound(480, 7).at(start + 2.01)); // the offset is exactly 0: stamps are believed
        EXPECT_EQ(track()[2 * second + 480], 7) << stamp;
    }
}

TEST_F(AudioTrackWriterTest, TheOffsetIsSetByABlockThatIsWrittenNowhere) {
    arrive(-20.0, plainSound(480)); // before the start, on the host clock
    dispatch.clock.set(start + 8.0);
    writer->append(plainSound(480).at(start + 2.0)); // 6 seconds late, yet its stamp is believed
    EXPECT_EQ(firstSound(), 2 * second);
}

TEST_F(AudioTrackWriterTest, ABlockWithoutFramesSetsNoOffset) {
    dispatch.clock.set(start + 1.0);
    writer->append(plainSound(0).at(50.0));
    dispatch.clock.set(start + 2.0);
    writer->append(plainSound(480).at(start + 1.5));
    EXPECT_EQ(firstSound(), 72000U);
}

TEST_F(AudioTrackWriterTest, AnAbsurdStampNeitherHangsNorFillsTheDisk) {
    arrive(0.0, plainSound(480));
    for (const double stamp : {1e300, 1.7e308, start + 1.0 + TrackTimeline::farthestAheadSeconds + 1}) {
        dispatch.clock.set(start + 1.0);
        writer->append(plainSound(480).at(stamp));
        EXPECT_LE(length(), second + 3 * 480);
    }
    EXPECT_GE(length(), second + 480);
    arrive(2.0, plainSound(480, 7));
    EXPECT_EQ(track()[2 * second], 7) << "the time line stays true";
}

TEST_F(AudioTrackWriterTest, AStampFarInThePastIsBeforeTheStart) {
    arrive(0.0, plainSound(480));
    writer->append(plainSound(480).at(-1e300));
    EXPECT_EQ(length(), 480U);
    EXPECT_EQ(writer->health(), (TrackHealth{2, std::nullopt}));
}

// ---- Formats

TEST_F(AudioTrackWriterTest, ASourceThatChangesItsFormatGoesOnWithoutAGap) {
    arrive(0.0, plainSound(480));
    arrive(0.01, soundOf({SampleType::Float32, 48000.0, 2}, std::vector<float>(960, 0.5F)));
    arrive(0.02, soundOf({SampleType::Int32, 48000.0, 1}, std::vector<std::int32_t>(480, 1 << 29)));
    const auto samples = track();
    ASSERT_EQ(samples.size(), 1440U);
    EXPECT_EQ(samples[479], 1000);
    EXPECT_EQ(samples[480], 16384);
    EXPECT_EQ(samples[959], 16384);
    EXPECT_EQ(samples[960], 8192);
}

TEST_F(AudioTrackWriterTest, ASourceThatChangesItsRateGoesOnAtItsPlace) {
    const auto slow = soundOf({SampleType::Int16, 16000.0, 1}, std::vector<std::int16_t>(160, 5000));
    for (int block = 0; block < 100; ++block) {
        arrive(block / 100.0, slow);
    }
    for (int block = 100; block < 200; ++block) {
        arrive(block / 100.0, plainSound(480, 1000));
    }
    const auto samples = track();
    const auto change = static_cast<std::size_t>(
        std::ranges::find_if(samples.begin() + 1000, samples.end(), [](auto sample) { return sample == 1000; }) -
        samples.begin());
    EXPECT_NEAR(static_cast<double>(change), 48000.0, 64) << "what the old converter kept is dropped";
    EXPECT_NEAR(static_cast<double>(samples.size()), 96000.0, 64);
}

TEST_F(AudioTrackWriterTest, AConverterIsMadeForEachFormatAndKeptWhileItStays) {
    ConverterScript script;
    open(script.maker());
    arrive(0.00, floats(480));
    arrive(0.01, floats(480));
    EXPECT_EQ(script.made, 1);
    Sound faster = floats(480);
    faster.format.sampleRate = 96000.0;
    arrive(0.02, faster);
    EXPECT_EQ(script.made, 2);
    arrive(0.03, faster);
    EXPECT_EQ(script.made, 2);
    arrive(0.04, floats(480));
    EXPECT_EQ(script.made, 3) << "the old one is gone";
    EXPECT_EQ(script.formats[1].sampleRate, 96000.0);
}

TEST_F(AudioTrackWriterTest, TheConverterHasRoomForItsShareAndWhatItKeptBack) {
    ConverterScript script;
    open(script.maker());
    arrive(0.0, floats(480));
    EXPECT_EQ(script.lastRoom, 480U + 64);
    Sound slow = floats(160);
    slow.format.sampleRate = 16000.0;
    arrive(0.01, slow);
    EXPECT_EQ(script.lastRoom, 480U + 64);
    Sound cd = floats(442);
    cd.format.sampleRate = 44100.0;
    arrive(0.02, cd);
    EXPECT_EQ(script.lastRoom, 482U + 64) << "of 481.09";
}

TEST_F(AudioTrackWriterTest, AFormatWithoutAConverterLosesItsBlocksWithoutAWord) {
    Sound odd = plainSound(480);
    odd.format.sampleRate = 0;
    arrive(0.0, odd);
    odd.format.sampleRate = notANumber;
    arrive(0.01, odd);
    EXPECT_EQ(length(), 0U);
    EXPECT_EQ(writer->health(), (TrackHealth{2, std::nullopt}));
    EXPECT_EQ(writer->takeLevelDB(), std::nullopt);
    arrive(0.02, plainSound(480));
    EXPECT_EQ(length(), 480U) << "a good format comes through again";
}

TEST_F(AudioTrackWriterTest, AFailedConversionStandsInTheHealthAndCostsTheBlock) {
    ConverterScript script;
    open(script.maker());
    script.failure = media::Error{QStringLiteral("bad samples")};
    arrive(0.0, floats(480));
    EXPECT_EQ(writer->health(), (TrackHealth{1, QStringLiteral("bad samples")}));
    EXPECT_EQ(length(), 0U);
    EXPECT_EQ(writer->takeLevelDB(), std::nullopt);
    script.failure.reset();
    arrive(0.01, floats(480));
    EXPECT_EQ(length(), 480U);
    EXPECT_EQ(writer->health(), (TrackHealth{2, QStringLiteral("bad samples")})) << "success never clears it";
}

TEST_F(AudioTrackWriterTest, AFailedConversionWithoutWordsTakesTheWordsAway) {
    ConverterScript script;
    open(script.maker());
    script.failure = media::Error{QStringLiteral("bad samples")};
    arrive(0.0, floats(480));
    script.failure = std::optional<media::Error>();
    arrive(0.01, floats(480));
    EXPECT_EQ(writer->health(), (TrackHealth{2, std::nullopt}));
}

TEST_F(AudioTrackWriterTest, ABlockThatTheConverterKeepsBackWritesNoSilenceEither) {
    ConverterScript script;
    open(script.maker());
    script.keepsBack = true;
    arrive(3.0, floats(480));
    EXPECT_EQ(length(), 0U);
    EXPECT_EQ(writer->health().buffers, 1);
    EXPECT_EQ(writer->takeLevelDB(), std::nullopt);
}

TEST_F(AudioTrackWriterTest, ABlockWithoutAWholeFrameIsNoBuffer) {
    writer->append(plainSound(0).at(start));
    Sound half = plainSound(1);
    half.bytes.resize(1);
    writer->append(half.at(start));
    Sound none = plainSound(10);
    none.format.channels = 0;
    writer->append(none.at(start));
    none.format.channels = -2;
    writer->append(none.at(start));
    EXPECT_EQ(writer->health(), TrackHealth());
}

TEST_F(AudioTrackWriterTest, HalfAFrameBehindABlockIsNotLookedAt) {
    Sound sound = plainSound(3);
    sound.bytes.push_back(std::byte{0x55});
    arrive(0.0, sound);
    EXPECT_EQ(track(), (std::vector<std::int16_t>{1000, 1000, 1000}));
    EXPECT_EQ(AudioTrackWriter::pcmBuffer(sound.at(0))->data.size(), 6U);
    EXPECT_EQ(AudioTrackWriter::pcmBuffer(sound.at(0))->frameLength, 3U);
}

/// 100 seconds in blocks of a hundredth, as CD sound: the blocks hold 441 frames, of which some stay in the converter.
TEST_F(AudioTrackWriterTest, CdSoundInShortBlocksStaysInItsPlaceForAHundredSeconds) {
    constexpr int blocks = 10000;
    for (int block = 0; block < blocks; ++block) {
        std::vector<std::int16_t> samples(882, 0);
        if (block % 1000 == 500) { // a click at every whole tenth of the way, on both sides
            samples[0] = samples[1] = 30000;
        }
        arrive(block / 100.0, soundOf({SampleType::Int16, 44100.0, 2}, samples));
    }
    const auto samples = track();
    EXPECT_NEAR(static_cast<double>(samples.size()), 100.0 * 48000, 32);
    for (int block = 500; block < blocks; block += 1000) {
        const auto place = static_cast<std::ptrdiff_t>(block) * 480;
        const auto loudest = std::max_element(samples.begin() + place - 200, samples.begin() + place + 200);
        EXPECT_EQ(loudest - samples.begin(), place);
    }
}

TEST_F(AudioTrackWriterTest, AfterAFilledHoleSoundOfAnotherRateIsLateByWhatTheConverterKeptAtMost) {
    const auto cd = soundOf({SampleType::Int16, 44100.0, 1}, std::vector<std::int16_t>(441, 0));
    for (int block = 0; block < 10; ++block) {
        arrive(block / 100.0, cd);
    }
    std::vector<std::int16_t> click(441, 0);
    click[0] = 30000;
    arrive(5.0, soundOf(cd.format, click));
    arrive(5.01, cd);
    const auto samples = track();
    const auto loudest = std::ranges::max_element(samples) - samples.begin();
    EXPECT_GE(loudest, 240000);
    EXPECT_LE(loudest, 240000 + 32);
}

// ---- Levels

TEST_F(AudioTrackWriterTest, TheLevelIsThatOfTheMonoSoundSinceItWasTaken) {
    EXPECT_EQ(writer->takeLevelDB(), std::nullopt);
    arrive(0.0, plainSound(480, 16384));
    arrive(0.01, soundOf({SampleType::Float32, 48000.0, 2}, std::vector<float>{1.0F, -1.0F})); // nothing, as mono
    EXPECT_NEAR(writer->takeLevelDB().value_or(0), 10 * std::log10(480 * 0.25 / 481), 1e-6);
    EXPECT_EQ(writer->takeLevelDB(), std::nullopt);
}

TEST_F(AudioTrackWriterTest, SamplesThatAreAllZeroAreTheLowestLevel) {
    arrive(0.0, plainSound(480, 0));
    EXPECT_EQ(writer->takeLevelDB(), -90.0);
}

TEST_F(AudioTrackWriterTest, SilenceThatFillsAHoleIsNoSample) {
    arrive(3.0, plainSound(480, 16384));
    EXPECT_NEAR(writer->takeLevelDB().value_or(0), 10 * std::log10(0.25), 1e-9);
}

// ---- A disk that fails

TEST_F(AudioTrackWriterTest, AFailedWriteStandsInTheHealthAndIsNotCounted) {
    arrive(0.0, plainSound(480));
    disk.capacity = media::CafFile::headerBytes + 2 * 480 + 101;
    arrive(0.01, plainSound(480));
    EXPECT_EQ(writer->health(), (TrackHealth{2, QStringLiteral("disk full")}));
    EXPECT_EQ(length(), 480U);
    EXPECT_EQ(writer->finish(0), 480 / 48000.0);
}

TEST_F(AudioTrackWriterTest, WhenThereIsRoomAgainTheHoleIsFilledAtItsPlace) {
    arrive(0.0, plainSound(480));
    disk.capacity = media::CafFile::headerBytes + 2 * 480 + 101;
    for (int block = 1; block < 50; ++block) {
        arrive(block / 100.0, plainSound(480));
    }
    disk.capacity = 1 << 30;
    arrive(0.5, plainSound(480, 7));
    const auto samples = track();
    EXPECT_EQ(samples[479], 1000);
    EXPECT_EQ(std::count(samples.begin() + 480, samples.begin() + 24000, 0), 24000 - 480);
    EXPECT_EQ(samples[24000], 7);
    EXPECT_EQ(samples.size(), 24480U);
    EXPECT_EQ(writer->health().error, QStringLiteral("disk full")) << "success never clears it";
}

TEST_F(AudioTrackWriterTest, AfterAFailedSilenceItsBlockIsNotWritten) {
    disk.capacity = media::CafFile::headerBytes + 2 * 4800 * 2; // two chunks of silence
    arrive(1.0, plainSound(480));
    EXPECT_EQ(length(), 9600U) << "what was written of the silence counts";
    EXPECT_EQ(writer->health().error, QStringLiteral("disk full"));
    disk.capacity = 1 << 30;
    arrive(2.0, plainSound(480, 7));
    EXPECT_EQ(firstSound(), 2 * second);
}

TEST_F(AudioTrackWriterTest, APaddingThatFailsEndsEarlyAndTheFileIsClosedWithItsRealLength) {
    arrive(0.0, plainSound(480));
    disk.capacity = media::CafFile::headerBytes + 2 * (480 + 4800);
    EXPECT_EQ(writer->finish(1.0), (480 + 4800) / 48000.0);
    EXPECT_EQ(disk.closeCount, 1);
    EXPECT_EQ(length(), 480U + 4800);
    EXPECT_EQ(writer->health().error, QStringLiteral("disk full"));
}

TEST_F(AudioTrackWriterTest, AFileThatCannotBeClosedIsAFailedWrite) {
    disk.closes = false;
    EXPECT_EQ(writer->finish(1.0), 1.0);
    EXPECT_EQ(writer->health().error, QStringLiteral("close failed"));
}

// ---- Flushing

TEST_F(AudioTrackWriterTest, WhatWasWrittenIsFlushedOnceASecond) {
    for (int block = 0; block < 250; ++block) {
        writer->append(plainSound(480).at(start + block / 100.0));
        dispatch.advance(0.01);
    }
    EXPECT_EQ(disk.flushCount, 2);
    dispatch.advance(TrackFlusher::interval);
    EXPECT_EQ(disk.flushCount, 3);
}

TEST_F(AudioTrackWriterTest, AFlushComesNoLaterThanASecondAfterAWrite) {
    dispatch.advance(10.0);
    writer->append(plainSound(480).at(dispatch.clock.now()));
    dispatch.advance(TrackFlusher::interval - 0.001);
    EXPECT_EQ(disk.flushCount, 0);
    dispatch.advance(0.001);
    EXPECT_EQ(disk.flushCount, 1);
}

TEST_F(AudioTrackWriterTest, WhileNothingIsWrittenNothingIsFlushedAndNoTimerRuns) {
    dispatch.advance(60.0);
    EXPECT_EQ(disk.flushCount, 0);
    EXPECT_EQ(dispatch.timeline().waiting(), 0U);
    writer->append(plainSound(480).at(dispatch.clock.now()));
    dispatch.advance(60.0);
    EXPECT_EQ(disk.flushCount, 1);
    EXPECT_EQ(dispatch.timeline().waiting(), 0U);
}

TEST_F(AudioTrackWriterTest, AFlushNeverRunsOnTheAudioQueue) {
    writer->append(plainSound(480).at(start));
    const auto& audio = writer->queue();
    bool wasOnAudioQueue = false;
    disk.onFlush = [&] { wasOnAudioQueue = wasOnAudioQueue || audio.isCurrent(); };
    dispatch.advance(5.0);
    EXPECT_EQ(disk.flushCount, 1);
    EXPECT_FALSE(wasOnAudioQueue);
}

TEST_F(AudioTrackWriterTest, AFailedFlushIsAFailedWrite) {
    disk.flushes = false;
    writer->append(plainSound(480).at(start));
    dispatch.advance(5.0);
    EXPECT_EQ(writer->health().error, QStringLiteral("flush failed"));
}

TEST_F(AudioTrackWriterTest, AfterTheEndNothingIsFlushedAnyMore) {
    writer->append(plainSound(480).at(start));
    writer->finish(0.0);
    const int flushed = disk.flushCount;
    dispatch.advance(5.0);
    EXPECT_EQ(disk.flushCount, flushed);
    writer.reset();
    dispatch.advance(5.0);
}

// ---- The end

TEST_F(AudioTrackWriterTest, FinishingPadsBothTracksToTheSameLength) {
    arrive(0.0, plainSound(480));
    EXPECT_EQ(writer->finish(10.0), 10.0);
    EXPECT_EQ(length(), 480000U);
    EXPECT_EQ(disk.largestWrite, 2U * 4800);
    EXPECT_EQ(disk.closeCount, 1);
}

TEST_F(AudioTrackWriterTest, OneMissingFrameIsPaddedToo) {
    arrive(0.0, plainSound(479));
    EXPECT_EQ(writer->finish(0.01), 0.01);
    EXPECT_EQ(length(), 480U);
}

TEST_F(AudioTrackWriterTest, ATrackThatRanOverKeepsItsOwnLength) {
    arrive(0.0, plainSound(480000));
    const int writes = disk.writes;
    EXPECT_EQ(writer->finish(10.0), 10.0);
    EXPECT_EQ(disk.writes, writes + 1) << "only the length in the header";

    open();
    disk.bytes.clear();
    arrive(0.0, plainSound(480048));
    EXPECT_EQ(writer->finish(10.0), 10.001);
}

TEST_F(AudioTrackWriterTest, ARecordingWithoutABlockIsSilenceOfTheFullLength) {
    EXPECT_EQ(writer->finish(3.0), 3.0);
    EXPECT_EQ(track(), std::vector<std::int16_t>(3 * second, 0));
    EXPECT_EQ(writer->health(), TrackHealth());
}

TEST_F(AudioTrackWriterTest, FinishingAgainGivesTheSameLengthAndWritesNothing) {
    arrive(0.0, plainSound(480));
    EXPECT_EQ(writer->finish(1.0), 1.0);
    const auto bytes = disk.bytes;
    EXPECT_EQ(writer->finish(5.0), 1.0);
    EXPECT_EQ(disk.bytes, bytes);
    EXPECT_EQ(disk.closeCount, 1);
}

TEST_F(AudioTrackWriterTest, AnAbsurdTotalFillsNoDisk) {
    arrive(0.0, plainSound(480));
    dispatch.clock.set(start + 2.0);
    EXPECT_EQ(writer->finish(1e300), 2.0);
    open();
    EXPECT_EQ(writer->finish(notANumber), 0.0);
    open();
    EXPECT_EQ(writer->finish(-5.0), 0.0);
}

TEST_F(AudioTrackWriterTest, AfterTheEndBlocksChangeNothing) {
    arrive(0.0, plainSound(480));
    writer->finish(1.0);
    const auto bytes = disk.bytes;
    writer->takeLevelDB();
    arrive(5.0, plainSound(480));
    EXPECT_EQ(disk.bytes, bytes);
    EXPECT_EQ(writer->health().buffers, 1);
    EXPECT_EQ(writer->takeLevelDB(), std::nullopt);
}

TEST_F(AudioTrackWriterTest, HealthAndLevelCanBeAskedAfterTheEnd) {
    arrive(0.0, plainSound(480, 16384));
    writer->finish(1.0);
    EXPECT_EQ(writer->health(), (TrackHealth{1, std::nullopt}));
    EXPECT_NEAR(writer->takeLevelDB().value_or(0), 10 * std::log10(0.25), 1e-9);
}

TEST_F(AudioTrackWriterTest, HealthIsAnsweredAfterEveryBlockThatWasDelivered) {
    deliver(writer, plainSound(480).at(start));
    deliver(writer, plainSound(480).at(start + 0.01));
    EXPECT_EQ(writer->health().buffers, 2);
}

TEST_F(AudioTrackWriterTest, FinishingComesAfterEveryBlockThatWasDelivered) {
    deliver(writer, plainSound(480).at(start));
    EXPECT_EQ(writer->finish(0.0), 0.01);
}

class AudioTrackWriterFileTest : public ::testing::Test {
protected:
    fakes::ManualDispatch dispatch;
    fakes::TemporaryFolder folder;
    std::filesystem::path caf = folder / "mic.caf";
    double start = dispatch.clock.now();

    [[nodiscard]] std::shared_ptr<AudioTrackWriter> create() {
        return AudioTrackWriter::create(caf, "mic", start, {dispatch, dispatch.clock}).value_or(nullptr);
    }
};

TEST_F(AudioTrackWriterFileTest, DiscardingDeletesTheFile) {
    const auto writer = create();
    ASSERT_TRUE(std::filesystem::exists(caf));
    writer->append(plainSound(480).at(start));
    writer->discard();
    EXPECT_FALSE(std::filesystem::exists(caf));
    writer->append(plainSound(480).at(start));
    EXPECT_FALSE(std::filesystem::exists(caf));
    EXPECT_EQ(writer->health().buffers, 1);
    EXPECT_EQ(writer->finish(10.0), 0.01) << "its length is still known";
    writer->discard();
}

TEST_F(AudioTrackWriterFileTest, DiscardingAFileThatIsGoneAlreadyIsNoFailure) {
    const auto writer = create();
    std::filesystem::remove(caf);
    writer->discard();
    EXPECT_EQ(writer->health(), TrackHealth());
}

TEST_F(AudioTrackWriterFileTest, EveryFrameStandsInTheFileWhenAppendReturns) {
    const auto writer = create();
    for (int block = 1; block <= 10; ++block) {
        writer->append(plainSound(480).at(start + (block - 1) / 100.0));
        EXPECT_EQ(std::filesystem::file_size(caf), 68U + 2U * 480U * static_cast<unsigned>(block));
    }
}

TEST_F(AudioTrackWriterFileTest, AFolderThatIsMissingIsToldInTheSystemsWords) {
    const auto made = AudioTrackWriter::create(folder / "none" / "mic.caf", "mic", start, {dispatch, dispatch.clock});
    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().text, QString::fromLocal8Bit(std::strerror(ENOENT)));
}

} // namespace
} // namespace capture
