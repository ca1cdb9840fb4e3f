#include "practice/PracticeStats.h"

#include <gtest/gtest.h>

#include <map>

using namespace practice;
using namespace Qt::StringLiterals;
using Segment = ai::Transcript::Segment;

namespace {

Segment said(double start, double end, const QString& text = u"word"_s) {
    return {start, end, u"me"_s, text};
}

PracticeStats computed(const std::vector<Segment>& segments) {
    return PracticeStats::compute(segments, std::nullopt);
}

std::map<QString, std::int64_t> found(const QString& text) {
    std::map<QString, std::int64_t> counts;
    for (const auto& filler : PracticeStats::fillerCounts(text)) {
        if (filler.count > 0) {
            counts[filler.word] = filler.count;
        }
    }
    return counts;
}

using Counts = std::map<QString, std::int64_t>;

// ---- Words

TEST(CountWordsTest, ChineseCountsByCharacterAndLatinByRun) {
    EXPECT_EQ(PracticeStats::countWords(u"開會 meeting"_s), 3);
    EXPECT_EQ(PracticeStats::countWords(u"開會meeting吧"_s), 4);
    EXPECT_EQ(PracticeStats::countWords(u""_s), 0);
}

TEST(CountWordsTest, AnApostropheStaysInsideAWordAndBeginsNone) {
    EXPECT_EQ(PracticeStats::countWords(u"don't"_s), 1);
    EXPECT_EQ(PracticeStats::countWords(u"don’t"_s), 1);
    EXPECT_EQ(PracticeStats::countWords(u"'tis ' '"_s), 1);
    EXPECT_EQ(PracticeStats::countWords(u"會'議"_s), 2);
}

TEST(CountWordsTest, OtherMarksEndAWord) {
    EXPECT_EQ(PracticeStats::countWords(u"3.5"_s), 2);
    EXPECT_EQ(PracticeStats::countWords(u"co-op"_s), 2);
    EXPECT_EQ(PracticeStats::countWords(u"...，。！"_s), 0);
    EXPECT_EQ(PracticeStats::countWords(u"a_b"_s), 2);
}

TEST(CountWordsTest, CombiningMarksAndOtherScriptsAreLetters) {
    EXPECT_EQ(PracticeStats::countWords(u"cafe\u0301s"_s), 1);
    EXPECT_EQ(PracticeStats::countWords(u"привет мир"_s), 2);
    EXPECT_EQ(PracticeStats::countWords(u"한국 かな"_s), 4);
    EXPECT_EQ(PracticeStats::countWords(u"😀😀"_s), 0);
    EXPECT_EQ(PracticeStats::countWords(u"½ Ⅳ"_s), 2);
    EXPECT_EQ(PracticeStats::countWords(u"𠀀𠀁"_s), 2);
}

// ---- Fillers

TEST(FillersTest, DrawnOutWordsAndWideBlanksCount) {
    EXPECT_EQ(found(u"Ummm, you  know"_s), (Counts{{u"um"_s, 1}, {u"you know"_s, 1}}));
    EXPECT_EQ(found(u"uhhh ermm you\nknow"_s), (Counts{{u"uh"_s, 1}, {u"erm"_s, 1}, {u"you know"_s, 1}}));
    EXPECT_EQ(found(u"uum"_s), Counts{});
}

TEST(FillersTest, PartsOfOtherWordsDoNotCount) {
    EXPECT_EQ(found(u"yummy"_s), Counts{});
    EXPECT_EQ(found(u"um2 2um"_s), Counts{});
    EXPECT_EQ(found(u"actually, actual basicallyx"_s), (Counts{{u"actually"_s, 1}}));
}

TEST(FillersTest, AnApostropheIsABoundaryCharacter) {
    EXPECT_EQ(found(u"don't um"_s), (Counts{{u"um"_s, 1}}));
    EXPECT_EQ(found(u"um's"_s), Counts{});
    EXPECT_EQ(found(u"um’s ’um 'um"_s), Counts{});
}

TEST(FillersTest, TheWordOfTheTableIsReported) {
    EXPECT_EQ(found(u"I MEAN it, i mean"_s), (Counts{{u"I mean"_s, 2}}));
}

TEST(FillersTest, ChineseWordsCountInsideLongerExpressions) {
    EXPECT_EQ(found(u"然後就是說，嗯嗯，那個那個"_s),
              (Counts{{u"然後"_s, 1}, {u"就是"_s, 1}, {u"嗯"_s, 2}, {u"那個"_s, 2}}));
    EXPECT_EQ(found(u"嗯um呃"_s), (Counts{{u"嗯"_s, 1}, {u"um"_s, 1}, {u"呃"_s, 1}}));
}

TEST(FillersTest, EveryRowOfTheTablesHasItsCountEnglishFirst) {
    const auto counts = PracticeStats::fillerCounts(u""_s);
    ASSERT_EQ(counts.size(), 14U);
    QStringList words;
    for (const auto& filler : counts) {
        words.append(filler.word);
        EXPECT_EQ(filler.count, 0);
    }
    EXPECT_EQ(words, (QStringList{u"um"_s, u"uh"_s, u"erm"_s, u"you know"_s, u"kind of"_s, u"sort of"_s, u"basically"_s,
                                  u"actually"_s, u"I mean"_s, u"嗯"_s, u"呃"_s, u"那個"_s, u"就是"_s, u"然後"_s}));
}

TEST(FillersTest, OnlyWordsThatOccurredAreKeptInTheOrderOfTheTable) {
    const auto stats = computed({said(0, 30, u"然後 um 嗯"_s), said(30, 60, u"um"_s)});
    EXPECT_EQ(stats.fillers, (std::vector<PracticeStats::Filler>{{u"um"_s, 2}, {u"嗯"_s, 1}, {u"然後"_s, 1}}));
    EXPECT_EQ(stats.fillerCount, 4);
    EXPECT_EQ(stats.fillersPerMinute, 4.0);
    EXPECT_EQ(stats.fillerList(), u"um 2、嗯 1、然後 1"_s);
}

TEST(FillersTest, AFillerIsFoundAcrossTheEndOfASegment) {
    EXPECT_EQ(computed({said(0, 1, u"you"_s), said(1, 2, u"know"_s)}).fillerCount, 1);
}

// ---- Pace

TEST(PaceTest, NoSegmentsGiveZerosAndKeepThePrevious) {
    PracticeStats::Previous previous;
    previous.folder = u"before"_s;
    const auto stats = PracticeStats::compute({}, previous);
    PracticeStats expected;
    expected.previous = previous;
    EXPECT_EQ(stats, expected);
    EXPECT_EQ(stats.longestPauseSeconds, std::nullopt);
}

TEST(PaceTest, ASegmentOfNoLengthHasWordsAndNoPace) {
    const auto stats = computed({said(5, 5, u"one two"_s)});
    EXPECT_EQ(stats.words, 2);
    EXPECT_EQ(stats.spokenSeconds, 0);
    EXPECT_EQ(stats.wordsPerMinute, 0);
    EXPECT_EQ(stats.firstHalfWordsPerMinute, 0);
    EXPECT_EQ(stats.fillersPerMinute, 0);
}

TEST(PaceTest, HalvesShareASegmentInProportion) {
    // 40 seconds; the midpoint at 30 cuts the second segment's 20 seconds in two.
    const auto stats =
        computed({said(10, 20, u"a b c d"_s), said(20, 40, u"e f g h i j k l"_s), said(40, 50, u"m n"_s)});
    EXPECT_EQ(stats.spokenSeconds, 40);
    EXPECT_EQ(stats.words, 14);
    EXPECT_EQ(stats.wordsPerMinute, 21);
    EXPECT_EQ(stats.firstHalfWordsPerMinute, 24);
    EXPECT_EQ(stats.secondHalfWordsPerMinute, 18);
}

TEST(PaceTest, ASegmentOfNoLengthBelongsToTheHalfItStandsIn) {
    const auto stats = computed({said(0, 1, u""_s), said(29, 29, u"a"_s), said(30, 30, u"b c"_s), said(59, 60, u""_s)});
    EXPECT_EQ(stats.firstHalfWordsPerMinute, 2);
    EXPECT_EQ(stats.secondHalfWordsPerMinute, 4);
}

TEST(PaceTest, RatesAreRoundedAwayFromZero) {
    EXPECT_EQ(computed({said(0, 40, u"a"_s)}).wordsPerMinute, 2); // 1.5
    EXPECT_EQ(computed({said(0, 41, u"a"_s)}).wordsPerMinute, 1);
}

TEST(PaceTest, UnorderedSegmentsAreTakenByTheirStart) {
    EXPECT_EQ(computed({said(40, 50), said(10, 20), said(20, 40)}),
              computed({said(10, 20), said(20, 40), said(40, 50)}));
}

TEST(PaceTest, TimesThatRunBackwardsAreNoSpeech) {
    const auto stats = computed({said(10, 2, u"a b"_s)});
    EXPECT_EQ(stats.spokenSeconds, 0);
    EXPECT_EQ(stats.words, 2);
}

TEST(PaceTest, HugeTimesAreNumbersAllTheSame) {
    const auto stats = computed({said(-1e300, -1e300, u"a"_s), said(1e-300, 1e300, u"b"_s)});
    EXPECT_EQ(stats.words, 2);
    EXPECT_EQ(computed({said(0, 1e-300, u"a b"_s)}).wordsPerMinute, 9'200'000'000'000'000'000);
}

// ---- Pauses

TEST(PausesTest, TwoSecondsAreALongPauseWithATenthOfAThousandthOfGrace) {
    EXPECT_EQ(computed({said(0, 1), said(3, 4)}).longPauses, 1);
    EXPECT_EQ(computed({said(0, 1), said(2.99995, 4)}).longPauses, 1);
    EXPECT_EQ(computed({said(0, 1), said(2.9998, 4)}).longPauses, 0);
}

TEST(PausesTest, TheLongestHasItsLengthAndPlace) {
    const auto stats = computed({said(0, 1), said(3.5, 4), said(9.26, 10), said(12, 13)});
    EXPECT_EQ(stats.longPauses, 3);
    EXPECT_EQ(stats.longestPauseSeconds, 5.3);
    EXPECT_EQ(stats.longestPauseAt, 4.0);
}

TEST(PausesTest, ALaterPauseIsComparedWithTheRoundedLength) {
    const auto stats = computed({said(0, 1), said(4.04, 5), said(8.02, 9)});
    EXPECT_EQ(stats.longPauses, 2);
    EXPECT_EQ(stats.longestPauseSeconds, 3.0);
    EXPECT_EQ(stats.longestPauseAt, 5.0);
    EXPECT_EQ(computed({said(0, 1), said(4, 5), said(8, 9)}).longestPauseAt, 1.0); // equal: the first stays
}

TEST(PausesTest, ANestedSegmentDoesNotMoveTheRunningEndBack) {
    const auto stats = computed({said(0, 10), said(1, 2), said(11, 12)});
    EXPECT_EQ(stats.longPauses, 0);
    EXPECT_EQ(computed({said(0, 10), said(1, 2), said(12, 13)}).longestPauseAt, 10.0);
}

// ---- Changes

class ChangesTest : public testing::Test {
protected:
    ChangesTest() {
        stats.wordsPerMinute = 120;
        stats.fillersPerMinute = 2.1;
        stats.longPauses = 1;
        stats.pitch = PitchStats();
        stats.pitch->voicedSeconds = 20;
        stats.pitch->semitoneSD = 2.5;
        stats.previous = PracticeStats::Previous{
            u"2025_03_07_0930_練習"_s, QDateTime(QDate(2025, 3, 7), QTime(1, 30), Qt::UTC), 130, 4.0, 3, 2.2};
    }

    PracticeStats stats;
};

TEST_F(ChangesTest, AreThisMinusThePrevious) {
    EXPECT_EQ(stats.wordsPerMinuteChange(), -10);
    EXPECT_EQ(stats.fillersPerMinuteChange(), -1.9);
    EXPECT_EQ(stats.longPausesChange(), -2);
    EXPECT_EQ(stats.pitchChange(), 0.3);
}

TEST_F(ChangesTest, AreAbsentWithoutAPrevious) {
    stats.previous.reset();
    EXPECT_EQ(stats.wordsPerMinuteChange(), std::nullopt);
    EXPECT_EQ(stats.fillersPerMinuteChange(), std::nullopt);
    EXPECT_EQ(stats.longPausesChange(), std::nullopt);
    EXPECT_EQ(stats.pitchChange(), std::nullopt);
}

TEST_F(ChangesTest, OfPitchNeedEnoughVoiceOnBothSides) {
    stats.pitch->voicedSeconds = 9.9;
    EXPECT_EQ(stats.pitchChange(), std::nullopt);
    stats.pitch->voicedSeconds = 10;
    EXPECT_TRUE(stats.pitchChange());
    stats.previous->pitchSemitoneSD.reset();
    EXPECT_EQ(stats.pitchChange(), std::nullopt);
    stats.pitch.reset();
    EXPECT_EQ(stats.pitchChange(), std::nullopt);
}

// ---- The stored form

TEST_F(ChangesTest, StandInTheStoredFormWithEveryKey) {
    stats.pitch.reset();
    stats.spokenSeconds = 61.5;
    stats.words = 123;
    stats.fillers = {{u"um"_s, 2}};
    stats.fillerCount = 2;
    EXPECT_EQ(
        base::writeCompactJson(stats.json(QTimeZone("Asia/Taipei"))),
        QByteArray(R"({"fillerCount":2,"fillers":[{"count":2,"word":"um"}],"fillersPerMinute":2.1,)"
                   R"("firstHalfWordsPerMinute":0,"longPauseMinSeconds":2.0,"longPauses":1,"longestPauseAt":null,)"
                   R"("longestPauseSeconds":null,"pitch":null,"previous":{"change":{"fillersPerMinute":-1.9,)"
                   R"("longPauses":-2,"pitchSemitoneSD":null,"wordsPerMinute":-10},"fillersPerMinute":4.0,)"
                   R"("folder":"2025_03_07_0930_練習","longPauses":3,"pitchSemitoneSD":2.2,)"
                   R"("start":"2025-03-07T09:30:00+08:00","wordsPerMinute":130},"secondHalfWordsPerMinute":0,)"
                   R"("spokenSeconds":61.5,"words":123,"wordsPerMinute":120})"));
}

TEST_F(ChangesTest, ReadBackAsTheyWereWritten) {
    EXPECT_EQ(PracticeStats::parse(stats.json(QTimeZone::utc())), stats);
    EXPECT_EQ(PracticeStats::parse(PracticeStats().json(QTimeZone::utc())), PracticeStats());
}

std::optional<PracticeStats> parsed(const char* text) {
    return PracticeStats::parse(base::parseJson(text).value());
}

TEST(PracticeStatsParseTest, ADamagedFileNeverFailsAsAWhole) {
    EXPECT_EQ(parsed("[]"), std::nullopt);
    EXPECT_EQ(parsed("{}"), PracticeStats());
    EXPECT_EQ(
        parsed(
            R"({"spokenSeconds":"x","words":null,"wordsPerMinute":[],"longPauses":{},"longestPauseSeconds":"1",)"
            R"("longestPauseAt":true,"fillers":7,"fillerCount":"9","fillersPerMinute":null,"pitch":3,"previous":"x"})"),
        PracticeStats());
}

TEST(PracticeStatsParseTest, FillersNeedAWordAndPreviousHasDefaults) {
    const auto stats =
        parsed(R"({"fillers":[{"count":1},{"word":3},7,{"word":"um"},{"word":"uh","count":2.9}],"previous":{}})");
    EXPECT_EQ(stats->fillers, (std::vector<PracticeStats::Filler>{{u"um"_s, 0}, {u"uh"_s, 2}}));
    EXPECT_EQ(stats->previous, PracticeStats::Previous());
}

TEST(PracticeStatsParseTest, NumbersOfAnySizeAreRead) {
    EXPECT_EQ(parsed(R"({"words":1e30})")->words, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parsed(R"({"words":-1e30})")->words, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(parsed(R"({"words":-2.9})")->words, -2);
}

} // namespace
