#include "practice/PitchStats.h"

#include <gtest/gtest.h>

using namespace practice;
using namespace Qt::StringLiterals;
using base::Json;

namespace {

PitchStats full() {
    PitchStats stats;
    stats.voicedSeconds = 42.5;
    stats.medianHz = 118.3;
    stats.semitoneSD = 2.4;
    stats.p10 = -2.9;
    stats.p90 = 3.1;
    stats.rangeSemitones = 6.0;
    stats.windows = {{0, 30, 20.1, 2.2}, {30, 47.3, 3.0, std::nullopt}};
    stats.flattest = PitchStats::Flattest{0, 30, 2.2, u"hello"_s, 12.3};
    stats.octaveFramesDropped = 7;
    return stats;
}

TEST(PitchStatsTest, TenVoicedSecondsWithADeviationAreEnough) {
    PitchStats stats;
    stats.semitoneSD = 2.5;
    stats.voicedSeconds = 10.0;
    EXPECT_TRUE(stats.enough());
    stats.voicedSeconds = 9.9;
    EXPECT_FALSE(stats.enough());
    EXPECT_EQ(stats.level(), std::nullopt);
    EXPECT_EQ(stats.levelText(), u"資料不夠"_s);
    stats.voicedSeconds = 10.0;
    stats.semitoneSD.reset();
    EXPECT_FALSE(stats.enough());
}

TEST(PitchStatsTest, TwoIsNormalAndThreeIsLively) {
    EXPECT_EQ(PitchStats::level(1.9), PitchStats::Level::Flat);
    EXPECT_EQ(PitchStats::level(2.0), PitchStats::Level::Normal);
    EXPECT_EQ(PitchStats::level(2.9), PitchStats::Level::Normal);
    EXPECT_EQ(PitchStats::level(3.0), PitchStats::Level::Lively);
}

TEST(PitchStatsTest, LevelsHaveNamesAndWords) {
    EXPECT_EQ(levelName(PitchStats::Level::Lively), u"lively"_s);
    EXPECT_EQ(levelName(PitchStats::Level::Normal), u"normal"_s);
    EXPECT_EQ(levelName(PitchStats::Level::Flat), u"flat"_s);
    EXPECT_EQ(levelNamed(u"flat"), PitchStats::Level::Flat);
    EXPECT_EQ(levelNamed(u"Flat"), std::nullopt);
    EXPECT_EQ(levelText(PitchStats::Level::Flat), u"偏平"_s);
    EXPECT_EQ(levelText(PitchStats::Level::Normal), u"普通"_s);
    EXPECT_EQ(levelText(PitchStats::Level::Lively), u"有起伏"_s);
}

TEST(PitchStatsTest, TheStoredFormHasEveryKeyAndOneDecimal) {
    EXPECT_EQ(
        base::writeCompactJson(full().json()),
        QByteArray(R"({"enough":true,"flattest":{"end":30.0,"semitoneSD":2.2,"sentence":"hello","sentenceStart":12.3,)"
                   R"("start":0.0},"level":"normal","medianHz":118.3,"octaveFramesDropped":7,"p10":-2.9,"p90":3.1,)"
                   R"("rangeSemitones":6.0,"semitoneSD":2.4,"thresholds":{"flatBelow":2.0,"livelyFrom":3.0,)"
                   R"("minVoicedSeconds":10.0},"voicedSeconds":42.5,"windowSeconds":30.0,"windows":[)"
                   R"({"end":30.0,"semitoneSD":2.2,"start":0.0,"voicedSeconds":20.1},)"
                   R"({"end":47.3,"semitoneSD":null,"start":30.0,"voicedSeconds":3.0}]})"));
}

TEST(PitchStatsTest, WhatIsAbsentIsNullAndItsKeyStays) {
    EXPECT_EQ(
        base::writeCompactJson(PitchStats().json()),
        QByteArray(
            R"({"enough":false,"flattest":null,"level":null,"medianHz":null,"octaveFramesDropped":0,"p10":null,)"
            R"("p90":null,"rangeSemitones":null,"semitoneSD":null,"thresholds":{"flatBelow":2.0,)"
            R"("livelyFrom":3.0,"minVoicedSeconds":10.0},"voicedSeconds":0.0,"windowSeconds":30.0,"windows":[]})"));
}

TEST(PitchStatsTest, ReadsBackWhatItWrote) {
    EXPECT_EQ(PitchStats::parse(full().json()), full());
    EXPECT_EQ(PitchStats::parse(PitchStats().json()), PitchStats());
}

std::optional<PitchStats> parsed(const char* text) {
    return PitchStats::parse(base::parseJson(text).value());
}

TEST(PitchStatsTest, OnlyAMapIsARecord) {
    for (const char* text : {"[]", "1", "null", "\"a\""}) {
        EXPECT_EQ(parsed(text), std::nullopt) << text;
    }
    EXPECT_EQ(parsed("{}"), PitchStats());
}

TEST(PitchStatsTest, DamagedKeysReadAsAbsent) {
    EXPECT_EQ(parsed(R"({"voicedSeconds":"x","medianHz":[],"semitoneSD":null,"p10":{},"octaveFramesDropped":"7",)"
                     R"("windows":{},"flattest":[]})"),
              PitchStats());
    EXPECT_EQ(parsed(R"({"octaveFramesDropped":7.9})")->octaveFramesDropped, 7);
}

TEST(PitchStatsTest, RatingsInTheFileAreNotRead) {
    EXPECT_FALSE(parsed(R"({"enough":true,"level":"lively"})")->enough());
}

TEST(PitchStatsTest, StretchesWithoutStartOrEndAreSkipped) {
    const auto stats = parsed(
        R"({"windows":[1,{"start":0},{"end":30},{"start":0,"end":30},{"start":30,"end":60,"voicedSeconds":4}]})");
    ASSERT_EQ(stats->windows.size(), 2U);
    EXPECT_EQ(stats->windows[0], (PitchStats::Window{0, 30, 0, std::nullopt}));
    EXPECT_EQ(stats->windows[1].voicedSeconds, 4);
}

TEST(PitchStatsTest, TheFlattestStretchNeedsItsThreeNumbers) {
    EXPECT_EQ(parsed(R"({"flattest":{"start":0,"end":30}})")->flattest, std::nullopt);
    const auto stats = parsed(R"({"flattest":{"start":0,"end":30,"semitoneSD":1.5,"sentence":"","sentenceStart":3}})");
    EXPECT_EQ(stats->flattest, (PitchStats::Flattest{0, 30, 1.5, std::nullopt, 3.0}));
}

} // namespace
