#include "ai/Transcript.h"

#include "ai/TranscriptCleaner.h"
#include "base/Json.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ai::Transcript;
using Segment = Transcript::Segment;
using Segments = std::vector<Segment>;

namespace {

Segments segments(const QByteArray& list) {
    const auto transcript = Transcript::parse(QByteArray("{\"segments\":" + list + "}"));
    EXPECT_TRUE(transcript.has_value());
    return transcript.value_or(Transcript{}).segments;
}

Segment said(double start, double end, const QString& speaker, const QString& text) {
    return {.start = start, .end = end, .speaker = speaker, .text = text};
}

/// What two texts of one speaker become when they are joined.
QString joined(const QString& first, const QString& second) {
    const Segments both{said(0, 1, u"me"_s, first), said(1, 2, u"me"_s, second)};
    const auto merged = Transcript::merged(both);
    EXPECT_EQ(merged.size(), 1U);
    return merged.front().text;
}

QByteArray file(const Segments& list, const std::optional<QString>& language = u"en"_s) {
    return ai::TranscriptCleaner::transcriptData(list, language, u"2026-11-15T16:22:11+08:00"_s);
}

} // namespace

TEST(TranscriptTest, TheFileHasSortedKeysTimesInHundredthsAndPlainSlashes) {
    EXPECT_EQ(file({said(12.3456, 15, u"me"_s, u"a/b 你好"_s)}),
              R"({
  "generatedAt" : "2026-11-15T16:22:11+08:00",
  "language" : "en",
  "segments" : [
    {
      "end" : 15,
      "speaker" : "me",
      "start" : 12.35,
      "text" : "a/b 你好"
    }
  ],
  "version" : 1
})");
}

TEST(TranscriptTest, AnAbsentLanguageIsWrittenAsNull) {
    EXPECT_TRUE(base::parseJson(file({}, std::nullopt))->find(u"language")->isNull());
}

TEST(TranscriptTest, TimesAreRoundedToHundredthsInBothDirections) {
    const auto written = [](double time) {
        return base::parseJson(file({said(time, time, u"me"_s, u"x"_s)}))->find(u"segments")->toArray()->front();
    };
    const auto number = [&](double time) {
        return std::get<base::JsonNumber>(written(time).find(u"start")->value()).text;
    };
    EXPECT_EQ(number(0.004), "0");
    EXPECT_EQ(number(-0.004), "0");
    EXPECT_EQ(number(0.006), "0.01");
    EXPECT_EQ(number(1.1), "1.1");
    EXPECT_EQ(number(100), "100");
    EXPECT_EQ(number(12.34), "12.34");
    EXPECT_EQ(number(0.1 + 0.2), "0.3");
    EXPECT_EQ(number(std::numeric_limits<double>::infinity()), "0");
}

TEST(TranscriptTest, AWrittenFileReadsBack) {
    const Segments list{said(1.25, 2.5, u"me"_s, u"你好"_s), said(3, 4, u"them"_s, u"hi"_s)};
    const auto transcript = Transcript::parse(file(list));
    ASSERT_TRUE(transcript);
    EXPECT_EQ(transcript->segments, list);
    EXPECT_EQ(transcript->language, u"en"_s);
    EXPECT_EQ(transcript->generatedAt, QDateTime(QDate(2026, 11, 15), QTime(8, 22, 11), QTimeZone::utc()));
}

TEST(TranscriptTest, WhatIsNoObjectWithAnArrayOfSegmentsIsNothing) {
    for (const char* bytes :
         {"", "x", "null", "[]", "{}", "{\"version\":1}", "{\"segments\":{}}", "{\"segments\":[]"}) {
        EXPECT_EQ(Transcript::parse(bytes), std::nullopt) << bytes;
    }
    EXPECT_EQ(Transcript::parse("{\"segments\":[]}"), Transcript{});
}

TEST(TranscriptTest, MoreThanTheLimitIsNothing) {
    QByteArray bytes = "{\"segments\":[]}";
    bytes.append(Transcript::sizeLimit - bytes.size(), ' ');
    EXPECT_TRUE(Transcript::parse(bytes));
    EXPECT_FALSE(Transcript::parse(QByteArray(bytes + ' ')));
}

TEST(TranscriptTest, ElementsWithoutATextAreSkipped) {
    EXPECT_EQ(
        segments(R"([5, null, {}, {"text": 1}, {"text": null}, {"text": ""}, {"text": " \n\t"}, {"text": " a "}])"),
        (Segments{said(0, 0, u"them"_s, u"a"_s)}));
}

TEST(TranscriptTest, AnEndBelowItsStartIsRaisedToIt) {
    EXPECT_EQ(segments(R"([{"start": 5, "end": 4, "text": "a"}])").front().end, 5.0);
    EXPECT_EQ(segments(R"([{"start": 5, "text": "a"}])").front().end, 5.0);
    EXPECT_EQ(segments(R"([{"end": 4, "text": "a"}])").front().start, 0.0);
}

TEST(TranscriptTest, WithoutASpeakerItIsTheOthers) {
    EXPECT_EQ(segments(R"([{"text": "a"}, {"text": "b", "speaker": 1}, {"text": "c", "speaker": "me"}])"),
              (Segments{said(0, 0, u"them"_s, u"a"_s), said(0, 0, u"them"_s, u"b"_s), said(0, 0, u"me"_s, u"c"_s)}));
}

TEST(TranscriptTest, SegmentsAreSortedByStartAndEqualOnesKeepTheirOrder) {
    EXPECT_EQ(segments(R"([{"start": 2, "text": "c"}, {"start": 1, "text": "a"}, {"start": 1, "text": "b"}])"),
              (Segments{said(1, 1, u"them"_s, u"a"_s), said(1, 1, u"them"_s, u"b"_s), said(2, 2, u"them"_s, u"c"_s)}));
}

TEST(TranscriptTest, ALanguageAndADateOfOtherTypesAreNone) {
    const auto transcript = Transcript::parse(R"({"segments": [], "language": 5, "generatedAt": 1700000000})");
    ASSERT_TRUE(transcript);
    EXPECT_EQ(*transcript, Transcript{});
    EXPECT_EQ(Transcript::parse(R"({"segments": [], "generatedAt": "yesterday"})")->generatedAt, std::nullopt);
}

TEST(TranscriptTest, AGapOfExactlyTheLimitIsJoinedAndALongerOneIsNot) {
    const Segments close{said(0, 1, u"me"_s, u"a"_s), said(4, 5, u"me"_s, u"b"_s)};
    EXPECT_EQ(Transcript::merged(close), (Segments{said(0, 5, u"me"_s, u"a b"_s)}));
    const Segments apart{said(0, 1, u"me"_s, u"a"_s), said(4.001, 5, u"me"_s, u"b"_s)};
    EXPECT_EQ(Transcript::merged(apart), apart);
    EXPECT_EQ(Transcript::merged(close, 2.999), close);
    EXPECT_EQ(Transcript::mergeGap, 3.0);
}

TEST(TranscriptTest, AnotherSpeakerBeginsAnewAndSoDoesTheFirstAfterwards) {
    const Segments talk{said(0, 1, u"me"_s, u"a"_s), said(1, 2, u"them"_s, u"b"_s), said(2, 3, u"me"_s, u"c"_s)};
    EXPECT_EQ(Transcript::merged(talk), talk);
}

TEST(TranscriptTest, AJoinedSegmentEndsWithTheLaterOfBoth) {
    const Segments nested{said(0, 10, u"me"_s, u"a"_s), said(1, 2, u"me"_s, u"b"_s), said(12, 13, u"me"_s, u"c"_s)};
    EXPECT_EQ(Transcript::merged(nested), (Segments{said(0, 13, u"me"_s, u"a b c"_s)}));
}

TEST(TranscriptTest, LatinTextsAreJoinedByABlankOthersAsTheyStand) {
    EXPECT_EQ(joined(u"Hello"_s, u"world"_s), u"Hello world"_s);
    EXPECT_EQ(joined(u"你好"_s, u"world"_s), u"你好world"_s);
    EXPECT_EQ(joined(u"Hello"_s, u"世界"_s), u"Hello世界"_s);
    EXPECT_EQ(joined(u"Hello"_s, u""_s), u"Hello"_s);
    EXPECT_EQ(joined(u"Hello"_s, u"e\u0301t\u00e9"_s), u"Helloe\u0301t\u00e9"_s) << "the first character is not ASCII";
    EXPECT_EQ(joined(u"caf\u00e9"_s, u"noir"_s), u"caf\u00e9noir"_s);
}

TEST(TranscriptTest, NothingMergesToNothing) {
    EXPECT_EQ(Transcript{}.merged(), Segments{});
}

TEST(TranscriptTest, ThePlainTextIsTheTextsALineEach) {
    EXPECT_EQ(Transcript{}.plainText(), QString());
    Transcript transcript;
    transcript.segments = {said(0, 1, u"me"_s, u"a"_s), said(1, 2, u"them"_s, u"b"_s)};
    EXPECT_EQ(transcript.plainText(), u"a\nb"_s);
}
