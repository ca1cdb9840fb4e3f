#include "ai/WhisperOutput.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ai::WhisperOutput;
using ai::WhisperSegment;

namespace {

std::vector<WhisperSegment> segments(const QByteArray& list) {
    const auto output = WhisperOutput::parse(QByteArray("{\"segments\":" + list + "}"));
    EXPECT_TRUE(output.has_value());
    return output.value_or(WhisperOutput{}).segments;
}

} // namespace

TEST(WhisperOutputTest, ReadsTheToolsOwnForm) {
    const auto output = WhisperOutput::parse(R"({"text": "Hello", "language": "en", "segments": [{"id": 0, "seek": 0,
        "start": 0.5, "end": 2.25, "text": " Hello", "tokens": [50364, 2425], "temperature": 0.0,
        "avg_logprob": -0.3, "compression_ratio": 0.4, "no_speech_prob": 0.125}]})");
    ASSERT_TRUE(output);
    EXPECT_EQ(output->language, u"en"_s);
    EXPECT_EQ(output->segments, (std::vector<WhisperSegment>{{0.5, 2.25, u" Hello"_s, 0.125}}));
}

TEST(WhisperOutputTest, WhatIsNoObjectWithAnArrayOfSegmentsIsNothing) {
    for (const char* bytes :
         {"", " ", "x", "null", "[]", "[{\"segments\":[]}]", "\"segments\"", "{}", "{\"text\":\"x\"}",
          "{\"segments\":null}", "{\"segments\":{}}", "{\"segments\":\"\"}", "{\"segments\":[]", "{\"segments\":[]}x",
          "{\"segments\":[{\"start\":NaN}]}", "{'segments':[]}"}) {
        EXPECT_EQ(WhisperOutput::parse(bytes), std::nullopt) << bytes;
    }
}

TEST(WhisperOutputTest, BytesThatAreNoUtf8AreNothing) {
    EXPECT_EQ(WhisperOutput::parse("{\"segments\":[{\"text\":\"\xff\xfe\"}]}"), std::nullopt);
}

TEST(WhisperOutputTest, AnEmptyArrayIsAResultWithoutSegments) {
    EXPECT_EQ(WhisperOutput::parse("{\"segments\":[]}"), WhisperOutput{});
}

TEST(WhisperOutputTest, ElementsThatAreNoObjectsAreSkipped) {
    EXPECT_EQ(segments(R"([1, "a", null, [], {"text": "b"}, true])"), (std::vector<WhisperSegment>{{0, 0, u"b"_s, 0}}));
}

TEST(WhisperOutputTest, WhatIsMissingOrOfAnotherTypeHasAFallback) {
    EXPECT_EQ(segments("[{}]"), (std::vector<WhisperSegment>{{}}));
    EXPECT_EQ(segments(R"([{"start": "1", "end": null, "text": 5, "no_speech_prob": "0.9"}])"),
              (std::vector<WhisperSegment>{{}}));
    EXPECT_EQ(segments(R"([{"start": 3}])").front().end, 3.0) << "the end falls back to the start";
    EXPECT_EQ(segments(R"([{"end": 3}])"), (std::vector<WhisperSegment>{{0, 3, {}, 0}}));
}

TEST(WhisperOutputTest, NoSegmentRunsBackwards) {
    EXPECT_EQ(segments(R"([{"start": 5, "end": 4.99}])").front().end, 5.0);
    EXPECT_EQ(segments(R"([{"start": -2, "end": -3}])").front(), (WhisperSegment{-2, -2, {}, 0}));
}

TEST(WhisperOutputTest, TheToolsOrderStays) {
    const auto list = segments(R"([{"start": 9}, {"start": 1}, {"start": 5}])");
    EXPECT_EQ(list[0].start, 9.0);
    EXPECT_EQ(list[1].start, 1.0);
    EXPECT_EQ(list[2].start, 5.0);
}

TEST(WhisperOutputTest, ALanguageThatIsNoStringIsNone) {
    EXPECT_EQ(WhisperOutput::parse(R"({"segments":[],"language":null})")->language, std::nullopt);
    EXPECT_EQ(WhisperOutput::parse(R"({"segments":[],"language":7})")->language, std::nullopt);
}

TEST(WhisperOutputTest, HugeTimesAreReadAsTheyAre) {
    EXPECT_EQ(segments(R"([{"start": 1e300, "end": 1e301}])").front(), (WhisperSegment{1e300, 1e301, {}, 0}));
}

TEST(WhisperOutputTest, MoreThanTheLimitIsNothing) {
    QByteArray bytes = "{\"segments\":[]}";
    bytes.append(WhisperOutput::sizeLimit - bytes.size(), ' ');
    EXPECT_TRUE(WhisperOutput::parse(bytes));
    EXPECT_FALSE(WhisperOutput::parse(QByteArray(bytes + ' ')));
}
