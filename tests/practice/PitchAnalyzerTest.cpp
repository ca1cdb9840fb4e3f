#include "practice/PitchAnalyzer.h"

#include "practice/SyntheticVoice.h"

#include <gtest/gtest.h>

using namespace practice;
using namespace practice::PitchAnalyzer;
using namespace Qt::StringLiterals;
using ai::Transcript;

namespace {

/// Frames of 10 ms from `from` on, all of one pitch.
void addFrames(std::vector<Frame>& frames, double seconds, std::optional<double> hz) {
    const auto count = static_cast<int>(std::lround(seconds * 100));
    for (int i = 0; i < count; ++i) {
        frames.push_back({0.02 + 0.01 * static_cast<double>(frames.size()), hz});
    }
}

/// A voice that swings around 200 Hz by `semitones` to each side, frame by frame.
void addSwing(std::vector<Frame>& frames, double seconds, double swing) {
    const auto count = static_cast<int>(std::lround(seconds * 100));
    for (int i = 0; i < count; ++i) {
        const double s = i % 2 == 0 ? swing : -swing;
        frames.push_back({0.02 + 0.01 * static_cast<double>(frames.size()), 200 * std::exp2(s / 12)});
    }
}

TEST(PitchAnalyzerTest, AnUnreadableFileGivesNothing) {
    EXPECT_EQ(analyze("/nowhere/mic.m4a", {}), std::nullopt);
    EXPECT_EQ(readMono("/nowhere/mic.m4a"), std::nullopt);
}

TEST(PitchAnalyzerTest, SilenceStillHasACurve) {
    const auto result = stats(track(std::vector<float>(70 * 16000)), 70, {});
    EXPECT_EQ(result.voicedSeconds, 0);
    EXPECT_EQ(result.medianHz, std::nullopt);
    ASSERT_EQ(result.windows.size(), 3U);
    EXPECT_EQ(result.windows[2], (PitchStats::Window{60, 70, 0, std::nullopt}));
    EXPECT_EQ(result.levelText(), u"資料不夠"_s);
}

TEST(PitchAnalyzerTest, ACurveNeedsMoreThanAThousandthOfASecond) {
    EXPECT_TRUE(windows({}, {}, 0).empty());
    EXPECT_TRUE(windows({}, {}, 0.001).empty());
    EXPECT_TRUE(windows({}, {}, -5).empty());
    EXPECT_EQ(windows({}, {}, 0.0011).size(), 1U);
}

TEST(PitchAnalyzerTest, SixtyFiveSecondsAreThreeStretches) {
    const auto curve = windows({}, {}, 65);
    ASSERT_EQ(curve.size(), 3U);
    EXPECT_EQ(curve[0], (PitchStats::Window{0, 30, 0, std::nullopt}));
    EXPECT_EQ(curve[1], (PitchStats::Window{30, 60, 0, std::nullopt}));
    EXPECT_EQ(curve[2], (PitchStats::Window{60, 65, 0, std::nullopt}));
}

TEST(PitchAnalyzerTest, ARestOfAThousandthIsNoStretchOfItsOwn) {
    EXPECT_EQ(windows({}, {}, 60.001).size(), 2U);
    EXPECT_EQ(windows({}, {}, 60.0011).size(), 3U);
}

TEST(PitchAnalyzerTest, AValueAtTheEndOfAStretchBelongsToTheNext) {
    const auto curve = windows({29.99, 30.0}, {1, 2}, 60);
    EXPECT_EQ(oneDecimal(curve[0].voicedSeconds), 0.0);
    std::vector<double> times(500, 30.0);
    std::vector<double> values(500, 1.0);
    EXPECT_EQ(windows(times, values, 60)[0].voicedSeconds, 0.0);
    EXPECT_EQ(windows(times, values, 60)[1].voicedSeconds, 5.0);
}

TEST(PitchAnalyzerTest, AStretchIsRatedFromFiveVoicedSecondsOn) {
    std::vector<double> times;
    for (int i = 0; i < 500; ++i) {
        times.push_back(0.01 * i);
    }
    EXPECT_EQ(windows(times, std::vector<double>(500, 1), 30)[0].semitoneSD, 0.0);
    times.pop_back();
    EXPECT_EQ(windows(times, std::vector<double>(499, 1), 30)[0].semitoneSD, std::nullopt);
}

TEST(PitchAnalyzerTest, APureToneIsFlatOnceTenSecondsAreVoiced) {
    const auto result = stats(track(voice::tone(10.5, 200)), 10.5, {});
    EXPECT_EQ(result.medianHz, 200.0);
    EXPECT_EQ(result.semitoneSD, 0.0);
    EXPECT_EQ(result.level(), PitchStats::Level::Flat);
    const auto shorter = stats(track(voice::tone(9.5, 200)), 9.5, {});
    EXPECT_EQ(shorter.medianHz, 200.0);
    EXPECT_EQ(shorter.level(), std::nullopt);
}

TEST(PitchAnalyzerTest, OneKeptFrameHasAPitchAndNoDeviation) {
    std::vector<Frame> frames;
    addFrames(frames, 1, std::nullopt);
    addFrames(frames, 0.01, 180);
    const auto result = stats(frames, 1, {});
    EXPECT_EQ(result.medianHz, 180.0);
    EXPECT_EQ(result.semitoneSD, std::nullopt);
    EXPECT_EQ(result.p10, std::nullopt);
    EXPECT_EQ(result.p90, std::nullopt);
    EXPECT_EQ(result.rangeSemitones, std::nullopt);
    EXPECT_FALSE(result.enough());
    PitchStats longEnough = result;
    longEnough.voicedSeconds = 20;
    EXPECT_FALSE(longEnough.enough());
}

TEST(PitchAnalyzerTest, ABriefOctaveJumpIsDroppedAndCounted) {
    std::vector<Frame> frames;
    addFrames(frames, 1, 150);
    addFrames(frames, 0.1, 300);
    addFrames(frames, 1, 150);
    const auto result = stats(frames, 2.1, {});
    EXPECT_EQ(result.octaveFramesDropped, 10);
    EXPECT_EQ(result.voicedSeconds, 2.0);
    EXPECT_EQ(result.semitoneSD, 0.0);
}

TEST(PitchAnalyzerTest, AJumpThatFillsTheNeighbourhoodIsKept) {
    std::vector<Frame> frames;
    addFrames(frames, 1, 150);
    addFrames(frames, 1, 300);
    const auto result = stats(frames, 2, {});
    EXPECT_EQ(result.octaveFramesDropped, 0);
}

TEST(PitchAnalyzerTest, NineSemitonesAreKeptAndMoreAreDropped) {
    const auto droppedAt = [](double jump) {
        std::vector<Frame> frames;
        addFrames(frames, 0.3, 150);
        addFrames(frames, 0.01, 150 * std::exp2(jump / 12));
        addFrames(frames, 0.3, 150);
        return stats(frames, 1, {}).octaveFramesDropped;
    };
    EXPECT_EQ(droppedAt(8.999), 0);
    EXPECT_EQ(droppedAt(9.001), 1);
    EXPECT_EQ(droppedAt(-9.001), 1);
}

TEST(PitchAnalyzerTest, TheNeighbourhoodReachesTwentyFiveFrameIndicesAndNotVoicedPositions) {
    const auto dropped = [](int silent) {
        std::vector<Frame> frames;
        addFrames(frames, 0.03, 150); // three votes
        addFrames(frames, 0.01 * silent, std::nullopt);
        addFrames(frames, 0.02, 300); // two against them
        return stats(frames, 1, {}).octaveFramesDropped;
    };
    // Of the jump's first frame the votes stand 25 indices and less away; one further, and one of them is lost:
    // two against two has its median in the middle, 6 semitones from both.
    EXPECT_EQ(dropped(22), 1);
    EXPECT_EQ(dropped(23), 0);
}

TEST(PitchAnalyzerTest, DroppedFramesStillVoteForTheirNeighbours) {
    // Each side of this mixture is far from the median of the other: nothing is left.
    std::vector<Frame> frames;
    addFrames(frames, 0.01, 100);
    addFrames(frames, 0.01, 250);
    EXPECT_EQ(stats(frames, 1, {}).octaveFramesDropped, 0); // 8 semitones to each side of their mean
    std::vector<Frame> wide;
    addFrames(wide, 0.01, 80);
    addFrames(wide, 0.01, 399);
    const auto result = stats(wide, 1, {});
    EXPECT_EQ(result.octaveFramesDropped, 2);
    EXPECT_EQ(result.medianHz, std::nullopt);
    EXPECT_EQ(result.voicedSeconds, 0);
    EXPECT_EQ(result.windows.size(), 1U);
}

TEST(PitchAnalyzerTest, ASingleRatedStretchIsNotTheFlattest) {
    std::vector<Frame> frames;
    addSwing(frames, 10, 1);
    const auto one = stats(frames, 30, {});
    EXPECT_EQ(one.windows.size(), 1U);
    EXPECT_TRUE(one.windows[0].semitoneSD);
    EXPECT_EQ(one.flattest, std::nullopt);
}

TEST(PitchAnalyzerTest, OfEquallyFlatStretchesTheEarlierIsTheFlattest) {
    std::vector<Frame> frames;
    addSwing(frames, 30, 2);
    addSwing(frames, 30, 1);
    addSwing(frames, 30, 1);
    const auto result = stats(frames, 90, {});
    ASSERT_TRUE(result.flattest);
    EXPECT_EQ(result.flattest->start, 30);
    EXPECT_EQ(result.flattest->end, 60);
    EXPECT_EQ(result.flattest->semitoneSD, 1.0);
    EXPECT_EQ(result.flattest->sentence, std::nullopt);
}

TEST(PitchAnalyzerTest, PercentilesAreInterpolated) {
    EXPECT_EQ(quantile({}, 0.5), 0);
    EXPECT_EQ(quantile({7}, 0.9), 7);
    EXPECT_DOUBLE_EQ(quantile({0, 10}, 0.1), 1);
    EXPECT_DOUBLE_EQ(quantile({0, 1, 2, 3, 4}, 0.9), 3.6);
    EXPECT_EQ(quantile({0, 1, 2}, 1), 2);
}

TEST(PitchAnalyzerTest, MedianAndDeviationOfAFewValues) {
    EXPECT_EQ(median({}), std::nullopt);
    EXPECT_EQ(median({3, 1, 2}), 2);
    EXPECT_EQ(median({4, 1, 3, 2}), 2.5);
    EXPECT_EQ(standardDeviation(std::vector<double>{1}), std::nullopt);
    EXPECT_EQ(standardDeviation(std::vector<double>{1, 3}), 1);
    EXPECT_EQ(semitones(400, 200), 12);
    EXPECT_EQ(oneDecimal(0.25), 0.3);
    EXPECT_EQ(oneDecimal(-0.25), -0.3);
}

class SentenceTest : public testing::Test {
protected:
    std::vector<double> times;
    std::vector<double> values;
    PitchStats::Window window{30, 60, 20, 1.0};

    void say(double from, double to, double swing) {
        for (int i = 0; from + 0.01 * i < to - 1e-9; ++i) {
            times.push_back(from + 0.01 * i);
            values.push_back(i % 2 == 0 ? swing : -swing);
        }
    }

    [[nodiscard]] std::optional<std::pair<QString, double>>
    chosen(const std::vector<Transcript::Segment>& segments) const {
        return sentence(window, segments, times, values);
    }
};

TEST_F(SentenceTest, TheSegmentThatMovesLeastIsChosen) {
    say(31, 33, 2);
    say(35, 37, 0.5);
    EXPECT_EQ(chosen({{31, 33, u"me"_s, u"lively"_s}, {35, 37, u"me"_s, u"flat"_s}}), std::pair(u"flat"_s, 35.0));
}

TEST_F(SentenceTest, ATieGoesToTheEarlierSegment) {
    say(31, 33, 1);
    say(35, 37, 1);
    EXPECT_EQ(chosen({{31, 33, u"me"_s, u"a"_s}, {35, 37, u"me"_s, u"b"_s}})->first, u"a"_s);
}

TEST_F(SentenceTest, OneAndAHalfVoicedSecondsAreEnoughToBeChosenByDeviation) {
    say(31, 32.5, 0.5);
    say(35, 40, 3);
    const std::vector<Transcript::Segment> segments{{31, 32.5, u"me"_s, u"short"_s}, {35, 40, u"me"_s, u"long"_s}};
    EXPECT_EQ(chosen(segments)->first, u"short"_s);
    times.erase(times.begin());
    values.erase(values.begin());
    EXPECT_EQ(chosen(segments)->first, u"long"_s);
}

TEST_F(SentenceTest, WithoutEnoughVoiceTheLongestOverlapIsChosen) {
    EXPECT_EQ(chosen({{20, 32, u"me"_s, u"two"_s}, {40, 43, u"me"_s, u"three"_s}, {50, 53, u"me"_s, u"tie"_s}})->first,
              u"three"_s);
}

TEST_F(SentenceTest, SegmentsThatOnlyTouchTheStretchAreOutside) {
    EXPECT_EQ(chosen({{20, 30, u"me"_s, u"before"_s}, {60, 70, u"me"_s, u"after"_s}}), std::nullopt);
    EXPECT_EQ(chosen({}), std::nullopt);
}

TEST_F(SentenceTest, LinesAreJoinedAndBlankTextsAreNothing) {
    EXPECT_EQ(chosen({{31, 33, u"me"_s, u" one \n\t\r\n two "_s}})->first, u"one two"_s);
    EXPECT_EQ(chosen({{31, 33, u"me"_s, u" \n "_s}}), std::nullopt);
}

TEST_F(SentenceTest, EightyCharactersStayAndEightyOneAreCut) {
    EXPECT_EQ(chosen({{31, 33, u"me"_s, QString(80, u'話')}})->first, QString(80, u'話'));
    EXPECT_EQ(chosen({{31, 33, u"me"_s, QString(81, u'話')}})->first, QString(QString(80, u'話') + u'…'));
}

TEST(PitchAnalyzerTest, ABlankSentenceLeavesTheFlattestStretch) {
    std::vector<Frame> frames;
    addSwing(frames, 30, 2);
    addSwing(frames, 30, 1);
    const auto result = stats(frames, 60, {{30, 60, u"me"_s, u"  "_s}});
    ASSERT_TRUE(result.flattest);
    EXPECT_EQ(result.flattest->sentence, std::nullopt);
    EXPECT_EQ(result.flattest->sentenceStart, std::nullopt);
    const auto said = stats(frames, 60, {{30.04, 60, u"me"_s, u"so"_s}});
    EXPECT_EQ(said.flattest->sentence, u"so"_s);
    EXPECT_EQ(said.flattest->sentenceStart, 30.0);
}

} // namespace
