#include "jobs/AIStatusText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;
using ai::AIStatus;
using copy::MainCopy;
using testing::Eq;
using testing::Optional;
namespace Text = jobs::AIStatusText;
using Length = Text::Length;

namespace {

const auto transcribing = AIStatus::transcribing();
const auto summarizing = AIStatus::summarizing();
const auto queued = AIStatus::queued();
const auto failed = AIStatus::failed(ai::AIStep::Transcribe, u"why"_s, {});

QString minutes(double seconds, Length length = Length::Long) {
    return Text::minutesLeft(seconds, length, MainCopy::zh);
}

QString seconds(double left, Length length = Length::Long) {
    return Text::secondsLeft(left, length, MainCopy::zh);
}

TEST(AIStatusTextTest, ALongStepIsToldInMinutes) {
    EXPECT_EQ(minutes(59.9), u"不到 1 分鐘"_s);
    EXPECT_EQ(minutes(60), u"大約還要 1 分鐘"_s);
    EXPECT_EQ(minutes(89), u"大約還要 1 分鐘"_s);
    EXPECT_EQ(minutes(90), u"大約還要 2 分鐘"_s);
    EXPECT_EQ(minutes(149), u"大約還要 2 分鐘"_s);
    EXPECT_EQ(minutes(150), u"大約還要 3 分鐘"_s);
    EXPECT_EQ(minutes(0.1), u"不到 1 分鐘"_s);
}

TEST(AIStatusTextTest, ARowSaysTheSameShorter) {
    EXPECT_EQ(minutes(59.9, Length::Short), u"不到 1 分"_s);
    EXPECT_EQ(minutes(60, Length::Short), u"大約 1 分"_s);
    EXPECT_EQ(minutes(90, Length::Short), u"大約 2 分"_s);
}

TEST(AIStatusTextTest, AShortStepIsToldInTensOfSeconds) {
    EXPECT_EQ(seconds(0.1), u"大約 10 秒"_s);
    EXPECT_EQ(seconds(10), u"大約 10 秒"_s);
    EXPECT_EQ(seconds(10.1), u"大約 20 秒"_s);
    EXPECT_EQ(seconds(50), u"大約 50 秒"_s);
    EXPECT_EQ(seconds(59.5), u"大約 60 秒"_s);
    EXPECT_EQ(seconds(60), u"大約 1 分鐘"_s);
    EXPECT_EQ(seconds(90), u"大約 2 分鐘"_s);
}

TEST(AIStatusTextTest, ARowSaysSecondsAlikeAndMinutesShorter) {
    EXPECT_EQ(seconds(59.5, Length::Short), u"大約 60 秒"_s);
    EXPECT_EQ(seconds(60, Length::Short), u"大約 1 分"_s);
}

TEST(AIStatusTextTest, WhatShouldBeOverIsAlmostDone) {
    for (const Length length : {Length::Long, Length::Short}) {
        for (const double left : {0.0, -0.1, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
            EXPECT_EQ(minutes(left, length), u"快好了"_s) << left;
            EXPECT_EQ(seconds(left, length), u"快好了"_s) << left;
        }
    }
}

TEST(AIStatusTextTest, TimesAreInTheLanguageOfTheTextsGiven) {
    EXPECT_EQ(Text::minutesLeft(120, Length::Long, MainCopy::en), u"about 2 min left"_s);
    EXPECT_EQ(Text::minutesLeft(30, Length::Long, MainCopy::en), u"under a minute"_s);
    EXPECT_EQ(Text::minutesLeft(0, Length::Short, MainCopy::en), u"almost done"_s);
    EXPECT_EQ(Text::secondsLeft(12, Length::Short, MainCopy::en), u"about 20 s"_s);
    EXPECT_EQ(Text::secondsLeft(120, Length::Long, MainCopy::en), u"about 2 min"_s);
    // Rows have Chinese texts alone.
    EXPECT_EQ(Text::minutesLeft(30, Length::Short, MainCopy::en), u"不到 1 分"_s);
    EXPECT_EQ(Text::minutesLeft(120, Length::Short, MainCopy::en), u"大約 2 分"_s);
    EXPECT_EQ(Text::secondsLeft(120, Length::Short, MainCopy::en), u"大約 2 分"_s);
}

TEST(AIStatusTextTest, AnEndlessEstimateIsStillAText) {
    EXPECT_FALSE(minutes(std::numeric_limits<double>::infinity()).isEmpty());
    EXPECT_FALSE(seconds(1e300).isEmpty());
}

TEST(AIStatusTextTest, ThePageIsSilentWithoutWork) {
    EXPECT_EQ(Text::page(std::nullopt, false, std::nullopt), std::nullopt);
    EXPECT_EQ(Text::page(std::nullopt, true, 5.0), std::nullopt);
    EXPECT_EQ(Text::page(failed, false, std::nullopt), std::nullopt);
    EXPECT_EQ(Text::page(failed, true, 5.0), std::nullopt);
}

TEST(AIStatusTextTest, ThePageSaysWhatRuns) {
    EXPECT_THAT(Text::page(queued, false, std::nullopt), Optional(Eq(u"等前一場做完"_s)));
    EXPECT_THAT(Text::page(queued, true, 5.0), Optional(Eq(u"等前一場做完"_s)));
    EXPECT_THAT(Text::page(transcribing, false, std::nullopt), Optional(Eq(u"轉文字中…"_s)));
    EXPECT_THAT(Text::page(transcribing, true, 90.0), Optional(Eq(u"轉文字中 · 大約還要 2 分鐘"_s)));
    EXPECT_THAT(Text::page(summarizing, false, std::nullopt), Optional(Eq(u"寫重點中…"_s)));
    EXPECT_THAT(Text::page(summarizing, false, 90.0), Optional(Eq(u"寫重點中 · 大約 2 分鐘"_s)));
    EXPECT_THAT(Text::page(summarizing, true, std::nullopt), Optional(Eq(u"寫建議中…"_s)));
    EXPECT_THAT(Text::page(summarizing, true, 12.0), Optional(Eq(u"寫建議中 · 大約 20 秒"_s)));
    EXPECT_THAT(Text::page(transcribing, false, -1.0), Optional(Eq(u"轉文字中 · 快好了"_s)));
}

TEST(AIStatusTextTest, ARowSaysItShorter) {
    EXPECT_EQ(Text::row(transcribing, false, std::nullopt), u"轉文字中…"_s);
    EXPECT_EQ(Text::row(transcribing, false, 90.0), u"轉文字中 · 大約 2 分"_s);
    EXPECT_EQ(Text::row(summarizing, false, std::nullopt), u"寫重點中…"_s);
    EXPECT_EQ(Text::row(summarizing, false, 90.0), u"寫重點中 · 大約 2 分"_s);
    EXPECT_EQ(Text::row(summarizing, true, std::nullopt), u"寫建議中…"_s);
    EXPECT_EQ(Text::row(summarizing, true, 90.0), u"寫建議中 · 大約 2 分"_s);
}

TEST(AIStatusTextTest, InARowAnythingButASummaryCountsAsTranscribing) {
    EXPECT_EQ(Text::row(queued, true, std::nullopt), u"轉文字中…"_s);
    EXPECT_EQ(Text::row(failed, false, 30.0), u"轉文字中 · 不到 1 分"_s);
}

TEST(AIStatusTextTest, OnlyASummaryRewritesThePage) {
    EXPECT_TRUE(Text::rewrites(summarizing));
    EXPECT_THAT(Text::rewriting(summarizing, true, 12.0), Optional(Eq(u"寫建議中 · 大約 20 秒"_s)));
    for (const auto& status :
         {std::optional<AIStatus>(), std::optional(transcribing), std::optional(queued), std::optional(failed)}) {
        EXPECT_FALSE(Text::rewrites(status));
        EXPECT_EQ(Text::rewriting(status, false, 12.0), std::nullopt);
    }
}

} // namespace
