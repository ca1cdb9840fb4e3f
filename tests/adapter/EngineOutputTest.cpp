#include "adapter/EngineOutput.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using ai::WhisperOutput;
using Segments = std::vector<ai::WhisperSegment>;
namespace EngineOutput = adapter::EngineOutput;

TEST(EngineOutputTest, WhisperWritesWhatTheToolWrites) {
    EXPECT_EQ(
        EngineOutput::fromWhisper(
            R"({"language": "de", "segments": [{"start": 1, "end": 2.5, "text": " hallo", "no_speech_prob": 0.5}]})"),
        (WhisperOutput{u"de"_s, {{1, 2.5, u" hallo"_s, 0.5}}}));
}

TEST(EngineOutputTest, WordsForNumbersThatAreNoneAreTakenOutOfWhispersJson) {
    EXPECT_EQ(
        EngineOutput::fromWhisper(
            R"({"segments": [{"start": 1, "end": Infinity, "text": "NaN \"-Infinity\" NaN", "no_speech_prob": NaN, "x": -Infinity}]})"),
        (WhisperOutput{{}, {{1, 1, u"NaN \"-Infinity\" NaN"_s, 0}}}));
}

TEST(EngineOutputTest, BytesThatAreNoUtf8AreReplaced) {
    EXPECT_EQ(EngineOutput::fromWhisper("{\"segments\": [{\"text\": \"a\xff\"}]}")->segments.front().text,
              u"a\uFFFD"_s);
}

TEST(EngineOutputTest, WhatHasAnotherShapeIsNothing) {
    for (const char* bytes :
         {"", "x", "[]", "{}", "{\"segments\": 5}", "{\"transcription\": 5}", "\"", "{\"a\": \"\\"}) {
        EXPECT_EQ(EngineOutput::fromWhisper(bytes), std::nullopt) << bytes;
        EXPECT_EQ(EngineOutput::fromWhisperCpp(bytes), std::nullopt) << bytes;
    }
}

TEST(EngineOutputTest, WhisperCppCountsInMilliseconds) {
    EXPECT_EQ(EngineOutput::fromWhisperCpp(R"({"result": {"language": "zh"}, "transcription": [
                  {"timestamps": {"from": "00:00:01,500", "to": "00:00:03,000"}, "offsets": {"from": 1500, "to": 3000}, "text": " 你好"},
                  {"offsets": {"from": 4000, "to": 3500}, "text": "backwards"}]})"),
              (WhisperOutput{u"zh"_s, {{1.5, 3.0, u" 你好"_s, 0}, {4.0, 4.0, u"backwards"_s, 0}}}));
}

TEST(EngineOutputTest, WhatWhisperCppHearsBesidesSpeechIsLeftOut) {
    EXPECT_EQ(EngineOutput::fromWhisperCpp(R"json({"transcription": [{"offsets": {}, "text": " [BLANK_AUDIO]"},
                  {"offsets": {}, "text": "(music)"}, {"text": "no offsets"}, {"offsets": {}}, 5, {"offsets": {}, "text": 7},
                  {"offsets": {"from": "x"}, "text": "[a] b"}]
})json"),
              (WhisperOutput{{}, {{0, 0, u"[a] b"_s, 0}}}));
}

TEST(EngineOutputTest, SphinxWritesALineForEveryWord) {
    EXPECT_EQ(EngineOutput::fromSphinx(
                  "hello will\n<s> 0.070 0.140 0.999700\nhello(2) 0.150 0.540 0.999700\n"
                  "<sil> 0.550 0.600 0.9\n[NOISE] 0.600 0.650 0.9\nwill 0.660 1.090 0.5\n</s> 3.260 3.670 1.0\n"
                  "i 1 2 3 go\n<s> 3.7 3.8 1\nbye 3.800 4.000 1\n"),
              (WhisperOutput{u"en"_s, {{0.15, 1.09, u" hello will"_s, 0}, {3.8, 4.0, u" bye"_s, 0}}}));
}

TEST(EngineOutputTest, APauseOfTheLimitBeginsASegment) {
    EXPECT_EQ(EngineOutput::fromSphinx("a 1.0 2.0 1\nb 2.74 3.0 1\nc 3.75 4.0 1\n").segments,
              (Segments{{1, 3, u" a b"_s, 0}, {3.75, 4, u" c"_s, 0}}));
}

TEST(EngineOutputTest, ASegmentThatGrowsTooLongIsEnded) {
    EXPECT_EQ(EngineOutput::fromSphinx("a 0.0 7.5 1\nb 7.5 15.0 1\nc 15.0 15.1 1\n").segments,
              (Segments{{0, 15, u" a b"_s, 0}, {15, 15.1, u" c"_s, 0}}));
}

TEST(EngineOutputTest, SphinxThatHeardNothingWroteNothing) {
    EXPECT_EQ(EngineOutput::fromSphinx(""), (WhisperOutput{u"en"_s, {}}));
    EXPECT_EQ(EngineOutput::fromSphinx("INFO: this is\nno word at all\na b c d\n1 2\n").segments, Segments{});
}

TEST(EngineOutputTest, TimesThatRunBackwardsOrAreNoneAreKeptOutOfSphinxsSegments) {
    EXPECT_EQ(EngineOutput::fromSphinx("a 5.0 4.0 1\nb 3.0 3.5 1\nc nan 6 1\nd 6 inf 1\n").segments,
              (Segments{{5, 5, u" a b"_s, 0}}));
}
