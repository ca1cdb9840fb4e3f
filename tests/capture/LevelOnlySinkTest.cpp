#include "capture/LevelOnlySink.h"

#include "capture/Sound.h"
#include "fakes/ManualScheduler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace capture {
namespace {

LevelOnlySink::Squares squaresOf(const Sound& sound, std::uint32_t frames) {
    return LevelOnlySink::sumSquares({sound.format, sound.bytes, frames});
}

TEST(LevelOnlySink, SamplesOfAllChannelsAreCounted) {
    const auto stereo = soundOf({SampleType::Int16, 48000.0, 2}, std::vector<std::int16_t>(200, 16384));
    EXPECT_EQ(squaresOf(stereo, 100), (LevelOnlySink::Squares{200 * 0.25, 200}));
}

TEST(LevelOnlySink, EverySampleTypeIsScaledToOne) {
    const auto whole = soundOf({SampleType::Int16, 48000.0, 1}, std::vector<std::int16_t>{-32768, 16384, 0});
    EXPECT_EQ(squaresOf(whole, 3), (LevelOnlySink::Squares{1.25, 3}));
    const auto wide = soundOf({SampleType::Int32, 48000.0, 1},
                              std::vector<std::int32_t>{std::numeric_limits<std::int32_t>::min(), 1 << 30});
    EXPECT_EQ(squaresOf(wide, 2), (LevelOnlySink::Squares{1.25, 2}));
    const auto floats = soundOf({SampleType::Float32, 48000.0, 1}, std::vector<float>{2.0F, -0.5F});
    EXPECT_EQ(squaresOf(floats, 2), (LevelOnlySink::Squares{4.25, 2})) << "floats are used as they are";
}

TEST(LevelOnlySink, NoFramesNoChannelsAndUnknownSamplesAreNothing) {
    const auto sound = plainSound(10);
    EXPECT_EQ(squaresOf(sound, 0), LevelOnlySink::Squares());
    Sound odd = sound;
    odd.format.channels = 0;
    EXPECT_EQ(squaresOf(odd, 10), LevelOnlySink::Squares());
    odd.format = {static_cast<SampleType>(9), 48000.0, 1};
    EXPECT_EQ(squaresOf(odd, 5), LevelOnlySink::Squares());
}

TEST(LevelOnlySink, ItsQueueIsNamedAfterItsLabel) {
    fakes::ManualDispatch dispatch;
    const LevelOnlySink sink("mic", dispatch);
    ASSERT_EQ(dispatch.madeQueues.size(), 1U);
    EXPECT_EQ(dispatch.madeQueues[0].first, "com.orvane.tarvex.level.mic");
    EXPECT_EQ(dispatch.madeQueues[0].second, base::Priority::UserInitiated);
}

TEST(LevelOnlySink, TheLevelIsThatOfWhatCameSinceItWasTaken) {
    fakes::ManualDispatch dispatch;
    LevelOnlySink sink("mic", dispatch);
    EXPECT_EQ(sink.takeLevelDB(), std::nullopt);
    sink.append(plainSound(100, 16384).at(0));
    sink.append(plainSound(100, 0).at(0));
    EXPECT_NEAR(sink.takeLevelDB().value_or(0), 10 * std::log10(0.125), 1e-9);
    EXPECT_EQ(sink.takeLevelDB(), std::nullopt);
    sink.append(plainSound(100, 0).at(0));
    EXPECT_EQ(sink.takeLevelDB(), -90.0);
}

TEST(LevelOnlySink, BuffersAreCountedForGood) {
    fakes::ManualDispatch dispatch;
    LevelOnlySink sink("mic", dispatch);
    sink.append(plainSound(1).at(0));
    EXPECT_EQ(sink.takeLevelDB().has_value(), true);
    sink.append(plainSound(1).at(0));
    EXPECT_EQ(sink.buffers(), 2);
}

TEST(LevelOnlySink, ABlockWithoutAFrameIsNoBuffer) {
    fakes::ManualDispatch dispatch;
    LevelOnlySink sink("mic", dispatch);
    sink.append(plainSound(0).at(0));
    auto odd = plainSound(10);
    odd.format.channels = 0;
    sink.append(odd.at(0));
    EXPECT_EQ(sink.buffers(), 0);
    EXPECT_EQ(sink.takeLevelDB(), std::nullopt);
}

TEST(LevelOnlySink, ABufferAtHandCountsToo) {
    fakes::ManualDispatch dispatch;
    LevelOnlySink sink("mic", dispatch);
    const auto sound = plainSound(4, 16384);
    sink.add({sound.format, sound.bytes, 4});
    EXPECT_EQ(sink.buffers(), 1);
    EXPECT_NEAR(sink.takeLevelDB().value_or(0), 10 * std::log10(0.25), 1e-9);
}

TEST(LevelOnlySink, SamplesNeedNotBeAligned) {
    const auto sound = soundOf({SampleType::Float32, 48000.0, 1}, std::vector<float>{0.5F, 0.5F});
    std::vector<std::byte> shifted(1);
    shifted.insert(shifted.end(), sound.bytes.begin(), sound.bytes.end());
    EXPECT_EQ(LevelOnlySink::sumSquares({sound.format, std::span(shifted).subspan(1), 2}),
              (LevelOnlySink::Squares{0.5, 2}));
}

} // namespace
} // namespace capture
